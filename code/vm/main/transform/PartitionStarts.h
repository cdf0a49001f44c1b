#pragma once

// Where the partitions of a table begin: row 0, and every later row whose value differs from the
// row before it in some key column. Two rows are equal in a column as the column's
// AreElementsEqual says: both plain and equal by value (numbers by their stored bits, strings
// under the column's collation, nested values by value), or both special of the same kind.
//
// Numeric columns are compared a block at a time in tight loops over their values and specials;
// strings and nested values ask the column row by row.

#include <memory>
#include <vector>

#include "zel/core/store/StoreValue.h"

namespace zel::vm {

// The first row of each partition, ascending; empty when `rowCount` is 0. Every key column holds
// at least `rowCount` rows.
std::vector<unsigned int> FindPartitionStarts(
    std::vector<std::shared_ptr<core::StoreValue>> const& keyColumns, unsigned int rowCount);

}  // namespace zel::vm
