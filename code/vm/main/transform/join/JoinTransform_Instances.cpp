// The per-type dispatch of the joins' row matching: one list of key types, one template.

#include "transform/join/MatchRowsOf.h"
#include "zel/core/utility/ZelCheck.h"

// The element types that can be join keys, with their storage types.
#define ZEL_JOIN_KEY_TYPE_LIST(X) \
    X(Bool, unsigned char)        \
    X(Int32, unsigned int)        \
    X(Float, unsigned int)        \
    X(Int64, unsigned long long)  \
    X(Double, unsigned long long) \
    X(String, ::zel::core::RIndirectString)

namespace zel::vm::join {

RowMatches MatchRowsByHash(core::StoreValue const& leftColumn, core::StoreValue const& rightColumn,
                           BuildSide buildSide, std::vector<unsigned int>* unmatched) {
    switch (leftColumn.GetValueTypeInfo().GetStoreType()) {
#define ZEL_JOIN_KEY_CASE(storeType, storage) \
    case core::StoreType::storeType:          \
        return MatchRowsOf<storage>(leftColumn, rightColumn, buildSide, unmatched);
        ZEL_JOIN_KEY_TYPE_LIST(ZEL_JOIN_KEY_CASE)
#undef ZEL_JOIN_KEY_CASE
        default:
            break;
    }
    ZEL_CHECK_LOGIC(false, core::ZelError::JoinTypeUnsupported);
    return {};
}

}  // namespace zel::vm::join
