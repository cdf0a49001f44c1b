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

// A row that builds `good` with one change and hands it to the view; named after good's operator.
template <class View>
CheckRow Breaks(TransformSpec const& good, Change change, unsigned code, std::string condition) {
    auto run = [good, change] {
        Fields fields = FieldsOf(good);
        change(fields);
        TransformSpec const spec = Build(std::move(fields));
        static_cast<void>(View(spec));
    };
    return {OperatorTypeToString(good.GetOperatorType()).ToUtf8(), run, static_cast<ZelError>(code),
            std::move(condition)};
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
        Breaks<OpAggregateSpec>(reduce, AddInput, 222, c_oneInput),
        Breaks<OpAggregateSpec>(reduce, NoOutputs, 219, c_oneOutput),
        Breaks<OpAggregateSpec>(reduce, DropValue, 250, c_value),
        Breaks<OpAggregateSpec>(reduce, DropFunction, 243, c_function),
        Breaks<OpGroupBySpec>(groupBy, NoInputs, 223, "(inputs).size() >= 1"),
        Breaks<OpGroupBySpec>(groupBy, SetInputs({P(L"t"), P(L"t.k"), P(L"c"), P(L"t.j")}), 229,
                              "!(isPartitionKey && foundNonPartition)"),
        Breaks<OpGroupBySpec>(groupBy, NoOutputs, 219, c_oneOutput),
        Breaks<OpGroupBySpec>(groupBy, AddFunction, 244, c_noFunction),
        Breaks<OpBlockSpec>(block, SetChildren({}), 246, "!(m_spec.GetChildTransforms().empty())"),
        Breaks<OpBlockSpec>(block, AddFunction, 244, "(m_spec.GetFunctionSpec() == nullptr)"),
        Breaks<OpBlockSpec>(block, DropValue, 253, "(m_spec.GetValue() != nullptr)"),
        Breaks<OpBlockSpec>(block, SetValue(factory::MakeInt32(1)), 253, ValueIs("String")),
        Breaks<OpCallSpec>(call, AddFunction, 244, c_noFunction),
        Breaks<OpCallSpec>(call, DropValue, 253, c_value),
        Breaks<OpCallSpec>(call, SetValue(factory::MakeInt32(1)), 253, ValueIs("String")),
        // Case: the branches, then the case itself
        Breaks<OpCaseSpec>(caseSpec, SetChildren({Else()}), 233, "(children).size() >= 2"),
        Breaks<OpCaseSpec>(caseSpec, SetChildren({When(), Else(), Else()}), 234,
                           "(child.GetOperatorType() == OperatorType::When)"),
        Breaks<OpCaseSpec>(caseSpec, SetChildren({OpWhenSpec::Create(nullptr, {}), Else()}), 243,
                           "(child.GetFunctionSpec()) != nullptr"),
        Breaks<OpCaseSpec>(caseSpec, SetChildren({When(), When()}), 235,
                           "(child.GetOperatorType() == OperatorType::Else)"),
        Breaks<OpCaseSpec>(caseSpec, SetChildren({When(), Build({OperatorType::Else, {}, {}, Fn(), {}, {}})}),
                           244, "(child.GetFunctionSpec()) == nullptr"),
        Breaks<OpCaseSpec>(caseSpec, AddFunction, 244, c_noFunction),
        Fails(
            "CaseCreate", [] { OpCaseSpec::Create({}, {P(L"out")}, {Else()}); }, 233,
            "(children).size() >= 2"),
        Breaks<OpConcatSpec>(concat, KeepInputs(1), 225, "(m_spec.GetInputs()).size() >= 2"),
        Breaks<OpConcatSpec>(concat, NoOutputs, 219, c_oneOutput),
        // Constant: one input with a stored constant, two (array and key) without
        Breaks<OpConstantSpec>(storedConstant, AddInput, 255, c_oneInput),
        Breaks<OpConstantSpec>(keyConstant, KeepInputs(1), 255, "(m_spec.GetInputs()).size() == 2"),
        Breaks<OpConstantSpec>(keyConstant, NoOutputs, 219, c_oneOutput),
        Breaks<OpCopySpec>(copy, AddInput, 222, c_oneInput),
        Breaks<OpCopySpec>(copy, AddOutput, 219, c_oneOutput),
        Breaks<OpCreateKeySetSpec>(keySet, KeepInputs(1), 224, "(m_spec.GetInputs()).size() == 2"),
        Breaks<OpCreateKeySetSpec>(keySet, NoOutputs, 219, c_oneOutput),
        Breaks<OpCreateKeySetSpec>(keySet, SetValue(factory::MakeBool(true)), 260,
                                   "(m_spec.GetValue()) == nullptr"),
        Breaks<OpCreateKeySetSpec>(keySet, AddFunction, 244, c_noFunction),
        Breaks<OpCreateTableSpec>(table, NoInputs, 220, "!(m_spec.GetInputs()).empty()"),
        Breaks<OpCreateTableSpec>(table, AddOutput, 219, c_oneOutput),
        Breaks<OpDistinctSpec>(distinct, NoInputs, 222, c_oneInput),
        Breaks<OpDistinctSpec>(distinct, NoOutputs, 219, c_oneOutput),
        Breaks<OpDistinctSpec>(distinct, DropValue, 252, c_value),
        Breaks<OpDistinctSpec>(distinct, SetValue(factory::MakeInt32(1)), 252, ValueIs("Bool")),
        Breaks<OpElseSpec>(Else(), AddInput, 217, "(m_spec.GetInputs()).size() == 0"),
        Breaks<OpElseSpec>(Else(), AddOutput, 218, "(m_spec.GetOutputs()).size() == 0"),
        Breaks<OpElseSpec>(Else(), AddFunction, 244, c_noFunction),
        Breaks<OpFilterSpec>(filter, NoInputs, 223, "(m_spec.GetInputs()).size() >= 1"),
        Breaks<OpFilterSpec>(filter, NoOutputs, 219, c_oneOutput),
        Breaks<OpFilterSpec>(filter, DropValue, 251, c_value),
        Breaks<OpFilterSpec>(filter, SetValue(factory::MakeString(L"yes")), 251, ValueIs("Bool")),
        Breaks<OpFilterSpec>(filter, DropFunction, 243, c_function),
        Fails(
            "FilterCreate", [] { OpFilterSpec::Create(P(L"a"), true, Fn(), P(L"out")); }, 228,
            "(!makeTable || input.GetCount() > 1)"),
        Breaks<OpIndexSpec>(index, AddInput, 222, c_oneInput),
        Breaks<OpIndexSpec>(index, NoOutputs, 219, c_oneOutput),
        Breaks<OpIndexSpec>(index, DropValue, 254, c_value),
        Breaks<OpIndexSpec>(index, SetValue(factory::MakeBool(true)), 254, ValueIs("Int32")),
        Breaks<OpInnerJoinSpec>(join, KeepInputs(3), 226, "(m_spec.GetInputs()).size() >= 4"),
        Breaks<OpInnerJoinSpec>(join, NoOutputs, 219, c_oneOutput),
        Fails(
            "JoinCreate",
            [] { OpInnerJoinSpec::Create(std::vector<std::pair<KeyPath, KeyPath>>{}, P(L"out")); }, 226,
            "!(columns.empty())"),
        Breaks<OpInputSpec>(input, NoOutputs, 219, c_oneOutput),
        Breaks<OpInputSpec>(input, DropFunction, 243, c_function),
        Breaks<OpMapSpec>(map, AddInput, 222, c_oneInput),
        Breaks<OpMapSpec>(map, AddOutput, 219, c_oneOutput),
        Breaks<OpMapSpec>(map, DropFunction, 243, c_function),
        // MultiSort: the flag first (it decides how many inputs are columns), then the shape
        Breaks<OpMultiSortSpec>(tableSort, DropValue, 251, "(spec.GetValue()) != nullptr"),
        Breaks<OpMultiSortSpec>(tableSort, SetValue(factory::MakeInt32(1)), 251,
                                "(spec.GetValue()->GetStoreType() == StoreType::Bool)"),
        Breaks<OpMultiSortSpec>(tableSort, NoInputs, 223, "(m_spec.GetInputs()).size() >= 1"),
        Breaks<OpMultiSortSpec>(tableSort, NoOutputs, 219, c_oneOutput),
        Breaks<OpMultiSortSpec>(tableSort, DropFunction, 243, c_function),
        Breaks<OpMultiSortSpec>(tableSort, SetFunction(FunctionSpec::Make(L"order", {asc, asc})), 213,
                                "(m_spec.GetFunctionSpec()->GetFunctionId() == SortFuncName)"),
        Breaks<OpMultiSortSpec>(
            tableSort, SetInputs({P(L"t.a"), P(L"t.b"), P(L"u")}), 226,
            "(m_inputArrayCount == m_spec.GetFunctionSpec()->GetFunctionInputs().size())"),
        Breaks<OpMultiSortSpec>(arraySort, SetFunction(FunctionSpec::Make(SortFuncName, {asc, asc})), 226,
                                "(m_spec.GetFunctionSpec()->GetFunctionInputs().size() == 1)"),
        Breaks<OpMultiSortSpec>(
            arraySort,
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
        Breaks<OpOutputSpec>(output, DropFunction, 243, c_function),
        // Return: 222 although the test is "at least one"
        Breaks<OpReturnSpec>(ret, NoInputs, 222, "(m_spec.GetInputs()).size() >= 1"),
        Breaks<OpReturnSpec>(ret, AddOutput, 219, c_oneOutput),
        Breaks<OpSetValueSpec>(setValue, NoOutputs, 219, c_oneOutput),
        Breaks<OpSetValueSpec>(setValue, DropFunction, 243, c_function),
        Breaks<OpSetValueMultiSpec>(setMulti, AddOutput, 219, c_oneOutput),
        Breaks<OpSetValueMultiSpec>(setMulti, DropFunction, 243, c_function),
        Breaks<OpSliceSpec>(slice, NoInputs, 222, c_oneInput),
        Breaks<OpSliceSpec>(slice, NoOutputs, 219, c_oneOutput),
        Breaks<OpSliceSpec>(slice, DropFunction, 243, c_function),
        Breaks<OpWhenSpec>(When(), AddInput, 217, "(m_spec.GetInputs()).size() == 0"),
        Breaks<OpWhenSpec>(When(), AddOutput, 218, "(m_spec.GetOutputs()).size() == 0"),
        Breaks<OpWhenSpec>(When(), DropFunction, 243, c_function),
        Breaks<OpZipSpec>(zip, KeepInputs(1), 225, "(m_spec.GetInputs()).size() >= 2"),
        Breaks<OpZipSpec>(zip, NoOutputs, 219, c_oneOutput),
        Breaks<OpZipWithSpec>(zipWith, AddInput, 224, "(m_spec.GetInputs()).size() == 2"),
        Breaks<OpZipWithSpec>(zipWith, NoOutputs, 219, c_oneOutput),
        Breaks<OpZipWithSpec>(zipWith, DropFunction, 243, c_function),
        Breaks<OpInternalCreateKeyMapSpec>(keyMap, NoOutputs, 219, c_oneOutput),
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
