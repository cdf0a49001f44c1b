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

// A function-calling operator over the given input types with a result of `output`.
std::unique_ptr<IExecutionStrategy> Strategy(OperatorType type, std::vector<KeySegmentType> const& inputs,
                                             KeySegmentType const& output, VMOptions const& options = {}) {
    return MakeExecutionStrategy(options, type, inputs, output);
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
    for (auto const& original : {Strategy(OperatorType::Map, {table}, StoreTypeInfo::Int64, options),
                                 Strategy(OperatorType::Map, {table}, StoreTypeInfo::String, options)}) {
        auto const clone = original->Clone();
        for (unsigned int const rows : {99999u, 100000u, 500000u}) {
            EXPECT_EQ(Fields(original->GetExecutionParameters(true, 2, rows)),
                      Fields(clone->GetExecutionParameters(true, 2, rows)));
        }
    }
}

TEST(ExecutionStrategy, FlatOperatorsGoParallelAtTheirThresholds) {
    KeySegmentType const array(StoreTypeInfo::Array, StoreTypeInfo::Double);
    KeySegmentType const flat(StoreTypeInfo::Double);
    for (OperatorType const type : {OperatorType::Map, OperatorType::Filter, OperatorType::ZipWith}) {
        SCOPED_TRACE(static_cast<int>(type));
        // Any collection input, among others, lowers the threshold.
        auto const withCollection = Strategy(type, {flat, array}, StoreTypeInfo::Double);
        EXPECT_FALSE(Parallel(*withCollection, 99999));
        EXPECT_TRUE(Parallel(*withCollection, 100000));
        // Without function types the operator has no collection input.
        for (auto const& plain : {Strategy(type, {flat, StoreTypeInfo::Int32}, StoreTypeInfo::Double),
                                  MakeExecutionStrategy(VMOptions(), type)}) {
            EXPECT_FALSE(Parallel(*plain, 499999));
            EXPECT_TRUE(Parallel(*plain, 500000));
        }
        // A string result never goes parallel, whatever its collation or the size.
        EXPECT_FALSE(Parallel(*Strategy(type, {array}, StoreTypeInfo::String), c_maxRows));
        StoreTypeInfo const caseless(zel::core::StoreType::String, false,
                                     zel::core::Collation::Named(L"nocase"));
        EXPECT_FALSE(Parallel(*Strategy(type, {array}, KeySegmentType(caseless)), c_maxRows));
    }
}

TEST(ExecutionStrategy, ZipPartitionsAndOtherOperators) {
    auto const zip = Strategy(OperatorType::Zip, {StoreTypeInfo::String}, StoreTypeInfo::String);
    EXPECT_FALSE(Parallel(*zip, 99999));
    EXPECT_TRUE(Parallel(*zip, 100000));  // whatever the types
    EXPECT_TRUE(Parallel(*MakeExecutionStrategy(VMOptions(), OperatorType::Zip), 100000));

    for (OperatorType const type : {OperatorType::ApplyByPartition, OperatorType::GroupBy}) {
        EXPECT_TRUE(Parallel(*MakeExecutionStrategy(VMOptions(), type), 0));
    }
    KeySegmentType const array(StoreTypeInfo::Array, StoreTypeInfo::Int32);
    for (OperatorType const type : {OperatorType::Reduce, OperatorType::Scan, OperatorType::Copy,
                                    OperatorType::Slice, OperatorType::InternalCreateKeyMap}) {
        SCOPED_TRACE(static_cast<int>(type));
        EXPECT_FALSE(Parallel(*Strategy(type, {array}, StoreTypeInfo::Int32), c_maxRows));
    }
}

TEST(ExecutionStrategy, TheCallerAndTheOptionsCanForbidParallelWork) {
    KeySegmentType const array(StoreTypeInfo::Array, StoreTypeInfo::Double);
    VMOptions serial;
    serial.SetUseParallelTransforms(false);
    for (OperatorType const type : {OperatorType::Map, OperatorType::Zip, OperatorType::GroupBy}) {
        auto const strategy = Strategy(type, {array}, StoreTypeInfo::Double);
        ASSERT_TRUE(Parallel(*strategy, c_maxRows));
        EXPECT_FALSE(Parallel(*strategy, c_maxRows, false));
        EXPECT_FALSE(Parallel(*Strategy(type, {array}, StoreTypeInfo::Double, serial), c_maxRows));
    }
}
