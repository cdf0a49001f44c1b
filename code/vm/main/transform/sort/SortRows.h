#pragma once

#include <memory>
#include <vector>

#include "zel/core/spec/SortSpec.h"
#include "zel/core/store/StoreValue.h"

namespace zel::vm::sort {

// One key of a sort: a column and its direction. Its place in a list of keys is its significance,
// the first key deciding first.
struct SortKey {
    std::shared_ptr<core::StoreValue> column;
    core::SortSpecOrder order;
};

// The row numbers 0 to count - 1 ordered by the keys: one stable pass per key, from the last key
// to the first, so that rows equal under every key keep their order. Specials stand first in an
// ascending key and last in a descending one, by kind (the greater kind first ascending, the lesser
// first descending). Every key column must have `count` elements (RangeViolation); a column whose
// element type has no order fails with UnsortableType.
std::vector<unsigned int> SortRowNumbers(std::vector<SortKey> const& keys, unsigned int count);

// One stable pass: reorders `rows` by the one key, keeping the order of rows that tie.
void StableSortRowsByKey(std::vector<unsigned int>& rows, SortKey const& key);

}  // namespace zel::vm::sort
