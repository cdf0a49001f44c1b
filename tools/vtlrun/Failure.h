#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "vorsys/string/TStringCore.h"
#include "zel/core/utility/ZelException.h"

namespace vtlrun {

// Text for messages from UTF-8 bytes; a byte of a malformed sequence shows as U+FFFD, so that
// making a message never fails.
TStringCore LenientText(std::string_view bytes);
// A path as text for messages.
TStringCore PathText(std::filesystem::path const& path);

// The text of a program failure with the program's file in front. The parser's "line L, column C:
// what" becomes "FILE:L:C: what", the form editors and terminals link to the place; the excerpt
// with the caret that follows it stays.
TStringCore PlaceInProgram(std::filesystem::path const& program, TStringCore const& text);
// The text starts "line L, column C:": a failure of the program's text or of one of its statements.
bool PointsIntoProgram(TStringCore const& text);

// What vtlrun prints for a failure of the machine or its libraries: "error N (Name): text" and a
// line feed. The text may hold more lines (the excerpt of a program error).
std::string DescribeFailure(zel::core::ZelException const& failure);

// Sends the debug report of each failed check to the log at level debug, so that a user sees one
// error line and a developer can ask for the source, line and condition of the check.
void RouteDebugReportsToLog();

}  // namespace vtlrun
