#pragma once

#include <vector>

#include "zel/core/store/Collation.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/utility/ArrayView.h"

namespace zel::vm::sort {

// Reorders `rows` stably by the texts at those rows under `collation`, ascending or descending.
// The values of special rows are read like any other (their fill, the empty text); the caller
// places the specials afterwards.
void StableSortRowsByText(std::vector<unsigned int>& rows, core::ArrayView<core::RIndirectString const> texts,
                          core::Collation const& collation, bool descending);

}  // namespace zel::vm::sort
