#pragma once

#pragma GCC visibility push(default)

#include <string_view>
#include <utility>
#include <vector>

#include <boost/unordered/unordered_set.hpp>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::core {

using OutputKeySet = boost::unordered::unordered_set<KeyPath, KeyPath::KeyPathTypeAgnosticHash,
                                                     KeyPath::KeyPathTypeAgnosticEqualTo>;

// Reads a whole VTL program (docs/vtl.md) and appends its top-level specs in order, the edges
// between them and the keys named by `output` declarations. Every path carries the types that the
// program declared for it and its ancestors.
//
// A malformed program throws ZelRuntimeException: VtlSyntaxError for text that does not follow the
// grammar, VtlProgramError for a program that breaks a rule (two writers of one key, a write under
// ~init, a read of a key that nothing writes, a cycle, two types for one path). The text says
// where: "line L, column C: ...", then the line with a caret under the column. Nothing is appended
// when it throws.
void ParseVtlPayload(TStringCore const& text, std::vector<TransformSpec>& specs,
                     std::vector<GraphEdge>& edges, OutputKeySet& outputKeys);

// The same over UTF-8 text; bytes that are not UTF-8 are a VtlSyntaxError at their position.
void ParseVtlPayload(std::string_view utf8, std::vector<TransformSpec>& specs, std::vector<GraphEdge>& edges,
                     OutputKeySet& outputKeys);

// The types that a parsed program declares for its inputs, by their paths in the store (without
// `~init`): what StoreValueParser::ReadOptions::declaredTypes takes, so that a JSON store is read
// as the program expects it.
std::vector<std::pair<KeyPath, KeySegmentType>> DeclaredInputTypes(std::vector<GraphEdge> const& edges);

}  // namespace zel::core

#pragma GCC visibility pop
