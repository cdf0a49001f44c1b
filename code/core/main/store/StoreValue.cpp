#include "zel/core/store/StoreValue.h"

#include "StoreFailure.h"

namespace zel::core {

namespace {

[[noreturn]] void ThrowNoInterfaceOf(StoreValue const& value, char const* interfaceName, bool withElements) {
    TStringCore text = L"a value of type ";
    text += detail::DescribeType(value, withElements);
    text += L" has no ";
    text += TStringCore::FromUtf8(interfaceName);
    ZEL_FAIL_LOGIC_WITH_TEXT(ZelError::UnsupportedOperation, text);
}

}  // namespace

StoreTypeInfo const& StoreValue::GetValueTypeInfo() const {
    // Described without its element type: asking for that is what failed.
    ThrowNoInterfaceOf(*this, "GetValueTypeInfo (an element type)", false);
}

KeySegmentType StoreValue::GetKeySegmentType() const {
    if (!IsSpecial() && IsUniformCollectionStoreType(GetStoreType())) {
        return KeySegmentType(GetTypeInfo(), GetValueTypeInfo());
    }
    return KeySegmentType(GetTypeInfo());
}

unsigned int StoreValue::GetCount() const {
    ThrowNoInterface("GetCount (a number of elements)");
}

IMemberLookup const& StoreValue::AsMemberLookup() const {
    ThrowNoInterface("IMemberLookup");
}

IStoreArray const& StoreValue::AsCollection() const {
    ThrowNoInterface("IStoreArray");
}

IStoreArrayOps const& StoreValue::AsArray() const {
    ThrowNoInterface("IStoreArrayOps");
}

IStoreSet const& StoreValue::AsSet() const {
    ThrowNoInterface("IStoreSet");
}

IStoreKeyMap const& StoreValue::AsKeyMap() const {
    ThrowNoInterface("IStoreKeyMap");
}

IStoreTable const& StoreValue::AsTable() const {
    ThrowNoInterface("IStoreTable");
}

IStoreTuple const& StoreValue::AsTuple() const {
    ThrowNoInterface("IStoreTuple");
}

IStoreKeySet const& StoreValue::AsKeySet() const {
    ThrowNoInterface("IStoreKeySet");
}

int StoreValue::CompareTypeAndSpecial(StoreValue const& a, StoreValue const& b) {
    auto const typeA = static_cast<int>(a.GetStoreType());
    auto const typeB = static_cast<int>(b.GetStoreType());
    if (typeA != typeB) {
        return typeA < typeB ? -1 : 1;
    }
    auto const kindA = static_cast<int>(a.GetSpecialKind());
    auto const kindB = static_cast<int>(b.GetSpecialKind());
    if (kindA == kindB) {
        return 0;
    }
    // Ordinary values (kind 0) come after every special.
    if (kindA == 0) {
        return 1;
    }
    if (kindB == 0) {
        return -1;
    }
    return kindA < kindB ? -1 : 1;
}

void StoreValue::ThrowNoInterface(char const* interfaceName) const {
    ThrowNoInterfaceOf(*this, interfaceName, true);
}

}  // namespace zel::core
