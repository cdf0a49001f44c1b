#include "zel/vm/vtl/OpMultiSortSpec.h"

#include "vtl/SpecChecks.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/ValueSpec.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

namespace {

using core::SortFuncName;

// How many inputs are columns to sort: all of them, unless a table sort ends with the table, the
// parent of the input before it.
std::size_t CountInputArrays(core::TransformSpec const& spec) {
    ZEL_CHECK_NOT_NULL(spec.GetValue(), ZelError::SpecError251);
    ZEL_CHECK(spec.GetValue()->GetStoreType() == StoreType::Bool, ZelError::SpecError251);
    auto const& inputs = spec.GetInputs();
    std::size_t const n = inputs.size();
    if (!core::FetchStoreValue<bool>(spec.GetValue()) || n < 2 || inputs[n - 2].IsEmpty()) {
        return n;
    }
    return inputs[n - 1].TypeAgnosticEquals(inputs[n - 2].GetParent()) ? n - 1 : n;
}

core::SortSpecOrder ParseOrder(core::ValueSpec const& order) {
    auto const& value = order.GetValue();
    if (!order.IsKey() && value != nullptr && value->GetStoreType() == StoreType::String &&
        !value->IsSpecial()) {
        TStringCore const text = core::FetchStoreValue<TStringCore>(value);
        if (text == L"ASC") {
            return core::SortSpecOrder::Ascending;
        }
        if (text == L"DESC") {
            return core::SortSpecOrder::Descending;
        }
    }
    ZEL_FAIL(ZelError::SpecError214);
}

core::ValueSpec OrderValue(core::SortSpecOrder order) {
    switch (order) {
        case core::SortSpecOrder::Ascending:
            return core::ValueSpec(core::factory::MakeString(L"ASC"));
        case core::SortSpecOrder::Descending:
            return core::ValueSpec(core::factory::MakeString(L"DESC"));
    }
    ZEL_FAIL(ZelError::SpecError214);
}

}  // namespace

OpMultiSortSpec::OpMultiSortSpec(core::TransformSpec const& spec)
    : m_spec(spec), m_inputArrayCount(CountInputArrays(spec)) {
    VTL_CHECK_INPUT_COUNT(>= 1, 223);
    VTL_CHECK_ONE_OUTPUT();
    VTL_CHECK_FUNCTION();
    ZEL_CHECK(m_spec.GetFunctionSpec()->GetFunctionId() == SortFuncName, ZelError::SpecError213);
    if (GetMakeTable()) {
        ZEL_CHECK(m_inputArrayCount == m_spec.GetFunctionSpec()->GetFunctionInputs().size(),
                  ZelError::SpecError226);
    } else {
        ZEL_CHECK(m_spec.GetFunctionSpec()->GetFunctionInputs().size() == 1, ZelError::SpecError226);
    }
    // Read the orders once so that a bad one fails here rather than when the sort is made.
    static_cast<void>(GetSortOrders());
}

std::vector<core::KeyPath> OpMultiSortSpec::GetInputsToSort() const {
    auto const& inputs = m_spec.GetInputs();
    if (!GetMakeTable()) {
        return inputs;
    }
    return {inputs.begin(), inputs.begin() + static_cast<std::ptrdiff_t>(m_inputArrayCount)};
}

core::KeyPath const& OpMultiSortSpec::GetInputTable() const {
    ZEL_CHECK(GetMakeTable(), ZelError::SpecError226);
    ZEL_CHECK(m_inputArrayCount + 1 == GetAllInputs().size(), ZelError::SpecError226);
    return GetAllInputs().back();
}

std::vector<core::SortSpecOrder> OpMultiSortSpec::GetSortOrders() const {
    auto const& orders = m_spec.GetFunctionSpec()->GetFunctionInputs();
    std::vector<core::SortSpecOrder> result;
    result.reserve(orders.size());
    for (auto const& order : orders) {
        result.push_back(ParseOrder(order));
    }
    return result;
}

bool OpMultiSortSpec::GetMakeTable() const {
    return core::FetchStoreValue<bool>(m_spec.GetValue());
}

core::TransformSpec OpMultiSortSpec::Create(std::vector<core::KeyPath> const& inputs,
                                            std::vector<core::SortSpecOrder> const& orders, bool makeTable,
                                            core::KeyPath const& output) {
    ZEL_CHECK(!makeTable || inputs.at(0).GetCount() > 1, ZelError::SpecError232);
    std::vector<core::ValueSpec> orderValues;
    orderValues.reserve(orders.size());
    for (auto const order : orders) {
        orderValues.push_back(OrderValue(order));
    }
    std::vector<core::KeyPath> allInputs = inputs;
    if (makeTable) {
        allInputs.push_back(inputs.at(0).GetParent());
    }
    return core::TransformSpec(OperatorType::MultiSort, allInputs, {output},
                               core::FunctionSpec::Make(SortFuncName, orderValues), {},
                               core::factory::MakeBool(makeTable));
}

}  // namespace zel::vm
