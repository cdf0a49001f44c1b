#pragma once

#pragma GCC visibility push(default)

#include <cstdint>

#include "vorsys/string/TStringCore.h"

namespace zel::core {

// Where a statement stands in the program text it was read from: the 1-based line and column of
// its first token, and the text of that line. A failure of the statement, while it is made or
// run, points there.
struct StatementSource {
    std::uint32_t line = 0;
    std::uint32_t column = 0;
    TStringCore lineText;
};

// "line L, column C: message", then the line (clipped around the column when it is long) with a
// caret under the column: the form of every failure that points into a program.
TStringCore DescribeAtSource(StatementSource const& source, TStringCore const& message);

}  // namespace zel::core

#pragma GCC visibility pop
