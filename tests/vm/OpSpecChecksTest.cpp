// The checks of the operator spec views, as one table: for each view, each of its checks in the
// order the view makes them, with a spec that passes every check before it and fails that one.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/CheckFailure.h"
#include "vm/OpSpecTestSupport.h"
#include "zel/core/spec/SortSpec.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/vm/vtl/OpAggregateSpec.h"
#include "zel/vm/vtl/OpBlockSpec.h"
#include "zel/vm/vtl/OpCallSpec.h"
#include "zel/vm/vtl/OpCaseSpec.h"
#include "zel/vm/vtl/OpConcatSpec.h"
#include "zel/vm/vtl/OpConstantSpec.h"
#include "zel/vm/vtl/OpCopySpec.h"
#include "zel/vm/vtl/OpCreateKeySetSpec.h"
#include "zel/vm/vtl/OpCreateTableSpec.h"
#include "zel/vm/vtl/OpDistinctSpec.h"
#include "zel/vm/vtl/OpElseSpec.h"
#include "zel/vm/vtl/OpFilterSpec.h"
#include "zel/vm/vtl/OpGroupBySpec.h"
#include "zel/vm/vtl/OpIndexSpec.h"
#include "zel/vm/vtl/OpInnerJoinSpec.h"
#include "zel/vm/vtl/OpInputSpec.h"
#include "zel/vm/vtl/OpInternalCreateKeyMapSpec.h"
#include "zel/vm/vtl/OpMapSpec.h"
#include "zel/vm/vtl/OpMultiSortSpec.h"
#include "zel/vm/vtl/OpOutputSpec.h"
#include "zel/vm/vtl/OpReduceSpec.h"
#include "zel/vm/vtl/OpReturnSpec.h"
#include "zel/vm/vtl/OpSetValueMultiSpec.h"
#include "zel/vm/vtl/OpSetValueSpec.h"
#include "zel/vm/vtl/OpSliceSpec.h"
#include "zel/vm/vtl/OpWhenSpec.h"
#include "zel/vm/vtl/OpZipSpec.h"
#include "zel/vm/vtl/OpZipWithSpec.h"

using namespace zel::core;
using namespace zel::vm;
using zel::test::ExpectCheckFailure;
using zel::test::Fn;
using zel::test::P;

namespace {

// The fields of a spec, to break one of them at a time.
struct Fields {
    OperatorType type;
    std::vector<KeyPath> inputs;
    std::vector<KeyPath> outputs;
    std::shared_ptr<FunctionSpec> function;
    std::vector<TransformSpec> children;
    std::shared_ptr<StoreValue> value;
};

Fields FieldsOf(TransformSpec const& spec) {
    return {spec.GetOperatorType(), spec.GetInputs(),          spec.GetOutputs(),
            spec.GetFunctionSpec(), spec.GetChildTransforms(), spec.GetValue()};
}

TransformSpec Build(Fields fields) {
    return TransformSpec(fields.type, fields.inputs, fields.outputs, fields.function,
                         std::move(fields.children), fields.value);
}

using Change = std::function<void(Fields&)>;

Change const AddInput = [](Fields& f) { f.inputs.push_back(P(L"extra")); };
Change const NoInputs = [](Fields& f) { f.inputs.clear(); };
Change const AddOutput = [](Fields& f) { f.outputs.push_back(P(L"extra")); };
Change const NoOutputs = [](Fields& f) { f.outputs.clear(); };
Change const DropFunction = [](Fields& f) { f.function = nullptr; };
Change const AddFunction = [](Fields& f) { f.function = Fn(); };
Change const DropValue = [](Fields& f) { f.value = nullptr; };
Change KeepInputs(std::size_t count) {
    return [count](Fields& f) { f.inputs.resize(count); };
}
Change SetInputs(std::vector<KeyPath> inputs) {
    return [inputs](Fields& f) { f.inputs = inputs; };
}
Change SetFunction(std::shared_ptr<FunctionSpec> function) {
    return [function](Fields& f) { f.function = function; };
}
Change SetValue(std::shared_ptr<StoreValue> value) {
    return [value](Fields& f) { f.value = value; };
}
Change SetChildren(std::vector<TransformSpec> children) {
    return [children](Fields& f) { f.children = children; };
}

// The condition texts that many views share.
std::string const c_oneInput = "(m_spec.GetInputs()).size() == 1";
std::string const c_oneOutput = "(m_spec.GetOutputs()).size() == 1";
std::string const c_function = "(m_spec.GetFunctionSpec()) != nullptr";
std::string const c_noFunction = "(m_spec.GetFunctionSpec()) == nullptr";
std::string const c_value = "(m_spec.GetValue()) != nullptr";
std::string ValueIs(char const* type) {
    return std::string("(m_spec.GetValue()->GetStoreType() == StoreType::") + type + ")";
}

struct CheckRow {
    std::string name;
    std::function<void()> run;
    ZelError error;
    std::string condition;
};

void PrintTo(CheckRow const& row, std::ostream* out) {
    *out << row.name << ": " << row.condition;
}

// A row that builds `good` with one change and hands it to the view.
template <class View>
CheckRow Breaks(std::string view, TransformSpec const& good, Change change, unsigned code,
                std::string condition) {
    auto run = [good, change] {
        Fields fields = FieldsOf(good);
        change(fields);
        TransformSpec const spec = Build(std::move(fields));
        static_cast<void>(View(spec));
    };
    return {std::move(view), run, static_cast<ZelError>(code), std::move(condition)};
}

// A row for a check made outside the constructor: by a Create function or a getter.
CheckRow Fails(std::string what, std::function<void()> run, unsigned code, std::string condition) {
    return {std::move(what), std::move(run), static_cast<ZelError>(code), std::move(condition)};
}

TransformSpec When() {
    return OpWhenSpec::Create(Fn(L"condition"), {});
}
TransformSpec Else() {
    return OpElseSpec::Create({});
}

std::vector<CheckRow> Rows() {
    auto const reduce = OpReduceSpec::Create(P(L"col"), factory::MakeDouble(0), Fn(L"add"), P(L"sum"));
    auto const groupBy = OpGroupBySpec::Create(P(L"t"), {P(L"t.k")}, {P(L"c")},
                                               {OpCopySpec::Create(P(L"a"), P(L"b"))}, P(L"out"));
    auto const block = OpBlockSpec::Create(L"b", {P(L"x")}, {OpCopySpec::Create(P(L"x"), P(L"y"))}, P(L"y"));
    auto const call = OpCallSpec::Create(L"b", {P(L"x")}, P(L"y"));
    auto const caseSpec = OpCaseSpec::Create({P(L"c")}, {P(L"out")}, {When(), Else()});
    auto const keyConstant = OpConstantSpec::Create(P(L"arr"), P(L"key"), P(L"out"));
    auto const storedConstant = OpConstantSpec::Create(P(L"arr"), factory::MakeInt32(7), P(L"out"));
    auto const distinct = OpDistinctSpec::Create(P(L"a"), true, P(L"b"));
    auto const filter = OpFilterSpec::Create(P(L"t.a"), true, Fn(L"positive"), P(L"out"));
    auto const index = OpIndexSpec::Create(P(L"a"), 1, P(L"b"));
    auto const join = OpInnerJoinSpec::Create(P(L"l.id"), P(L"r.id"), P(L"out"));
    auto const tableSort = OpMultiSortSpec::Create(
        {P(L"t.a"), P(L"t.b")}, {SortSpecOrder::Ascending, SortSpecOrder::Descending}, true, P(L"out"));
    auto const arraySort = OpMultiSortSpec::Create({P(L"a")}, {SortSpecOrder::Ascending}, false, P(L"out"));
    auto const asc = ValueSpec(factory::MakeString(L"ASC"));
    // A table sort whose last input is no table: every input is a column to sort.
    auto const sortWithoutTable = Build({OperatorType::MultiSort,
                                         {P(L"t.a"), P(L"t.b"), P(L"u")},
                                         {P(L"out")},
                                         FunctionSpec::Make(SortFuncName, {asc, asc, asc}),
                                         {},
                                         factory::MakeBool(true)});
    auto const concat = OpConcatSpec::Create({P(L"a"), P(L"b")}, P(L"c"));
    auto const copy = OpCopySpec::Create(P(L"a"), P(L"b"));
    auto const keySet = OpCreateKeySetSpec::Create(P(L"k"), P(L"v"), P(L"s"));
    auto const table = OpCreateTableSpec::Create({P(L"a")}, P(L"t"));
    auto const input = OpInputSpec::Create(Fn(), P(L"a"));
    auto const map = OpMapSpec::Create(P(L"a"), Fn(), P(L"b"));
    auto const ret = OpReturnSpec::Create({P(L"a")}, P(L"r"));
    auto const setValue = OpSetValueSpec::Create(Fn(), P(L"v"));
    auto const setMulti = OpSetValueMultiSpec::Create(Fn(), P(L"v"));
    auto const slice = OpSliceSpec::Create(P(L"a"), Fn(), P(L"b"));
    auto const zip = OpZipSpec::Create(P(L"a"), P(L"b"), P(L"z"));
    auto const zipWith = OpZipWithSpec::Create(P(L"a"), P(L"b"), Fn(), P(L"z"));
    auto const keyMap = OpInternalCreateKeyMapSpec::Create({P(L"a")}, P(L"m"));
    auto const output = OpOutputSpec::Create(Fn());

    std::vector<CheckRow> rows = {
        // Reduce, Scan and ScanRight share one view, as do GroupBy and ApplyByPartition, and the joins.
        Breaks<OpAggregateSpec>("Aggregate", reduce, AddInput, 222, c_oneInput),
        Breaks<OpAggregateSpec>("Aggregate", reduce, NoOutputs, 219, c_oneOutput),
        Breaks<OpAggregateSpec>("Aggregate", reduce, DropValue, 250, c_value),
        Breaks<OpAggregateSpec>("Aggregate", reduce, DropFunction, 243, c_function),
        Breaks<OpGroupBySpec>("Partition", groupBy, NoInputs, 223, "(inputs).size() >= 1"),
        Breaks<OpGroupBySpec>("Partition", groupBy, SetInputs({P(L"t"), P(L"t.k"), P(L"c"), P(L"t.j")}), 229,
                              "!(isPartitionKey && foundNonPartition)"),
        Breaks<OpGroupBySpec>("Partition", groupBy, NoOutputs, 219, c_oneOutput),
        Breaks<OpGroupBySpec>("Partition", groupBy, AddFunction, 244, c_noFunction),
        Breaks<OpBlockSpec>("Block", block, SetChildren({}), 246, "!(m_spec.GetChildTransforms().empty())"),
        Breaks<OpBlockSpec>("Block", block, AddFunction, 244, "(m_spec.GetFunctionSpec() == nullptr)"),
        Breaks<OpBlockSpec>("Block", block, DropValue, 253, "(m_spec.GetValue() != nullptr)"),
        Breaks<OpBlockSpec>("Block", block, SetValue(factory::MakeInt32(1)), 253, ValueIs("String")),
        Breaks<OpCallSpec>("Call", call, AddFunction, 244, c_noFunction),
        Breaks<OpCallSpec>("Call", call, DropValue, 253, c_value),
        Breaks<OpCallSpec>("Call", call, SetValue(factory::MakeInt32(1)), 253, ValueIs("String")),
        // Case: the branches, then the case itself
        Breaks<OpCaseSpec>("Case", caseSpec, SetChildren({Else()}), 233, "(children).size() >= 2"),
        Breaks<OpCaseSpec>("Case", caseSpec, SetChildren({When(), Else(), Else()}), 234,
                           "(child.GetOperatorType() == OperatorType::When)"),
        Breaks<OpCaseSpec>("Case", caseSpec, SetChildren({OpWhenSpec::Create(nullptr, {}), Else()}), 243,
                           "(child.GetFunctionSpec()) != nullptr"),
        Breaks<OpCaseSpec>("Case", caseSpec, SetChildren({When(), When()}), 235,
                           "(child.GetOperatorType() == OperatorType::Else)"),
        Breaks<OpCaseSpec>("Case", caseSpec,
                           SetChildren({When(), Build({OperatorType::Else, {}, {}, Fn(), {}, {}})}), 244,
                           "(child.GetFunctionSpec()) == nullptr"),
        Breaks<OpCaseSpec>("Case", caseSpec, AddFunction, 244, c_noFunction),
        Fails(
            "CaseCreate", [] { OpCaseSpec::Create({}, {P(L"out")}, {Else()}); }, 233,
            "(children).size() >= 2"),
        Breaks<OpConcatSpec>("Concat", concat, KeepInputs(1), 225, "(m_spec.GetInputs()).size() >= 2"),
        Breaks<OpConcatSpec>("Concat", concat, NoOutputs, 219, c_oneOutput),
        // Constant: one input with a stored constant, two (array and key) without
        Breaks<OpConstantSpec>("Constant", storedConstant, AddInput, 255, c_oneInput),
        Breaks<OpConstantSpec>("Constant", keyConstant, KeepInputs(1), 255,
                               "(m_spec.GetInputs()).size() == 2"),
        Breaks<OpConstantSpec>("Constant", keyConstant, NoOutputs, 219, c_oneOutput),
        Breaks<OpCopySpec>("Copy", copy, AddInput, 222, c_oneInput),
        Breaks<OpCopySpec>("Copy", copy, AddOutput, 219, c_oneOutput),
        Breaks<OpCreateKeySetSpec>("CreateKeySet", keySet, KeepInputs(1), 224,
                                   "(m_spec.GetInputs()).size() == 2"),
        Breaks<OpCreateKeySetSpec>("CreateKeySet", keySet, NoOutputs, 219, c_oneOutput),
        Breaks<OpCreateKeySetSpec>("CreateKeySet", keySet, SetValue(factory::MakeBool(true)), 260,
                                   "(m_spec.GetValue()) == nullptr"),
        Breaks<OpCreateKeySetSpec>("CreateKeySet", keySet, AddFunction, 244, c_noFunction),
        Breaks<OpCreateTableSpec>("CreateTable", table, NoInputs, 220, "!(m_spec.GetInputs()).empty()"),
        Breaks<OpCreateTableSpec>("CreateTable", table, AddOutput, 219, c_oneOutput),
        Breaks<OpDistinctSpec>("Distinct", distinct, NoInputs, 222, c_oneInput),
        Breaks<OpDistinctSpec>("Distinct", distinct, NoOutputs, 219, c_oneOutput),
        Breaks<OpDistinctSpec>("Distinct", distinct, DropValue, 252, c_value),
        Breaks<OpDistinctSpec>("Distinct", distinct, SetValue(factory::MakeInt32(1)), 252, ValueIs("Bool")),
        Breaks<OpElseSpec>("Else", Else(), AddInput, 217, "(m_spec.GetInputs()).size() == 0"),
        Breaks<OpElseSpec>("Else", Else(), AddOutput, 218, "(m_spec.GetOutputs()).size() == 0"),
        Breaks<OpElseSpec>("Else", Else(), AddFunction, 244, c_noFunction),
        Breaks<OpFilterSpec>("Filter", filter, NoInputs, 223, "(m_spec.GetInputs()).size() >= 1"),
        Breaks<OpFilterSpec>("Filter", filter, NoOutputs, 219, c_oneOutput),
        Breaks<OpFilterSpec>("Filter", filter, DropValue, 251, c_value),
        Breaks<OpFilterSpec>("Filter", filter, SetValue(factory::MakeString(L"yes")), 251, ValueIs("Bool")),
        Breaks<OpFilterSpec>("Filter", filter, DropFunction, 243, c_function),
        Fails(
            "FilterCreate", [] { OpFilterSpec::Create(P(L"a"), true, Fn(), P(L"out")); }, 228,
            "(!makeTable || input.GetCount() > 1)"),
        Breaks<OpIndexSpec>("Index", index, AddInput, 222, c_oneInput),
        Breaks<OpIndexSpec>("Index", index, NoOutputs, 219, c_oneOutput),
        Breaks<OpIndexSpec>("Index", index, DropValue, 254, c_value),
        Breaks<OpIndexSpec>("Index", index, SetValue(factory::MakeBool(true)), 254, ValueIs("Int32")),
        Breaks<OpInnerJoinSpec>("Join", join, KeepInputs(3), 226, "(m_spec.GetInputs()).size() >= 4"),
        Breaks<OpInnerJoinSpec>("Join", join, NoOutputs, 219, c_oneOutput),
        Fails(
            "JoinCreate",
            [] { OpInnerJoinSpec::Create(std::vector<std::pair<KeyPath, KeyPath>>{}, P(L"out")); }, 226,
            "!(columns.empty())"),
        Breaks<OpInputSpec>("Input", input, NoOutputs, 219, c_oneOutput),
        Breaks<OpInputSpec>("Input", input, DropFunction, 243, c_function),
        Breaks<OpMapSpec>("Map", map, AddInput, 222, c_oneInput),
        Breaks<OpMapSpec>("Map", map, AddOutput, 219, c_oneOutput),
        Breaks<OpMapSpec>("Map", map, DropFunction, 243, c_function),
        // MultiSort: the flag first (it decides how many inputs are columns), then the shape
        Breaks<OpMultiSortSpec>("MultiSort", tableSort, DropValue, 251, "(spec.GetValue()) != nullptr"),
        Breaks<OpMultiSortSpec>("MultiSort", tableSort, SetValue(factory::MakeInt32(1)), 251,
                                "(spec.GetValue()->GetStoreType() == StoreType::Bool)"),
        Breaks<OpMultiSortSpec>("MultiSort", tableSort, NoInputs, 223, "(m_spec.GetInputs()).size() >= 1"),
        Breaks<OpMultiSortSpec>("MultiSort", tableSort, NoOutputs, 219, c_oneOutput),
        Breaks<OpMultiSortSpec>("MultiSort", tableSort, DropFunction, 243, c_function),
        Breaks<OpMultiSortSpec>("MultiSort", tableSort, SetFunction(FunctionSpec::Make(L"order", {asc, asc})),
                                213, "(m_spec.GetFunctionSpec()->GetFunctionId() == SortFuncName)"),
        Breaks<OpMultiSortSpec>(
            "MultiSort", tableSort, SetInputs({P(L"t.a"), P(L"t.b"), P(L"u")}), 226,
            "(m_inputArrayCount == m_spec.GetFunctionSpec()->GetFunctionInputs().size())"),
        Breaks<OpMultiSortSpec>("MultiSort", arraySort,
                                SetFunction(FunctionSpec::Make(SortFuncName, {asc, asc})), 226,
                                "(m_spec.GetFunctionSpec()->GetFunctionInputs().size() == 1)"),
        Breaks<OpMultiSortSpec>(
            "MultiSort", arraySort,
            SetFunction(FunctionSpec::Make(SortFuncName, {ValueSpec(factory::MakeString(L"asc"))})), 214, ""),
        Fails(
            "MultiSortTableOfArraySort", [arraySort] { OpMultiSortSpec(arraySort).GetInputTable(); }, 226,
            "(GetMakeTable())"),
        Fails(
            "MultiSortTableOfNoTable",
            [sortWithoutTable] { OpMultiSortSpec(sortWithoutTable).GetInputTable(); }, 226,
            "(m_inputArrayCount + 1 == GetAllInputs().size())"),
        Fails(
            "MultiSortCreate",
            [] { OpMultiSortSpec::Create({P(L"a")}, {SortSpecOrder::Ascending}, true, P(L"o")); }, 232,
            "(!makeTable || inputs.at(0).GetCount() > 1)"),
        Fails(
            "MultiSortCreate", [] { OpMultiSortSpec::Create({P(L"a")}, {SortSpecOrder(2)}, false, P(L"o")); },
            214, ""),
        Breaks<OpOutputSpec>("Output", output, DropFunction, 243, c_function),
        // Return: 222 although the test is "at least one"
        Breaks<OpReturnSpec>("Return", ret, NoInputs, 222, "(m_spec.GetInputs()).size() >= 1"),
        Breaks<OpReturnSpec>("Return", ret, AddOutput, 219, c_oneOutput),
        Breaks<OpSetValueSpec>("SetValue", setValue, NoOutputs, 219, c_oneOutput),
        Breaks<OpSetValueSpec>("SetValue", setValue, DropFunction, 243, c_function),
        Breaks<OpSetValueMultiSpec>("SetValueMulti", setMulti, AddOutput, 219, c_oneOutput),
        Breaks<OpSetValueMultiSpec>("SetValueMulti", setMulti, DropFunction, 243, c_function),
        Breaks<OpSliceSpec>("Slice", slice, NoInputs, 222, c_oneInput),
        Breaks<OpSliceSpec>("Slice", slice, NoOutputs, 219, c_oneOutput),
        Breaks<OpSliceSpec>("Slice", slice, DropFunction, 243, c_function),
        Breaks<OpWhenSpec>("When", When(), AddInput, 217, "(m_spec.GetInputs()).size() == 0"),
        Breaks<OpWhenSpec>("When", When(), AddOutput, 218, "(m_spec.GetOutputs()).size() == 0"),
        Breaks<OpWhenSpec>("When", When(), DropFunction, 243, c_function),
        Breaks<OpZipSpec>("Zip", zip, KeepInputs(1), 225, "(m_spec.GetInputs()).size() >= 2"),
        Breaks<OpZipSpec>("Zip", zip, NoOutputs, 219, c_oneOutput),
        Breaks<OpZipWithSpec>("ZipWith", zipWith, AddInput, 224, "(m_spec.GetInputs()).size() == 2"),
        Breaks<OpZipWithSpec>("ZipWith", zipWith, NoOutputs, 219, c_oneOutput),
        Breaks<OpZipWithSpec>("ZipWith", zipWith, DropFunction, 243, c_function),
        Breaks<OpInternalCreateKeyMapSpec>("InternalCreateKeyMap", keyMap, NoOutputs, 219, c_oneOutput),
    };
    // Test names: the view and the code, numbered where a view has more than one check of a code.
    std::map<std::string, int> seen;
    for (auto& row : rows) {
        row.name += "_" + std::to_string(static_cast<unsigned>(row.error));
        if (int const n = ++seen[row.name]; n > 1) {
            row.name += "_" + std::to_string(n);
        }
    }
    return rows;
}

class OpSpecChecks : public testing::TestWithParam<CheckRow> {};

TEST_P(OpSpecChecks, FailsWithItsConditionAndCode) {
    ExpectCheckFailure(GetParam().run, GetParam().error, GetParam().condition);
}

INSTANTIATE_TEST_SUITE_P(Views, OpSpecChecks, testing::ValuesIn(Rows()),
                         [](testing::TestParamInfo<CheckRow> const& info) { return info.param.name; });

}  // namespace
