#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/utility/ZelException.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/core/vtl/VtlPrinter.h"

// Test output in VTL rather than bytes.
namespace zel::core {
inline void PrintTo(TransformSpec const& spec, std::ostream* out) {
    *out << TransformToString(spec);
}
inline void PrintTo(GraphEdge const& edge, std::ostream* out) {
    *out << GraphEdgeToString(edge);
}
}  // namespace zel::core

namespace zel::test {

struct VtlProgram {
    std::vector<core::TransformSpec> specs;
    std::vector<core::GraphEdge> edges;
    core::OutputKeySet outputKeys;
};

inline VtlProgram ParseVtl(std::string_view utf8) {
    VtlProgram program;
    core::ParseVtlPayload(utf8, program.specs, program.edges, program.outputKeys);
    return program;
}

// The failure of a program that does not parse: its code and its text (UTF-8).
struct VtlFailure {
    core::ZelError error = core::ZelError::LogicFailure;
    std::string text;
};

inline VtlFailure ParseVtlFailure(std::string_view utf8) {
    try {
        ParseVtl(utf8);
    } catch (core::ZelRuntimeException const& e) {
        return {e.GetError(), e.GetText().ToUtf8()};
    }
    ADD_FAILURE() << "parsed without failure:\n" << utf8;
    return {};
}

// The edges one a line: compared as text, they fail with a readable difference (the text holds
// the key's types too).
inline std::string EdgesText(std::vector<core::GraphEdge> const& edges) {
    std::string text;
    for (auto const& edge : edges) {
        text += core::GraphEdgeToString(edge).ToUtf8() + "\n";
    }
    return text;
}

// The statements one a line, for failure messages.
inline std::string Print(std::vector<core::TransformSpec> const& specs) {
    std::string text;
    for (auto const& spec : specs) {
        text += core::TransformToString(spec).ToUtf8() + "\n";
    }
    return text;
}

}  // namespace zel::test
