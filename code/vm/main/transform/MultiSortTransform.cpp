#include "transform/MultiSortTransform.h"

#include <utility>
#include <vector>

#include "transform/sort/SortRows.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

namespace {

using core::SortSpecOrder;
using Value = std::shared_ptr<core::StoreValue>;

class MultiSortTransformImpl final : public MultiSortTransform {
public:
    MultiSortTransformImpl(std::vector<core::KeyPath> inputs, std::vector<SortSpecOrder> sortOrders,
                           bool makeTable, core::KeyPath output)
        : m_inputs(std::move(inputs)),
          m_sortOrders(std::move(sortOrders)),
          m_makeTable(makeTable),
          m_output(std::move(output)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        TransformValues outputs;
        outputs.SetValue(m_output, m_makeTable ? SortTable(inputs) : SortArray(inputs));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override { return m_inputs; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::MultiSort; }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<MultiSortTransformImpl>(m_inputs, m_sortOrders, m_makeTable, m_output);
    }

private:
    Value SortArray(TransformValues const& inputs) const {
        // The sizes are compared with each other only; the condition keeps the text it is known by.
        if (!(m_inputs.size() == m_sortOrders.size())) {
            core::detail::ReportAndThrowRuntime(__FILE__, __LINE__,
                                                "(m_inputs.size() == m_sortOrders.size() == 1)",
                                                core::ZelError::SpecError226);
        }
        Value const& array = inputs.GetValue(m_inputs.at(0));
        if (array->AsCollection().IsConstant()) {
            return array;
        }
        std::vector<sort::SortKey> const keys{{array, m_sortOrders.at(0)}};
        auto rows = std::make_shared<std::vector<unsigned int>>(
            sort::SortRowNumbers(keys, array->AsCollection().GetCount()));
        return array->AsArray().Gather(rows);
    }

    Value SortTable(TransformValues const& inputs) const {
        Value inputTable;
        std::vector<sort::SortKey> keys;
        for (std::size_t i = 0; i < m_inputs.size(); ++i) {
            Value const& value = inputs.GetValue(m_inputs[i]);
            if (value->GetStoreType() == core::StoreType::Table) {
                ZEL_CHECK_LOGIC(inputTable == nullptr, core::ZelError::LogicFailure);
                inputTable = value;
            } else if (!value->AsCollection().IsConstant()) {
                // A constant column orders nothing; the next key keeps its own order all the same.
                keys.push_back({value, m_sortOrders.at(i)});
            }
        }
        ZEL_CHECK_NOT_NULL(inputTable, core::ZelError::SortInputInvalid);
        if (keys.empty()) {
            return inputTable;
        }
        auto rows = std::make_shared<std::vector<unsigned int>>(
            sort::SortRowNumbers(keys, inputTable->AsTable().GetRowCount()));
        return inputTable->AsTable().GatherRows(std::move(rows));
    }

    std::vector<core::KeyPath> const m_inputs;
    std::vector<SortSpecOrder> const m_sortOrders;
    bool const m_makeTable;
    core::KeyPath const m_output;
};

}  // namespace

std::unique_ptr<MultiSortTransform> MultiSortTransform::Make(OpMultiSortSpec const& spec) {
    return std::make_unique<MultiSortTransformImpl>(spec.GetAllInputs(), spec.GetSortOrders(),
                                                    spec.GetMakeTable(), spec.GetOutput());
}

}  // namespace zel::vm
