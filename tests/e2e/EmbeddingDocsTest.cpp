// The host's guide shows pieces of examples/host/host.cpp, which scripts/test builds against the
// installed package and runs: each C++ block of the guide must stand in that file as it is shown,
// so that no snippet of the guide is code that was never compiled.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string ReadFile(std::string const& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The lines of `text` without their indentation, empty lines left out.
std::vector<std::string> Lines(std::string const& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        auto const first = line.find_first_not_of(' ');
        if (first != std::string::npos) {
            lines.push_back(line.substr(first));
        }
    }
    return lines;
}

bool Contains(std::vector<std::string> const& haystack, std::vector<std::string> const& needle) {
    for (std::size_t at = 0; at + needle.size() <= haystack.size(); ++at) {
        if (std::equal(needle.begin(), needle.end(), haystack.begin() + static_cast<std::ptrdiff_t>(at))) {
            return true;
        }
    }
    return false;
}

TEST(EmbeddingDocs, EveryCppSnippetIsAPieceOfTheHostExample) {
    std::string const guide = ReadFile(std::string(VOR_DOCS_DIR) + "/embedding.md");
    std::vector<std::string> const host = Lines(ReadFile(std::string(VOR_EXAMPLES_DIR) + "/host/host.cpp"));
    ASSERT_FALSE(host.empty());
    std::size_t snippets = 0;
    for (std::size_t open = guide.find("```cpp\n"); open != std::string::npos;
         open = guide.find("```cpp\n", open + 1)) {
        std::size_t const begin = open + 7;
        std::size_t const end = guide.find("```", begin);
        ASSERT_NE(end, std::string::npos);
        std::string const snippet = guide.substr(begin, end - begin);
        EXPECT_TRUE(Contains(host, Lines(snippet))) << snippet;
        ++snippets;
    }
    EXPECT_GE(snippets, 8u);
}

}  // namespace
