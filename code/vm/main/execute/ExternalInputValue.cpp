#include "execute/ExternalInputValue.h"

#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

namespace {

TStringCore TypeText(core::StoreType main, core::StoreType child) {
    TStringCore text = TStringCore::FromUtf8(core::StoreTypeName(main));
    if (child != core::StoreType::Empty) {
        text += L'<';
        text += TStringCore::FromUtf8(core::StoreTypeName(child));
        text += L'>';
    }
    return text;
}

}  // namespace

std::shared_ptr<core::StoreValue> ReadExternalInput(core::IDataStore const& store,
                                                    core::KeyPath const& storePath,
                                                    core::KeyPath const& edgeKey) {
    std::shared_ptr<core::StoreValue> value = store.GetValue(storePath);
    if (edgeKey.IsEmpty() || !edgeKey.GetLeafSegmentType().HasType() || value == nullptr) {
        return value;
    }
    core::StoreType const declared = edgeKey.GetLeafSegmentType().GetMainType().GetStoreType();
    core::StoreType const declaredChild = edgeKey.GetLeafSegmentType().GetChildType().GetStoreType();
    core::KeySegmentType const heldType = value->GetKeySegmentType();
    core::StoreType const held = heldType.GetMainType().GetStoreType();
    core::StoreType const heldChild = heldType.GetChildType().GetStoreType();
    bool const childMatches = declaredChild == core::StoreType::Empty || declaredChild == heldChild;
    if (declared != held || !childMatches) {
        ZEL_FAIL_WITH_TEXT(core::ZelError::InputTypeMismatch,
                           L"the input " + edgeKey.ToString() + L" is declared " +
                               TypeText(declared, declaredChild) + L" but the store holds " +
                               TypeText(held, heldChild));
    }
    return value;
}

}  // namespace zel::vm
