// The four array layouts hold one logical content alike: every read, copy and whole-array
// operation gives the same answer whichever layout the content is in.

#include <gtest/gtest.h>

#include <thread>

#include "ArrayTestSupport.h"
#include "support/CheckFailure.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreTypeDispatcher.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

using namespace zel::core;
using namespace zel::test;

namespace {

using Bits = unsigned long long;

// Every layout of `content` against the flat one: element reads, iteration, block reads and copies
// from every start, equality, hash and the whole-array operations.
template <class T>
void ExpectLayoutsAgree(StoreTypeInfo const& type, Content<T> const& content) {
    auto const cases = AllLayouts(type, content);
    auto const expected = Normalised(content);
    auto const& flat = cases.front().array;
    auto const n = static_cast<unsigned int>(content.values.size());
    bool const anySpecial =
        std::find_if(expected.specials.begin(), expected.specials.end(),
                     [](SpecialKind s) { return s != SpecialKind::None; }) != expected.specials.end();

    for (auto const& [name, array] : cases) {
        SCOPED_TRACE(name);
        auto const& typed = array->template AsTypedArray<T>();
        EXPECT_EQ(array->GetCount(), n);
        EXPECT_EQ(typed.HasSpecialValues(), anySpecial);
        EXPECT_EQ(typed.IsConstant(), name == "constant");
        EXPECT_EQ(array->AsArray().HasIndirectValues(), name != "flat");
        EXPECT_TRUE(ReadByIndex<T>(*array) == expected);
        EXPECT_TRUE(ReadByIterator<T>(*array) == expected);
        if (!anySpecial) {
            std::vector<T> plain;
            for (T const& value : typed.GetValues()) {
                plain.push_back(value);
            }
            EXPECT_EQ(plain, expected.values);
        }

        // Blocks and copies from each start to the end, and of one element.
        for (unsigned int start = 0; start < n; ++start) {
            unsigned int const count = n - start;
            std::vector<T> scratch;
            ArrayView<T> const block = typed.GetValuesBlock(scratch, start, count);
            std::vector<SpecialKind> specialScratch;
            ArrayView<SpecialKind> const specialBlock = typed.GetSpecialsBlock(specialScratch, start, count);
            std::vector<T> copied(count);
            typed.CopyValues(ArrayView<T>(copied), start, count);
            std::vector<SpecialKind> copiedSpecials(count, SpecialKind{7});
            array->AsArray().CopySpecials(ArrayView<SpecialKind>(copiedSpecials), start, count);
            for (unsigned int k = 0; k < count; ++k) {
                ASSERT_EQ(specialBlock.data()[k], expected.specials[start + k]) << start << "+" << k;
                ASSERT_EQ(copiedSpecials[k], expected.specials[start + k]) << start << "+" << k;
                if (expected.specials[start + k] == SpecialKind::None) {
                    ASSERT_EQ(block.data()[k], expected.values[start + k]) << start << "+" << k;
                    ASSERT_EQ(copied[k], expected.values[start + k]) << start << "+" << k;
                }
            }
        }

        EXPECT_TRUE(array->Equals(*flat));
        EXPECT_TRUE(flat->Equals(*array));
        EXPECT_EQ(array->Hash(), flat->Hash());
        EXPECT_EQ(array->Compare(*flat), 0);
        EXPECT_TRUE(array->Clone()->Equals(*array));

        auto const flattened = array->AsArray().Flatten();
        EXPECT_FALSE(flattened->AsArray().HasIndirectValues());
        EXPECT_TRUE(ReadByIndex<T>(*flattened) == expected);

        auto everyOtherBackwards = std::make_shared<std::vector<unsigned int>>();
        for (unsigned int i = n; i-- > 0;) {
            if (i % 2 == 0) {
                everyOtherBackwards->push_back(i);
                everyOtherBackwards->push_back(i);
            }
        }
        auto const gathered = array->AsArray().Gather(everyOtherBackwards);
        EXPECT_TRUE(gathered->Equals(*flat->AsArray().Gather(everyOtherBackwards)));

        EXPECT_TRUE(array->AsArray().MakeDistinct(true)->Equals(*flat->AsArray().MakeDistinct(true)));
        EXPECT_TRUE(array->AsArray().MakeDistinct(false)->Equals(*flat->AsArray().MakeDistinct(false)));
        for (unsigned int i = 0; i + 1 < n; ++i) {
            EXPECT_EQ(array->AsArray().AreElementsEqual(i, i + 1),
                      flat->AsArray().AreElementsEqual(i, i + 1));
        }
    }
}

TEST(ArrayLayouts, EveryKindOfContentReadsAlikeInEveryLayout) {
    Content<unsigned int> plain{{5, 5, 5, 7, 7, 1, 5, 0xFFFFFFFFu}, {}};
    ExpectLayoutsAgree(StoreTypeInfo::Int32, plain);

    Content<unsigned int> withSpecials{
        {5, 5, 0, 0, 7, 0, 9},
        {SpecialKind::None, SpecialKind::None, SpecialKind::Null, SpecialKind::Null, SpecialKind::None,
         SpecialKind::Error, SpecialKind::None}};
    ExpectLayoutsAgree(StoreTypeInfo::Int32, withSpecials);

    // Kinds beyond the named ones pass through unchanged.
    Content<unsigned char> oddKinds{{1, 0, 0}, {SpecialKind::None, SpecialKind{200}, SpecialKind{200}}};
    ExpectLayoutsAgree(StoreTypeInfo::Bool, oddKinds);

    // Constant content, which also takes the constant layout.
    ExpectLayoutsAgree(StoreTypeInfo::Int64, Content<Bits>{{42, 42, 42, 42}, {}});
    ExpectLayoutsAgree(
        StoreTypeInfo::Double,
        Content<Bits>{{0, 0, 0}, {SpecialKind::Error, SpecialKind::Error, SpecialKind::Error}});
    ExpectLayoutsAgree(StoreTypeInfo::Int64, Content<Bits>{{9}, {}});

    Content<RIndirectString> strings{{L"b", L"b", L"a", L"", L"a", L"c"},
                                     {SpecialKind::None, SpecialKind::None, SpecialKind::None,
                                      SpecialKind::Null, SpecialKind::None, SpecialKind::None}};
    ExpectLayoutsAgree(StoreTypeInfo::String, strings);

    auto one = factory::MakeInt32(1);
    auto two = factory::MakeInt32(2);
    Content<std::shared_ptr<StoreValue>> objects{{one, one, two, nullptr, two}, {}};
    ExpectLayoutsAgree(StoreTypeInfo::Object, objects);
}

TEST(ArrayLayouts, EmptyArrays) {
    ExpectLayoutsAgree(StoreTypeInfo::Int32, Content<unsigned int>{});
    auto const empty = factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 7u, 0u);
    EXPECT_EQ(empty->GetCount(), 0u);
    EXPECT_TRUE(empty->Equals(*factory::MakeArray<unsigned int>(
        StoreTypeInfo::Int32, std::make_unique<std::vector<unsigned int>>())));
}

TEST(ArrayIterators, ReadingAConstantAtItsEndIsAnIteratorViolation) {
    CheckSite const site{"code/core/public/zel/core/store/ArrayIterators.h"};
    auto const empty = factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 7u, 0u);
    auto const none = empty->AsTypedArray<unsigned int>().GetValues();
    EXPECT_TRUE(none.begin() == none.end());
    auto const noPairs = empty->AsTypedArray<unsigned int>().GetValuesAndSpecials();
    EXPECT_TRUE(noPairs.begin() == noPairs.end());
    ExpectCheckFailure([&] { (void)*none.begin(); }, ZelError::IteratorViolation, "(m_pos < m_size)", site);

    auto const array = factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 7u, 2u);
    auto const values = array->AsTypedArray<unsigned int>().GetValues();
    auto it = values.begin();
    EXPECT_EQ(*it, 7u);
    EXPECT_EQ(*++it, 7u);
    ++it;
    EXPECT_TRUE(it == values.end());
    ExpectCheckFailure([&] { (void)*it; }, ZelError::IteratorViolation, "(m_pos < m_size)");

    auto const specials =
        factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 0u, SpecialKind::Null);
    auto const both = specials->AsTypedArray<unsigned int>().GetValuesAndSpecials();
    ExpectCheckFailure([&] { (void)*both.begin(); }, ZelError::IteratorViolation, "(m_pos < m_size)");
}

TEST(ArrayIterators, RunLengthIteratorsReachTheLastRunAndSkipEmptyRuns) {
    // Runs of 2, 3 and 1 read through indices: element 5 is the last run's only element.
    auto const array = factory::MakeRunLengthArray<unsigned int>(
        StoreTypeInfo::Int32,
        Vec<RunLengthEntry<unsigned int>>(
            {{10, SpecialKind::None, 2}, {20, SpecialKind::None, 3}, {0, SpecialKind::Null, 1}}),
        Vec<unsigned int>({5, 4, 1, 2, 5}));
    EXPECT_TRUE(ReadByIterator<unsigned int>(*array) ==
                (Content<unsigned int>{{0, 20, 10, 20, 0},
                                       {SpecialKind::Null, SpecialKind::None, SpecialKind::None,
                                        SpecialKind::None, SpecialKind::Null}}));
    EXPECT_EQ(array->AsTypedArray<unsigned int>().GetSpecial(4), SpecialKind::Null);

    auto const withEmptyRun = factory::MakeRunLengthArray<unsigned char>(
        StoreTypeInfo::Bool,
        Vec<RunLengthEntry<unsigned char>>(
            {{1, SpecialKind::None, 3}, {0, SpecialKind::None, 0}, {0, SpecialKind::None, 2}}));
    std::vector<unsigned char> read;
    for (unsigned char value : withEmptyRun->AsTypedArray<unsigned char>().GetValues()) {
        read.push_back(value);
    }
    EXPECT_EQ(read, (std::vector<unsigned char>{1, 1, 1, 0, 0}));
}

TEST(ArrayIterators, OneRangeIteratedByTwoThreads) {
    auto values = std::make_unique<std::vector<Bits>>(10000);
    for (std::size_t i = 0; i < values->size(); ++i) {
        (*values)[i] = i;
    }
    auto const array = factory::MakeArray<Bits>(StoreTypeInfo::Int64, std::move(values));
    auto const range = array->AsTypedArray<Bits>().GetValues();
    Bits sums[2] = {0, 0};
    std::thread first([&] {
        for (Bits v : range)
            sums[0] += v;
    });
    std::thread second([&] {
        for (Bits v : range)
            sums[1] += v;
    });
    first.join();
    second.join();
    EXPECT_EQ(sums[0], 9999ull * 10000 / 2);
    EXPECT_EQ(sums[1], sums[0]);
}

TEST(ArrayValues, FloatColumnsHoldTheBitsOfTheirFloats) {
    std::vector<float> const floats{1.5f, -0.0f, 3.25e-5f};
    auto const array = factory::MakeArray<unsigned int>(
        StoreTypeInfo::Float, Vec({FloatToBits(floats[0]), FloatToBits(floats[1]), FloatToBits(floats[2])}));
    auto const view = array->AsTypedArray<unsigned int>().GetFlatValues();
    EXPECT_EQ(view[0], 0x3FC00000u);
    EXPECT_EQ(view[1], 0x80000000u);
    EXPECT_EQ(BitsToFloat(view[2]), 3.25e-5f);
    EXPECT_EQ(FetchStoreValue<float>(array->AsArray().GetStoreValue(0)), 1.5f);

    // -0.0 and 0.0 are two elements: float columns compare their bits.
    auto const doubles =
        factory::MakeArray<Bits>(StoreTypeInfo::Double, Vec({DoubleToBits(0.0), DoubleToBits(-0.0)}));
    EXPECT_FALSE(doubles->AsArray().AreElementsEqual(0, 1));
    EXPECT_EQ(doubles->AsArray().MakeDistinct(true)->GetCount(), 2u);
}

TEST(ArrayValues, FlatBlocksAreTheArraysOwnMemory) {
    auto values = Vec<unsigned int>({1, 2, 3, 4});
    unsigned int const* memory = values->data();
    auto const array = factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, std::move(values));
    auto const& typed = array->AsTypedArray<unsigned int>();
    EXPECT_EQ(typed.GetFlatValues().data(), memory);
    std::vector<unsigned int> scratch;
    EXPECT_EQ(typed.GetValuesBlock(scratch, 1, 2).data(), memory + 1);
    EXPECT_TRUE(scratch.empty());
    EXPECT_TRUE(typed.GetFlatSpecials().empty());
    // The flat form of a flat array shares its memory.
    EXPECT_EQ(array->AsArray().Flatten()->AsTypedArray<unsigned int>().GetFlatValues().data(), memory);
}

TEST(ArrayValues, ChecksOfElementAccessAndLayout) {
    auto const array = factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({1, 2, 3}));
    auto const& typed = array->AsTypedArray<unsigned int>();
    ExpectCheckFailure([&] { typed.GetValue(3); }, ZelError::RangeViolation, "(index < m_count)");
    ExpectCheckFailure([&] { typed.GetSpecial(3); }, ZelError::RangeViolation, "(index < m_count)");
    std::vector<unsigned int> scratch;
    ExpectCheckFailure([&] { typed.GetValuesBlock(scratch, 2, 2); }, ZelError::RangeViolation,
                       "(end <= m_count)");
    std::vector<unsigned int> small(1);
    ExpectCheckFailure([&] { typed.CopyValues(ArrayView<unsigned int>(small), 0, 2); },
                       ZelError::RangeViolation, "(count <= destination.size())");
    ExpectRefusal([&] { array->AsTypedArray<Bits>(); }, "ITypedArray<unsigned long long>");

    auto const constant = factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 1u, 3u);
    ExpectCheckFailure<ZelLogicException>([&] { constant->AsTypedArray<unsigned int>().GetFlatValues(); },
                                          ZelError::UnsupportedOperation, "(m_layout == ArrayLayout::Flat)");
}

TEST(StorageTypes, DispatcherSelectsTheStorageOfEachType) {
    auto sizeOf = [](StoreType type) {
        return StoreTypeDispatcher(
            type, []<class T>(StorageTag<T>) { return sizeof(T); }, PrimitiveErrorFunction);
    };
    EXPECT_EQ(sizeOf(StoreType::Bool), 1u);
    EXPECT_EQ(sizeOf(StoreType::Color), 4u);
    EXPECT_EQ(sizeOf(StoreType::DateTime), 8u);
    EXPECT_EQ(sizeOf(StoreType::Object), sizeof(std::shared_ptr<StoreValue>));

    for (StoreType t : {StoreType::Tuple, StoreType::Array, StoreType::KeyMap, StoreType::Empty}) {
        ExpectRuntimeError([&] { sizeOf(t); }, ZelError::UnsupportedTypes, std::string(StoreTypeName(t)));
    }
}

TEST(StorageTypes, DispatcherFailsWhenTheErrorFunctionReturns) {
    auto maker = []<class T>(StorageTag<T>) { return 0; };
    StoreType seen = StoreType::Bool;
    ExpectCheckFailure([&] { StoreTypeDispatcher(StoreType::Tuple, maker, [&](StoreType t) { seen = t; }); },
                       ZelError::UnsupportedOperation, "");
    EXPECT_EQ(seen, StoreType::Tuple);
    EXPECT_THROW(StoreTypeDispatcher(StoreType::Set, maker, {}), std::bad_function_call);
}

}  // namespace
