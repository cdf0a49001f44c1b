#pragma once

// Finds a page of docs/ for the tests that hold the docs against the code, and reads it.

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace zel::test {

// docs/<name> of the source tree, found from the working directory upwards (tests run inside the
// build tree, which lies inside the source tree) or from the test's own source file; empty when
// neither leads to it.
inline std::filesystem::path FindDocsPage(std::string const& name, std::filesystem::path const& sourceFile) {
    for (auto dir : {std::filesystem::current_path(), sourceFile.parent_path()}) {
        for (; !dir.empty() && dir != dir.parent_path(); dir = dir.parent_path()) {
            if (std::filesystem::exists(dir / "docs" / name) &&
                std::filesystem::exists(dir / "tests" / "core")) {
                return dir / "docs" / name;
            }
        }
    }
    return {};
}

inline std::string ReadTextFile(std::filesystem::path const& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace zel::test
