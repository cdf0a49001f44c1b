#pragma once

#pragma GCC visibility push(default)

#include <cstddef>
#include <vector>

#include "zel/core/spec/SortSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// Sorts arrays by one or more key columns. The function is SortFuncName with one order ("ASC" or
// "DESC") per key; a Bool value says whether a table is sorted. Sorting a table, the inputs are its
// columns to sort followed by the table itself (the parent of the column before it).
class OpMultiSortSpec {
public:
    // Checks: a value (251) that is a Bool (251); at least one input (223), one output (219), the
    // sort function (243, 213); as many orders as columns to sort with makeTable, else one (226);
    // every order "ASC" or "DESC" (214).
    explicit OpMultiSortSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpMultiSortSpec(core::TransformSpec&&) = delete;

    std::vector<core::KeyPath> const& GetAllInputs() const { return m_spec.GetInputs(); }
    // The columns to sort: with makeTable those in front of the table, otherwise all inputs.
    std::vector<core::KeyPath> GetInputsToSort() const;
    // The table, which only a table sort has (226).
    core::KeyPath const& GetInputTable() const;
    std::vector<core::SortSpecOrder> GetSortOrders() const;
    bool GetMakeTable() const;
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    // With makeTable, inputs[0] must lie in a table (232), which is appended as the last input.
    // Each order must be Ascending or Descending (214).
    static core::TransformSpec Create(std::vector<core::KeyPath> const& inputs,
                                      std::vector<core::SortSpecOrder> const& orders, bool makeTable,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
    std::size_t m_inputArrayCount;
};

}  // namespace zel::vm

#pragma GCC visibility pop
