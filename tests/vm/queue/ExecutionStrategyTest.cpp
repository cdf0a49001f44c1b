#include <gtest/gtest.h>

#include <limits>
#include <tuple>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/StoreTypeInfo.h"

using namespace zel::vm;
using zel::core::KeySegmentType;
using zel::core::StoreTypeInfo;

namespace {

constexpr unsigned int c_maxRows = std::numeric_limits<unsigned int>::max();

bool Parallel(IExecutionStrategy const& strategy, unsigned int rowCount, bool canRunInParallel = true) {
    return strategy.GetExecutionParameters(canRunInParallel, 8, rowCount).runInParallel;
}

auto Fields(ExecutionParameters const& p) {
    return std::tuple(p.useVectorized, p.blockSize, p.runInParallel, p.maxWorkerThreads);
}

}  // namespace

TEST(ExecutionStrategy, BlockSizeCoversEightBytesPerBaseRowAndNoMoreThanTheRows) {
    EXPECT_EQ(ComputeBlockSize(1, 100, 1024), 100u);
    EXPECT_EQ(ComputeBlockSize(4, 5000, 1024), 2048u);
    EXPECT_EQ(ComputeBlockSize(16, 5000, 1024), 1024u);  // wider elements never shrink the block
    EXPECT_EQ(ComputeBlockSize(3, 5000, 1024), 2730u);   // truncated, not rounded
    // No rows, or a base of zero, still give a block of one row.
    EXPECT_EQ(ComputeBlockSize(1, 0, 1024), 1u);
    EXPECT_EQ(ComputeBlockSize(8, 5000, 0), 1u);
    // An element size of zero or a base too large for 32 bits after scaling leave the rows as the bound.
    EXPECT_EQ(ComputeBlockSize(0, 5000, 1024), 5000u);
    EXPECT_EQ(ComputeBlockSize(1, c_maxRows, c_maxRows), c_maxRows);
}

TEST(ExecutionStrategy, ParametersFollowTheOptionsAndSurviveACopy) {
    auto const defaults = MakeExecutionStrategy(VMOptions(), OperatorType::Copy);
    EXPECT_EQ(Fields(defaults->GetExecutionParameters(true, 4, 1000000)), std::tuple(true, 2048u, false, 4u));

    VMOptions options;
    options.SetUseVectorizedTransforms(false);
    options.SetBaseVectorizationBlockSize(100);
    options.SetMaxWorkerThreadsToUse(7);
    auto const copy = MakeExecutionStrategy(options, OperatorType::Copy);
    EXPECT_EQ(Fields(copy->GetExecutionParameters(true, 4, 1000)), std::tuple(false, 200u, false, 7u));

    // A clone keeps the options and what the strategy noted of its types.
    KeySegmentType const table(StoreTypeInfo::Table);
    for (auto const& original :
         {MakeExecutionStrategy(options, OperatorType::Map, {table}, StoreTypeInfo::Int64),
          MakeExecutionStrategy(options, OperatorType::Map, {table}, StoreTypeInfo::String)}) {
        auto const clone = original->Clone();
        for (unsigned int const rows : {99999u, 100000u, 500000u}) {
            EXPECT_EQ(Fields(original->GetExecutionParameters(true, 2, rows)),
                      Fields(clone->GetExecutionParameters(true, 2, rows)));
        }
    }
}

// The row count from which each operator goes parallel, unless the caller or the options forbid it.
TEST(ExecutionStrategy, OperatorsGoParallelFromTheirThresholds) {
    constexpr unsigned int c_never = c_maxRows;
    KeySegmentType const array(StoreTypeInfo::Array, StoreTypeInfo::Double);
    KeySegmentType const flat(StoreTypeInfo::Double);
    StoreTypeInfo const caseless(zel::core::StoreType::String, false, zel::core::Collation::Named(L"nocase"));
    struct Case {
        OperatorType type;
        std::vector<KeySegmentType> inputs;  // none: an operator that calls no function
        KeySegmentType output;
        unsigned int from;
    };
    std::vector<Case> cases;
    for (OperatorType const type : {OperatorType::Map, OperatorType::Filter, OperatorType::ZipWith}) {
        cases.push_back({type, {flat, array}, flat, 100000});  // any collection input lowers the threshold
        cases.push_back({type, {flat, StoreTypeInfo::Int32}, flat, 500000});
        cases.push_back({type, {}, flat, 500000});
        // A string result goes parallel only from a Map, whatever its collation.
        unsigned int const strings = type == OperatorType::Map ? 100000 : c_never;
        cases.push_back({type, {array}, StoreTypeInfo::String, strings});
        cases.push_back({type, {array}, KeySegmentType(caseless), strings});
    }
    cases.push_back({OperatorType::Zip, {StoreTypeInfo::String}, StoreTypeInfo::String, 100000});
    cases.push_back({OperatorType::Zip, {}, flat, 100000});
    for (OperatorType const type : {OperatorType::ApplyByPartition, OperatorType::GroupBy}) {
        cases.push_back({type, {}, flat, 0});
    }
    for (OperatorType const type : {OperatorType::Reduce, OperatorType::Scan, OperatorType::Copy,
                                    OperatorType::Slice, OperatorType::InternalCreateKeyMap}) {
        cases.push_back({type, {array}, flat, c_never});
    }
    VMOptions serial;
    serial.SetUseParallelTransforms(false);
    for (Case const& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << static_cast<int>(c.type) << " with " << c.inputs.size() << " inputs");
        auto const make = [&](VMOptions const& options) {
            return c.inputs.empty() ? MakeExecutionStrategy(options, c.type)
                                    : MakeExecutionStrategy(options, c.type, c.inputs, c.output);
        };
        auto const strategy = make(VMOptions());
        if (c.from == c_never) {
            EXPECT_FALSE(Parallel(*strategy, c_maxRows));
            continue;
        }
        EXPECT_TRUE(c.from == 0 || !Parallel(*strategy, c.from - 1));
        EXPECT_TRUE(Parallel(*strategy, c.from));
        EXPECT_FALSE(Parallel(*strategy, c_maxRows, false));
        EXPECT_FALSE(Parallel(*make(serial), c_maxRows));
    }
}
