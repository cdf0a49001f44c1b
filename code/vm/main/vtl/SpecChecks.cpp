#include "vtl/SpecChecks.h"

namespace zel::vm {

core::KeySegmentType ElementTypeOf(core::ITypeLookup const& types, core::KeyPath const& input) {
    core::KeySegmentType type = types.GetKeySegmentType(input);
    StoreType const main = type.GetMainType().GetStoreType();
    if (main == StoreType::Array || main == StoreType::Set) {
        return core::KeySegmentType(type.GetChildType());
    }
    return type;
}

}  // namespace zel::vm
