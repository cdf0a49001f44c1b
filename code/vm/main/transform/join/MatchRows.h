#pragma once

#include <utility>
#include <vector>

#include "zel/core/store/StoreValue.h"

namespace zel::vm::join {

// Left row numbers and right row numbers of equal length, matched by position.
using RowMatches = std::pair<std::vector<unsigned int>, std::vector<unsigned int>>;

// Which side builds the row index; the other probes it, and the matches follow the probe side's
// rows in order (for one probe row, the build side's rows in order).
enum class BuildSide {
    Smaller,  // the left when it has at most as many rows as the right, else the right
    Right,
};

// Matches the rows of two key columns of one element type by equal keys: bool, int32, float,
// int64 and double keys by their stored bits (+0 and -0 differ, a NaN matches itself), strings
// under the build column's collation. A special on the build side never matches; when the build
// side has specials, a special probe row is not looked up and counts as unmatched, and when it has
// none, a special probe row is looked up by the fill value in its slot. Probe rows without a match
// go to `unmatched` when it is given. Any other key type is a ZelLogicException
// (JoinTypeUnsupported).
RowMatches MatchRowsByHash(core::StoreValue const& leftColumn, core::StoreValue const& rightColumn,
                           BuildSide buildSide, std::vector<unsigned int>* unmatched);

}  // namespace zel::vm::join
