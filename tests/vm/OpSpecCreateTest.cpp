// Every Create builds a spec that its view accepts, and the view's getters give back what went in.

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "vm/OpSpecTestSupport.h"
#include "zel/core/spec/SortSpec.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/vm/vtl/OpApplyByPartitionSpec.h"
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
#include "zel/vm/vtl/OpLeftOuterJoinSpec.h"
#include "zel/vm/vtl/OpMapSpec.h"
#include "zel/vm/vtl/OpMultiSortSpec.h"
#include "zel/vm/vtl/OpOutputSpec.h"
#include "zel/vm/vtl/OpReduceSpec.h"
#include "zel/vm/vtl/OpReturnSpec.h"
#include "zel/vm/vtl/OpScanRightSpec.h"
#include "zel/vm/vtl/OpScanSpec.h"
#include "zel/vm/vtl/OpSetValueMultiSpec.h"
#include "zel/vm/vtl/OpSetValueSpec.h"
#include "zel/vm/vtl/OpSliceSpec.h"
#include "zel/vm/vtl/OpWhenSpec.h"
#include "zel/vm/vtl/OpZipSpec.h"
#include "zel/vm/vtl/OpZipWithSpec.h"

using namespace zel::core;
using namespace zel::vm;
using zel::test::Fn;
using zel::test::P;

namespace {

using Paths = std::vector<KeyPath>;

KeySegmentType const c_arrayOfDouble(StoreTypeInfo::Array, StoreTypeInfo::Double);
KeySegmentType const c_setOfString(StoreTypeInfo::Set, StoreTypeInfo::String);

}  // namespace

TEST(OpSpecCreate, ColumnOperators) {
    auto const fn = Fn();

    auto const map = OpMapSpec::Create(P(L"a"), fn, P(L"b"));
    EXPECT_EQ(map.GetOperatorType(), OperatorType::Map);
    OpMapSpec const mapView(map);
    EXPECT_EQ(mapView.GetInput(), P(L"a"));
    EXPECT_EQ(mapView.GetOutput(), P(L"b"));
    EXPECT_EQ(mapView.GetFunctionSpec(), fn);

    auto const slice = OpSliceSpec::Create(P(L"a"), fn, P(L"b"));
    EXPECT_EQ(slice.GetOperatorType(), OperatorType::Slice);
    EXPECT_EQ(OpSliceSpec(slice).GetInput(), P(L"a"));
    EXPECT_EQ(OpSliceSpec(slice).GetFunctionSpec(), fn);

    // A filter of a table column carries the table as its second input.
    auto const tableFilter = OpFilterSpec::Create(P(L"t.a"), true, fn, P(L"out"));
    EXPECT_EQ(tableFilter.GetOperatorType(), OperatorType::Filter);
    EXPECT_EQ(tableFilter.GetInputs(), (Paths{P(L"t.a"), P(L"t")}));
    OpFilterSpec const tableFilterView(tableFilter);
    EXPECT_EQ(tableFilterView.GetInput(), P(L"t.a"));
    EXPECT_TRUE(tableFilterView.GetMakeTable());
    EXPECT_EQ(tableFilterView.GetFunctionSpec(), fn);
    EXPECT_EQ(tableFilterView.GetOutput(), P(L"out"));
    auto const columnFilter = OpFilterSpec::Create(P(L"a"), false, fn, P(L"out"));
    EXPECT_EQ(columnFilter.GetInputs(), Paths{P(L"a")});
    EXPECT_FALSE(OpFilterSpec(columnFilter).GetMakeTable());

    auto const zipWith = OpZipWithSpec::Create(P(L"a"), P(L"b"), fn, P(L"c"));
    EXPECT_EQ(zipWith.GetOperatorType(), OperatorType::ZipWith);
    OpZipWithSpec const zipWithView(zipWith);
    EXPECT_EQ(zipWithView.GetInput1(), P(L"a"));
    EXPECT_EQ(zipWithView.GetInput2(), P(L"b"));
    EXPECT_EQ(zipWithView.GetFunctionSpec(), fn);
    EXPECT_EQ(zipWithView.GetOutput(), P(L"c"));

    auto const zip = OpZipSpec::Create(P(L"a"), P(L"b"), P(L"z"));
    EXPECT_EQ(zip, OpZipSpec::Create({P(L"a"), P(L"b")}, P(L"z")));
    EXPECT_EQ(zip.GetOperatorType(), OperatorType::Zip);
    EXPECT_EQ(OpZipSpec(zip).GetInputs(), (Paths{P(L"a"), P(L"b")}));
    EXPECT_EQ(OpZipSpec(zip).GetOutput(), P(L"z"));

    auto const concat = OpConcatSpec::Create({P(L"a"), P(L"b"), P(L"c")}, P(L"d"));
    EXPECT_EQ(concat.GetOperatorType(), OperatorType::Concat);
    EXPECT_EQ(OpConcatSpec(concat).GetInputs(), (Paths{P(L"a"), P(L"b"), P(L"c")}));

    auto const copy = OpCopySpec::Create(P(L"a"), P(L"b"));
    EXPECT_EQ(copy.GetOperatorType(), OperatorType::Copy);
    EXPECT_EQ(OpCopySpec(copy).GetInput(), P(L"a"));
    EXPECT_EQ(OpCopySpec(copy).GetOutput(), P(L"b"));

    auto const distinct = OpDistinctSpec::Create(P(L"a"), true, P(L"b"));
    EXPECT_EQ(distinct.GetOperatorType(), OperatorType::Distinct);
    EXPECT_EQ(OpDistinctSpec(distinct).GetInput(), P(L"a"));
    EXPECT_TRUE(OpDistinctSpec(distinct).GetIncludeSpecial());
    EXPECT_FALSE(OpDistinctSpec(OpDistinctSpec::Create(P(L"a"), false, P(L"b"))).GetIncludeSpecial());

    auto const index = OpIndexSpec::Create(P(L"a"), -3, P(L"b"));
    EXPECT_EQ(index.GetOperatorType(), OperatorType::Index);
    EXPECT_EQ(OpIndexSpec(index).GetInput(), P(L"a"));
    EXPECT_EQ(OpIndexSpec(index).GetFirst(), -3);

    // A constant is stored with one input, or read from a key given as the second.
    auto const seven = factory::MakeInt32(7);
    auto const stored = OpConstantSpec::Create(P(L"arr"), seven, P(L"out"));
    EXPECT_EQ(stored.GetOperatorType(), OperatorType::Constant);
    OpConstantSpec const storedView(stored);
    EXPECT_TRUE(storedView.GetIsConstant());
    EXPECT_EQ(storedView.GetConstant(), seven);
    EXPECT_EQ(storedView.GetInputArray(), P(L"arr"));
    EXPECT_EQ(stored.GetInputs().size(), 1u);
    auto const keyed = OpConstantSpec::Create(P(L"arr"), P(L"key"), P(L"out"));
    OpConstantSpec const keyedView(keyed);
    EXPECT_FALSE(keyedView.GetIsConstant());
    EXPECT_EQ(keyedView.GetInputArray(), P(L"arr"));
    EXPECT_EQ(keyedView.GetInputKey(), P(L"key"));
    EXPECT_EQ(keyedView.GetOutput(), P(L"out"));

    auto const keySet = OpCreateKeySetSpec::Create(P(L"k"), P(L"v"), P(L"s"));
    EXPECT_EQ(keySet.GetOperatorType(), OperatorType::CreateKeySet);
    EXPECT_EQ(OpCreateKeySetSpec(keySet).GetInputKey(), P(L"k"));
    EXPECT_EQ(OpCreateKeySetSpec(keySet).GetInputValue(), P(L"v"));

    auto const table = OpCreateTableSpec::Create({P(L"a"), P(L"b")}, P(L"t"));
    EXPECT_EQ(table.GetOperatorType(), OperatorType::CreateTable);
    EXPECT_EQ(OpCreateTableSpec(table).GetInputs(), (Paths{P(L"a"), P(L"b")}));

    auto const keyMap = OpInternalCreateKeyMapSpec::Create({P(L"a")}, P(L"m"));
    EXPECT_EQ(keyMap.GetOperatorType(), OperatorType::InternalCreateKeyMap);
    EXPECT_EQ(OpInternalCreateKeyMapSpec(keyMap).GetInputs(), Paths{P(L"a")});
    EXPECT_EQ(OpInternalCreateKeyMapSpec(keyMap).GetOutput(), P(L"m"));

    auto const ret = OpReturnSpec::Create({P(L"a"), P(L"b")}, P(L"r"));
    EXPECT_EQ(ret.GetOperatorType(), OperatorType::Return);
    EXPECT_EQ(OpReturnSpec(ret).GetInputs(), (Paths{P(L"a"), P(L"b")}));
    EXPECT_EQ(OpReturnSpec(ret).GetOutput(), P(L"r"));
}

TEST(OpSpecCreate, FunctionOperators) {
    auto const fn = Fn();

    auto const input = OpInputSpec::Create(fn, P(L"a"));
    EXPECT_EQ(input.GetOperatorType(), OperatorType::Input);
    EXPECT_EQ(input.GetInputs(), Paths{KeyPath::Empty()});
    EXPECT_EQ(OpInputSpec(input).GetFunctionSpec(), fn);
    EXPECT_EQ(OpInputSpec(input).GetOutput(), P(L"a"));

    auto const output = OpOutputSpec::Create(fn);
    EXPECT_EQ(output.GetOperatorType(), OperatorType::Output);
    EXPECT_EQ(output.GetInputs(), Paths{KeyPath::Empty()});
    EXPECT_EQ(output.GetOutputs(), Paths{KeyPath::Empty()});
    EXPECT_EQ(OpOutputSpec(output).GetFunctionSpec(), fn);

    auto const setValue = OpSetValueSpec::Create(L"abs", P(L"x"), P(L"v"));
    EXPECT_EQ(setValue.GetOperatorType(), OperatorType::SetValue);
    EXPECT_EQ(setValue.GetInputs(), Paths{KeyPath::Empty()});
    EXPECT_EQ(*OpSetValueSpec(setValue).GetFunctionSpec(), *FunctionSpec::Make(L"abs", P(L"x")));
    EXPECT_EQ(OpSetValueSpec(setValue).GetOutput(), P(L"v"));
    EXPECT_EQ(OpSetValueSpec(OpSetValueSpec::Create(fn, P(L"v"))).GetFunctionSpec(), fn);

    auto const setMulti = OpSetValueMultiSpec::Create(L"max", P(L"x"), P(L"y"), P(L"v"));
    EXPECT_EQ(setMulti.GetOperatorType(), OperatorType::SetValueMulti);
    EXPECT_EQ(setMulti.GetInputs(), Paths{KeyPath::Empty()});
    EXPECT_EQ(*OpSetValueMultiSpec(setMulti).GetFunctionSpec(),
              *FunctionSpec::Make(L"max", P(L"x"), P(L"y")));
    EXPECT_EQ(OpSetValueMultiSpec(OpSetValueMultiSpec::Create(fn, P(L"v"))).GetFunctionSpec(), fn);

    // Reduce, Scan and ScanRight differ only in the operator they write.
    auto const initial = factory::MakeDouble(0.5);
    for (auto const& [spec, type] :
         {std::pair{OpReduceSpec::Create(P(L"a"), initial, fn, P(L"b")), OperatorType::Reduce},
          std::pair{OpScanSpec::Create(P(L"a"), initial, fn, P(L"b")), OperatorType::Scan},
          std::pair{OpScanRightSpec::Create(P(L"a"), initial, fn, P(L"b")), OperatorType::ScanRight}}) {
        OpAggregateSpec const view(spec);
        EXPECT_EQ(view.GetOperatorType(), type);
        EXPECT_EQ(view.GetInput(), P(L"a"));
        EXPECT_EQ(view.GetInitial(), initial);
        EXPECT_EQ(view.GetFunctionSpec(), fn);
        EXPECT_EQ(view.GetOutput(), P(L"b"));
    }
}

TEST(OpSpecCreate, ControlOperators) {
    auto const child = OpCopySpec::Create(P(L"x"), P(L"y"));

    auto const block = OpBlockSpec::Create(L"main", {P(L"x")}, {child}, P(L"y"));
    EXPECT_EQ(block.GetOperatorType(), OperatorType::Block);
    OpBlockSpec const blockView(block);
    EXPECT_EQ(blockView.GetBlockName(), L"main");
    EXPECT_EQ(blockView.GetInputs(), Paths{P(L"x")});
    EXPECT_EQ(blockView.GetChildTransforms(), std::vector{child});
    EXPECT_EQ(blockView.GetOutput(), P(L"y"));
    // Blocks and calls may return nothing.
    auto const silentBlock = OpBlockSpec::Create(L"main", {}, {child}, KeyPath::Empty());
    EXPECT_TRUE(silentBlock.GetOutputs().empty());
    EXPECT_TRUE(OpBlockSpec(silentBlock).GetOutput().IsEmpty());

    auto const call = OpCallSpec::Create(L"main", {P(L"a")}, P(L"b"));
    EXPECT_EQ(call.GetOperatorType(), OperatorType::Call);
    EXPECT_TRUE(call.GetChildTransforms().empty());
    EXPECT_EQ(OpCallSpec(call).GetBlockName(), L"main");
    EXPECT_EQ(OpCallSpec(call).GetInputs(), Paths{P(L"a")});
    EXPECT_EQ(OpCallSpec(call).GetOutput(), P(L"b"));
    auto const silentCall = OpCallSpec::Create(L"main", {}, KeyPath::Empty());
    EXPECT_TRUE(OpCallSpec(silentCall).GetOutput().IsEmpty());

    auto const condition = Fn(L"positive");
    auto const when = OpWhenSpec::Create(condition, {child});
    EXPECT_EQ(when.GetOperatorType(), OperatorType::When);
    EXPECT_EQ(OpWhenSpec(when).GetFunctionSpec(), condition);
    EXPECT_EQ(OpWhenSpec(when).GetChildTransforms(), std::vector{child});
    auto const otherWhen = OpWhenSpec::Create(Fn(L"negative"), {});
    auto const otherwise = OpElseSpec::Create({child, child});
    EXPECT_EQ(otherwise.GetOperatorType(), OperatorType::Else);
    EXPECT_EQ(OpElseSpec(otherwise).GetChildTransforms(), (std::vector{child, child}));

    auto const caseSpec = OpCaseSpec::Create({P(L"c")}, {P(L"o1"), P(L"o2")}, {when, otherWhen, otherwise});
    EXPECT_EQ(caseSpec.GetOperatorType(), OperatorType::Case);
    EXPECT_EQ(caseSpec.GetValue(), nullptr);
    OpCaseSpec const caseView(caseSpec);
    EXPECT_EQ(caseView.GetCapturedKeys(), Paths{P(L"c")});
    EXPECT_EQ(caseView.GetOutputs(), (Paths{P(L"o1"), P(L"o2")}));
    EXPECT_EQ(caseView.GetWhenTransforms(), (std::vector{when, otherWhen}));
    EXPECT_EQ(caseView.GetElseTransform(), otherwise);
    EXPECT_EQ(caseView.GetChildTransforms().size(), 3u);
    EXPECT_EQ(&caseView.GetTransformSpec(), &caseSpec);

    // Partition keys are the inputs under the table; the rest are captured.
    for (auto const& [spec, type] :
         {std::pair{OpGroupBySpec::Create(P(L"t"), {P(L"t.k"), P(L"t.j")}, {P(L"c")}, {child}, P(L"out")),
                    OperatorType::GroupBy},
          std::pair{
              OpApplyByPartitionSpec::Create(P(L"t"), {P(L"t.k"), P(L"t.j")}, {P(L"c")}, {child}, P(L"out")),
              OperatorType::ApplyByPartition}}) {
        EXPECT_EQ(spec.GetOperatorType(), type);
        OpPartitionSpec const view(spec);
        EXPECT_EQ(view.GetInputTable(), P(L"t"));
        EXPECT_EQ(view.GetAllInputs(), (Paths{P(L"t"), P(L"t.k"), P(L"t.j"), P(L"c")}));
        EXPECT_EQ(view.GetPartitionKeys(), (Paths{P(L"t.k"), P(L"t.j")}));
        EXPECT_EQ(view.GetCapturedKeys(), Paths{P(L"c")});
        EXPECT_EQ(view.GetChildTransforms(), std::vector{child});
        EXPECT_EQ(view.GetOutput(), P(L"out"));
        EXPECT_EQ(&view.GetTransformSpec(), &spec);
    }
    // No partition keys is a shape the view accepts; the transform refuses it later.
    auto const capturedOnly = OpGroupBySpec::Create(P(L"t"), {}, {P(L"c"), P(L"d")}, {child}, P(L"out"));
    EXPECT_TRUE(OpGroupBySpec(capturedOnly).GetPartitionKeys().empty());
    EXPECT_EQ(OpGroupBySpec(capturedOnly).GetCapturedKeys(), (Paths{P(L"c"), P(L"d")}));
}

TEST(OpSpecCreate, JoinsAndSorts) {
    // The join inputs are the column pairs, then the two tables; the tables are no pair.
    auto const join = OpInnerJoinSpec::Create({{P(L"l.a"), P(L"r.x")}, {P(L"l.b"), P(L"r.y")}}, P(L"out"));
    EXPECT_EQ(join.GetOperatorType(), OperatorType::InnerJoin);
    EXPECT_EQ(join.GetInputs(), (Paths{P(L"l.a"), P(L"r.x"), P(L"l.b"), P(L"r.y"), P(L"l"), P(L"r")}));
    EXPECT_EQ(OpInnerJoinSpec(join).GetEquiJoinColumns(),
              (std::vector<std::pair<KeyPath, KeyPath>>{{P(L"l.a"), P(L"r.x")}, {P(L"l.b"), P(L"r.y")}}));
    EXPECT_EQ(OpInnerJoinSpec(join).GetOutput(), P(L"out"));
    auto const leftJoin = OpLeftOuterJoinSpec::Create(P(L"l.a"), P(L"r.x"), P(L"out"));
    EXPECT_EQ(leftJoin.GetOperatorType(), OperatorType::LeftOuterJoin);
    EXPECT_EQ(leftJoin.GetInputs(), (Paths{P(L"l.a"), P(L"r.x"), P(L"l"), P(L"r")}));
    EXPECT_EQ(OpLeftOuterJoinSpec(leftJoin).GetEquiJoinColumns().size(), 1u);
    EXPECT_EQ(OpInnerJoinSpec::Create(P(L"l.a"), P(L"r.x"), P(L"out")).GetOperatorType(),
              OperatorType::InnerJoin);

    // A table sort appends the table behind the columns it sorts by.
    std::vector const orders{SortSpecOrder::Descending, SortSpecOrder::Ascending};
    auto const tableSort = OpMultiSortSpec::Create({P(L"t.a"), P(L"t.b")}, orders, true, P(L"out"));
    EXPECT_EQ(tableSort.GetOperatorType(), OperatorType::MultiSort);
    EXPECT_EQ(tableSort.GetFunctionSpec()->GetFunctionId(), SortFuncName);
    OpMultiSortSpec const tableView(tableSort);
    EXPECT_TRUE(tableView.GetMakeTable());
    EXPECT_EQ(tableView.GetAllInputs(), (Paths{P(L"t.a"), P(L"t.b"), P(L"t")}));
    EXPECT_EQ(tableView.GetInputsToSort(), (Paths{P(L"t.a"), P(L"t.b")}));
    EXPECT_EQ(tableView.GetInputTable(), P(L"t"));
    EXPECT_EQ(tableView.GetSortOrders(), orders);
    EXPECT_EQ(tableView.GetOutput(), P(L"out"));

    auto const arraySort = OpMultiSortSpec::Create({P(L"a")}, {SortSpecOrder::Descending}, false, P(L"out"));
    OpMultiSortSpec const arrayView(arraySort);
    EXPECT_FALSE(arrayView.GetMakeTable());
    EXPECT_EQ(arrayView.GetInputsToSort(), Paths{P(L"a")});
    EXPECT_EQ(arrayView.GetSortOrders(), std::vector{SortSpecOrder::Descending});
}

TEST(OpSpecViews, FunctionInputTypesAreElementTypes) {
    KeyPathTypeLookup const types;
    KeyPath const doubles(L"d", c_arrayOfDouble);
    KeyPath const strings(L"s", c_setOfString);
    KeyPath const scalar(L"i", KeySegmentType(StoreTypeInfo::Int64));
    auto const fn = Fn();

    EXPECT_EQ(OpMapSpec(OpMapSpec::Create(doubles, fn, P(L"o"))).GetFunctionInputTypes(types),
              std::vector{KeySegmentType(StoreTypeInfo::Double)});
    EXPECT_EQ(OpFilterSpec(OpFilterSpec::Create(strings, false, fn, P(L"o"))).GetFunctionInputTypes(types),
              std::vector{KeySegmentType(StoreTypeInfo::String)});
    // A scalar input is its own element.
    EXPECT_EQ(OpMapSpec(OpMapSpec::Create(scalar, fn, P(L"o"))).GetFunctionInputTypes(types),
              std::vector{KeySegmentType(StoreTypeInfo::Int64)});
    EXPECT_EQ(
        OpZipWithSpec(OpZipWithSpec::Create(strings, doubles, fn, P(L"o"))).GetFunctionInputTypes(types),
        (std::vector{KeySegmentType(StoreTypeInfo::String), KeySegmentType(StoreTypeInfo::Double)}));
    // The accumulator (the initial value's type) comes before the element.
    auto const reduce = OpReduceSpec::Create(doubles, factory::MakeInt64(0), fn, P(L"o"));
    EXPECT_EQ(OpAggregateSpec(reduce).GetFunctionInputTypes(types),
              (std::vector{KeySegmentType(StoreTypeInfo::Int64), KeySegmentType(StoreTypeInfo::Double)}));
    // SetValue types the function's own arguments, keys and constants alike.
    auto const setValue = OpSetValueSpec::Create(
        FunctionSpec::Make(L"f", {ValueSpec(scalar), ValueSpec(factory::MakeBool(true))}), P(L"v"));
    EXPECT_EQ(OpSetValueSpec(setValue).GetFunctionInputTypes(types),
              (std::vector{KeySegmentType(StoreTypeInfo::Int64), KeySegmentType(StoreTypeInfo::Bool)}));
}
