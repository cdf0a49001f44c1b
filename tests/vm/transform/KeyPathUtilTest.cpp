#include <gtest/gtest.h>

#include "support/CheckFailure.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/vm/utility/KeyPathUtil.h"

namespace zel::vm {
namespace {

using core::KeyPath;
using core::ZelError;
using test::ExpectCheckFailure;
namespace KPU = KeyPathUtil;

TEST(KeyPathUtil, InitialIsOneKeyMapSegmentBuiltOnce) {
    KeyPath const& initial = KPU::Initial();
    ASSERT_EQ(initial.GetCount(), 1u);
    EXPECT_EQ(initial.GetLeaf(), L"~init");
    EXPECT_EQ(initial.GetLeafSegmentType().GetMainType().GetStoreType(), core::StoreType::KeyMap);
    EXPECT_EQ(&KPU::Initial(), &initial);
}

TEST(KeyPathUtil, AddAndDropInitialAreInverse) {
    KeyPath const path = KeyPath::FromTexts({L"a", L"b"});
    KeyPath const added = KPU::AddInitial(path);

    EXPECT_TRUE(added.TypeAgnosticEquals(KeyPath::FromTexts({L"~init", L"a", L"b"})));
    EXPECT_TRUE(KPU::Initial().IsPrefixOf(added));
    EXPECT_EQ(KPU::DropInitial(added), path);
    // The empty path becomes "~init" alone; a long path keeps every segment.
    EXPECT_TRUE(KPU::AddInitial(KeyPath::Empty()).TypeAgnosticEquals(KPU::Initial()));
    KeyPath const deep = KeyPath::FromTexts({L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8", L"9"});
    EXPECT_EQ(KPU::DropInitial(KPU::AddInitial(deep)), deep);
}

TEST(KeyPathUtil, MisuseOfTheInitialPrefixFails) {
    KeyPath const added = KPU::AddInitial(KeyPath(L"a"));
    ExpectCheckFailure([&] { KPU::AddInitial(added); }, ZelError::AlreadyInitialPath,
                       "(keySegments[0]->GetSegment() != c_InitialSegment)");
    // The size test comes first, so the bare prefix fails with 364 rather than 363.
    ExpectCheckFailure([] { KPU::DropInitial(KPU::Initial()); }, ZelError::InitialPathTooShort,
                       "(keySegments.size() > 1)");
    ExpectCheckFailure([] { KPU::DropInitial(KeyPath::FromTexts({L"x", L"a"})); }, ZelError::NotInitialPath,
                       "(keySegments[0]->GetSegment() == c_InitialSegment)");
}

TEST(KeyPathUtil, LocalSubpathStartsAfterTheFirstMarker) {
    EXPECT_EQ(KPU::GetLocalSubpath(KeyPath::FromTexts({L"a", L"~x", L"b", L"~y", L"c"})),
              KeyPath::FromTexts({L"b", L"~y", L"c"}));
    EXPECT_TRUE(KPU::GetLocalSubpath(KeyPath::FromTexts({L"a", L"~x"})).IsEmpty());
    EXPECT_EQ(KPU::GetLocalSubpath(KeyPath::FromTexts({L"a", L"b"})), KeyPath::FromTexts({L"a", L"b"}));
    EXPECT_TRUE(KPU::GetLocalSubpath(KeyPath::Empty()).IsEmpty());
}

TEST(KeyPathUtil, LocalsPathPutsAMarkerBeforeTheName) {
    KeyPath const locals = KPU::MakeLocalsPath(L"part");
    ASSERT_EQ(locals.GetCount(), 1u);
    EXPECT_EQ(locals.GetLeaf(), L"~part");
    EXPECT_EQ(locals.GetLeafSegmentType().GetMainType().GetStoreType(), core::StoreType::KeyMap);
    EXPECT_EQ(KPU::MakeLocalsPath(L"").GetLeaf(), L"~");
}

}  // namespace
}  // namespace zel::vm
