// The five key sets whose keys are held as unsigned char.
#include "KeySetValue.ipp"

namespace zel::core {

ZEL_KEY_SET_INSTANTIATE_ALL_V(unsigned char)

}  // namespace zel::core

namespace zel::core::detail {

void ThrowNotTypedKeySet(StoreValue const& value, StorageType key, StorageType mapped) {
    TStringCore text = L"a value of type " + DescribeType(value) + L" is no key set of " +
                       TStringCore::FromUtf8(StorageTypeName(key)) + L" to " +
                       TStringCore::FromUtf8(StorageTypeName(mapped));
    if (auto const* keySet = dynamic_cast<IStoreKeySet const*>(&value)) {
        text += L" (it maps " + TStringCore::FromUtf8(StorageTypeName(keySet->GetKeyStorageType())) +
                L" to " + TStringCore::FromUtf8(StorageTypeName(keySet->GetValueStorageType())) + L")";
    }
    ZEL_FAIL_LOGIC_WITH_TEXT(ZelError::UnsupportedOperation, text);
}

}  // namespace zel::core::detail
