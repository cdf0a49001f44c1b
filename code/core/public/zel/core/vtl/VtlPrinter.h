#pragma once

#pragma GCC visibility push(default)

#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/vtl/VtlParser.h"

namespace zel::core {

// One VTL statement on one line, children in braces on the same line. Each path that carries
// types is annotated with them at its first occurrence in the statement, so that the text parses
// back to an equal spec. Values of collection types have no VTL literal: they print in their log
// form (SerializeValue), which does not parse. Used in logs and traces.
TStringCore TransformToString(TransformSpec const& spec);

// "name(arg, ...)": the function id and its arguments as VTL writes them after fn.
TStringCore FunctionToString(FunctionSpec const& spec);

// An explicit edge: "edge key retained from [0] to [1, 2]".
TStringCore GraphEdgeToString(GraphEdge const& edge);

// A whole program, one line each: the output declaration (keys in text order) when there are
// output keys, an edge statement for each edge when `edges` is given ("edge none" for an
// empty list; null: the parser infers them), then the statements.
TStringCore ProgramToString(std::vector<TransformSpec> const& specs, std::vector<GraphEdge> const* edges,
                            OutputKeySet const& outputKeys);

}  // namespace zel::core

#pragma GCC visibility pop
