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

TEST(KeyPathUtil, InitialAndLocalsPathsAreOneKeyMapSegment) {
    KeyPath const& initial = KPU::Initial();
    EXPECT_EQ(&KPU::Initial(), &initial) << "built once";
    for (auto const& [path, leaf] :
         {std::pair(initial, L"~init"), std::pair(KPU::MakeLocalsPath(L"part"), L"~part"),
          std::pair(KPU::MakeLocalsPath(L""), L"~")}) {
        ASSERT_EQ(path.GetCount(), 1u);
        EXPECT_EQ(path.GetLeaf(), leaf);
        EXPECT_EQ(path.GetLeafSegmentType().GetMainType().GetStoreType(), core::StoreType::KeyMap);
    }
}

TEST(KeyPathUtil, AddAndDropInitialAreInverse) {
    KeyPath const path = KeyPath::FromTexts({L"a", L"b"});
    KeyPath const added = KPU::AddInitial(path);

    EXPECT_TRUE(added.TypeAgnosticEquals(KeyPath::FromTexts({L"~init", L"a", L"b"})));
    EXPECT_TRUE(KPU::Initial().IsPrefixOf(added));
    EXPECT_EQ(KPU::DropInitial(added), path);
    // The empty path becomes "~init" alone.
    EXPECT_TRUE(KPU::AddInitial(KeyPath::Empty()).TypeAgnosticEquals(KPU::Initial()));
}

TEST(KeyPathUtil, MisuseOfTheInitialPrefixFails) {
    KeyPath const added = KPU::AddInitial(KeyPath(L"a"));
    ExpectCheckFailure([&] { KPU::AddInitial(added); }, ZelError::AlreadyInitialPath,
                       "(keySegments[0]->GetSegment() != c_InitialSegment)");
    // The size test comes first, so the bare prefix fails with 364 rather than 363.
    ExpectCheckFailure([] { KPU::DropInitial(KPU::Initial()); }, ZelError::InitialPathTooShort,
                       "(keySegments.size() > 1)");
    ExpectCheckFailure(
        [] {
            KPU::DropInitial(KeyPath::FromTexts({L"x", L"a"}));
        },
        ZelError::NotInitialPath, "(keySegments[0]->GetSegment() == c_InitialSegment)");
}

TEST(KeyPathUtil, LocalSubpathStartsAfterTheFirstMarker) {
    EXPECT_EQ(KPU::GetLocalSubpath(KeyPath::FromTexts({L"a", L"~x", L"b", L"~y", L"c"})),
              KeyPath::FromTexts({L"b", L"~y", L"c"}));
    EXPECT_TRUE(KPU::GetLocalSubpath(KeyPath::FromTexts({L"a", L"~x"})).IsEmpty());
    EXPECT_EQ(KPU::GetLocalSubpath(KeyPath::FromTexts({L"a", L"b"})), KeyPath::FromTexts({L"a", L"b"}));
    EXPECT_TRUE(KPU::GetLocalSubpath(KeyPath::Empty()).IsEmpty());
}

}  // namespace
}  // namespace zel::vm
