#include "materialize/MakeCreateKeySetTransform.h"

#include "transform/CreateKeySetInstances.h"
#include "transform/CreateKeySetTransform.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::StoreType;
using core::ZelError;

namespace {

[[noreturn]] void RefuseElementType() {
    throw core::ZelRuntimeException(ZelError::KeySetKeyTypeUnsupported);
}

template <class K>
std::unique_ptr<Transform> MakeForKey(OpCreateKeySetSpec const& spec, core::ITypeLookup const& types) {
    StoreType const valueType = types.GetStoreType(spec.GetInputValue());
    ZEL_CHECK(valueType == StoreType::Array, ZelError::KeySetNeedsArrays);
    switch (types.GetChildStoreType(spec.GetInputValue())) {
#define ZEL_CREATE_KEY_SET_VALUE_CASE(storeType, V)                                                    \
    case StoreType::storeType:                                                                         \
        return std::make_unique<CreateKeySetTransform<K, V>>(spec.GetInputKey(), spec.GetInputValue(), \
                                                             spec.GetOutput());
        ZEL_CREATE_KEY_SET_VALUE_TYPES(ZEL_CREATE_KEY_SET_VALUE_CASE)
#undef ZEL_CREATE_KEY_SET_VALUE_CASE
        default:
            RefuseElementType();
    }
}

}  // namespace

std::unique_ptr<Transform> MakeCreateKeySetTransform(OpCreateKeySetSpec const& spec,
                                                     core::ITypeLookup const& types) {
    StoreType const keyType = types.GetStoreType(spec.GetInputKey());
    ZEL_CHECK(keyType == StoreType::Array, ZelError::KeySetNeedsArrays);
    switch (types.GetChildStoreType(spec.GetInputKey())) {
#define ZEL_CREATE_KEY_SET_KEY_CASE(storeType, K) \
    case StoreType::storeType:                    \
        return MakeForKey<K>(spec, types);
        ZEL_CREATE_KEY_SET_KEY_TYPES(ZEL_CREATE_KEY_SET_KEY_CASE)
#undef ZEL_CREATE_KEY_SET_KEY_CASE
        default:
            RefuseElementType();
    }
}

}  // namespace zel::vm
