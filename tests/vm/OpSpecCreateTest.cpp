// The Create functions that do more than fill the TransformSpec's fields in order: the ones that add
// inputs, split them between roles, or turn arguments into a function or a value, read back
// through their views.

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
#include "zel/vm/vtl/OpConstantSpec.h"
#include "zel/vm/vtl/OpCopySpec.h"
#include "zel/vm/vtl/OpElseSpec.h"
#include "zel/vm/vtl/OpFilterSpec.h"
#include "zel/vm/vtl/OpGroupBySpec.h"
#include "zel/vm/vtl/OpInnerJoinSpec.h"
#include "zel/vm/vtl/OpInputSpec.h"
#include "zel/vm/vtl/OpLeftOuterJoinSpec.h"
#include "zel/vm/vtl/OpMapSpec.h"
#include "zel/vm/vtl/OpMultiSortSpec.h"
#include "zel/vm/vtl/OpOutputSpec.h"
#include "zel/vm/vtl/OpReduceSpec.h"
#include "zel/vm/vtl/OpScanRightSpec.h"
#include "zel/vm/vtl/OpScanSpec.h"
#include "zel/vm/vtl/OpSetValueSpec.h"
#include "zel/vm/vtl/OpWhenSpec.h"
#include "zel/vm/vtl/OpZipWithSpec.h"

using namespace zel::core;
using namespace zel::vm;
using zel::test::Fn;
using zel::test::P;

using Paths = std::vector<KeyPath>;

TEST(OpSpecCreate, ColumnAndFunctionOperators) {
    auto const fn = Fn();

    // A filter of a table column carries the table as its second input.
    auto const tableFilter = OpFilterSpec::Create(P(L"t.a"), true, fn, P(L"out"));
    EXPECT_EQ(tableFilter.GetInputs(), (Paths{P(L"t.a"), P(L"t")}));
    EXPECT_TRUE(OpFilterSpec(tableFilter).GetMakeTable());
    auto const columnFilter = OpFilterSpec::Create(P(L"a"), false, fn, P(L"out"));
    EXPECT_EQ(columnFilter.GetInputs(), Paths{P(L"a")});
    EXPECT_FALSE(OpFilterSpec(columnFilter).GetMakeTable());

    // A constant is stored with one input, or read from a key given as the second.
    auto const seven = factory::MakeInt32(7);
    auto const storedSpec = OpConstantSpec::Create(P(L"arr"), seven, P(L"out"));
    EXPECT_TRUE(OpConstantSpec(storedSpec).GetIsConstant());
    EXPECT_EQ(OpConstantSpec(storedSpec).GetConstant(), seven);
    auto const keyedSpec = OpConstantSpec::Create(P(L"arr"), P(L"key"), P(L"out"));
    EXPECT_FALSE(OpConstantSpec(keyedSpec).GetIsConstant());
    EXPECT_EQ(OpConstantSpec(keyedSpec).GetInputKey(), P(L"key"));

    // Input, Output and SetValue read no key: their input is the empty path.
    EXPECT_EQ(OpInputSpec::Create(fn, P(L"a")).GetInputs(), Paths{KeyPath::Empty()});
    auto const output = OpOutputSpec::Create(fn);
    EXPECT_EQ(output.GetInputs(), Paths{KeyPath::Empty()});
    EXPECT_EQ(output.GetOutputs(), Paths{KeyPath::Empty()});
    auto const setValue = OpSetValueSpec::Create(L"abs", P(L"x"), P(L"v"));
    EXPECT_EQ(setValue.GetInputs(), Paths{KeyPath::Empty()});
    EXPECT_EQ(*OpSetValueSpec(setValue).GetFunctionSpec(), *FunctionSpec::Make(L"abs", P(L"x")));

    // Reduce, Scan and ScanRight differ only in the operator they write.
    auto const initial = factory::MakeDouble(0.5);
    for (auto const& [spec, type] :
         {std::pair{OpReduceSpec::Create(P(L"a"), initial, fn, P(L"b")), OperatorType::Reduce},
          std::pair{OpScanSpec::Create(P(L"a"), initial, fn, P(L"b")), OperatorType::Scan},
          std::pair{OpScanRightSpec::Create(P(L"a"), initial, fn, P(L"b")), OperatorType::ScanRight}}) {
        EXPECT_EQ(spec.GetOperatorType(), type);
        EXPECT_EQ(OpAggregateSpec(spec).GetInitial(), initial);
    }
}

TEST(OpSpecCreate, ControlOperators) {
    auto const child = OpCopySpec::Create(P(L"x"), P(L"y"));

    // Blocks and calls may return nothing.
    auto const silentBlock = OpBlockSpec::Create(L"main", {}, {child}, KeyPath::Empty());
    EXPECT_TRUE(silentBlock.GetOutputs().empty());
    EXPECT_TRUE(OpBlockSpec(silentBlock).GetOutput().IsEmpty());
    auto const silentCall = OpCallSpec::Create(L"main", {}, KeyPath::Empty());
    EXPECT_TRUE(OpCallSpec(silentCall).GetOutput().IsEmpty());

    // The branches of a case split into the whens, in order, and the else.
    auto const when = OpWhenSpec::Create(Fn(L"positive"), {child});
    auto const otherWhen = OpWhenSpec::Create(Fn(L"negative"), {});
    auto const otherwise = OpElseSpec::Create({child, child});
    auto const caseSpec = OpCaseSpec::Create({P(L"c")}, {P(L"o1"), P(L"o2")}, {when, otherWhen, otherwise});
    OpCaseSpec const caseView(caseSpec);
    EXPECT_EQ(caseView.GetWhenTransforms(), (std::vector{when, otherWhen}));
    EXPECT_EQ(caseView.GetElseTransform(), otherwise);

    // Partition keys are the inputs under the table; the rest are captured.
    for (auto const& [spec, type] :
         {std::pair{OpGroupBySpec::Create(P(L"t"), {P(L"t.k"), P(L"t.j")}, {P(L"c")}, {child}, P(L"out")),
                    OperatorType::GroupBy},
          std::pair{
              OpApplyByPartitionSpec::Create(P(L"t"), {P(L"t.k"), P(L"t.j")}, {P(L"c")}, {child}, P(L"out")),
              OperatorType::ApplyByPartition}}) {
        EXPECT_EQ(spec.GetOperatorType(), type);
        OpPartitionSpec const view(spec);
        EXPECT_EQ(view.GetAllInputs(), (Paths{P(L"t"), P(L"t.k"), P(L"t.j"), P(L"c")}));
        EXPECT_EQ(view.GetPartitionKeys(), (Paths{P(L"t.k"), P(L"t.j")}));
        EXPECT_EQ(view.GetCapturedKeys(), Paths{P(L"c")});
    }
}

TEST(OpSpecCreate, JoinsAndSorts) {
    // The join inputs are the column pairs, then the two tables; the tables are no pair.
    auto const join = OpInnerJoinSpec::Create({{P(L"l.a"), P(L"r.x")}, {P(L"l.b"), P(L"r.y")}}, P(L"out"));
    EXPECT_EQ(join.GetInputs(), (Paths{P(L"l.a"), P(L"r.x"), P(L"l.b"), P(L"r.y"), P(L"l"), P(L"r")}));
    EXPECT_EQ(OpInnerJoinSpec(join).GetEquiJoinColumns(),
              (std::vector<std::pair<KeyPath, KeyPath>>{{P(L"l.a"), P(L"r.x")}, {P(L"l.b"), P(L"r.y")}}));
    EXPECT_EQ(OpLeftOuterJoinSpec::Create(P(L"l.a"), P(L"r.x"), P(L"out")).GetInputs(),
              (Paths{P(L"l.a"), P(L"r.x"), P(L"l"), P(L"r")}));

    // A table sort appends the table behind the columns it sorts by.
    std::vector const orders{SortSpecOrder::Descending, SortSpecOrder::Ascending};
    auto const tableSort = OpMultiSortSpec::Create({P(L"t.a"), P(L"t.b")}, orders, true, P(L"out"));
    OpMultiSortSpec const tableView(tableSort);
    EXPECT_EQ(tableView.GetAllInputs(), (Paths{P(L"t.a"), P(L"t.b"), P(L"t")}));
    EXPECT_EQ(tableView.GetInputTable(), P(L"t"));
    EXPECT_EQ(tableView.GetSortOrders(), orders);
}

TEST(OpSpecViews, FunctionInputTypesAreElementTypes) {
    KeyPathTypeLookup const types;
    KeyPath const doubles(L"d", KeySegmentType(StoreTypeInfo::Array, StoreTypeInfo::Double));
    KeyPath const strings(L"s", KeySegmentType(StoreTypeInfo::Set, StoreTypeInfo::String));
    KeyPath const scalar(L"i", KeySegmentType(StoreTypeInfo::Int64));
    auto const fn = Fn();
    // Views keep a reference to their spec, so each spec gets a name that outlives its view.
    auto const inputTypes = [&]<class View>(std::type_identity<View>, TransformSpec const& spec) {
        return View(spec).GetFunctionInputTypes(types);
    };

    EXPECT_EQ(inputTypes(std::type_identity<OpMapSpec>(), OpMapSpec::Create(doubles, fn, P(L"o"))),
              std::vector{KeySegmentType(StoreTypeInfo::Double)});
    // A scalar input is its own element.
    EXPECT_EQ(inputTypes(std::type_identity<OpMapSpec>(), OpMapSpec::Create(scalar, fn, P(L"o"))),
              std::vector{KeySegmentType(StoreTypeInfo::Int64)});
    EXPECT_EQ(
        inputTypes(std::type_identity<OpZipWithSpec>(), OpZipWithSpec::Create(strings, doubles, fn, P(L"o"))),
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
