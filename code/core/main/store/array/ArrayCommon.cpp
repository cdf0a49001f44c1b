// The parts of the array code that do not depend on a storage type: names, the dispatcher's
// error function, failures with a text, and the run-time constant factory.

#include <string>

#include "store/StoreFailure.h"
#include "store/array/ArrayValue.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/StoreTypeDispatcher.h"

namespace zel::core {

std::string_view StorageTypeName(StorageType type) noexcept {
    switch (type) {
#define ZEL_STORAGE_TYPE_CASE(name, cxxType) \
    case StorageType::name:                  \
        return StorageTraits<cxxType>::c_name;
        ZEL_STORAGE_TYPE_LIST(ZEL_STORAGE_TYPE_CASE)
#undef ZEL_STORAGE_TYPE_CASE
    }
    return {};
}

char const* ArrayLayoutName(ArrayLayout layout) noexcept {
    switch (layout) {
        case ArrayLayout::Flat:
            return "flat";
        case ArrayLayout::Indexed:
            return "indexed";
        case ArrayLayout::Constant:
            return "constant";
        case ArrayLayout::RunLength:
            return "run-length";
    }
    return "unknown";
}

void PrimitiveErrorFunction(StoreType type) {
    std::string_view const name = StoreTypeName(type);
    std::string text = "no primitive storage for type ";
    text += name.empty() ? std::string_view("unknown") : name;
    text += " (" + std::to_string(static_cast<unsigned int>(type)) + ")";
    ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes, TStringCore::FromUtf8(text));
}

std::shared_ptr<StoreValue> MakeConstantArray(StoreTypeInfo const& elementType, unsigned int count,
                                              SpecialKind kind) {
    auto const storage = GetStorageType(elementType.GetStoreType());
    if (!storage) {
        detail::ThrowFactoryFailure(ZelError::UnsupportedTypes, L"MakeConstantArray: elements of type " +
                                                                    detail::DescribeElementType(elementType) +
                                                                    L" have no storage");
    }
    return StorageTypeDispatcher(*storage, [&]<class T>(StorageTag<T>) {
        return factory::MakeConstantArray<T>(elementType, count, kind);
    });
}

namespace detail {

void ThrowFactoryFailure(ZelError error, TStringCore const& text) {
    ZEL_FAIL_WITH_TEXT(error, text);
}

TStringCore DescribeElementType(StoreTypeInfo const& elementType) {
    return DescribeTypeInfo(elementType);
}

void ThrowGatherIndex(std::size_t position, unsigned int index, unsigned int count) {
    ZEL_FAIL_WITH_TEXT(ZelError::RangeViolation,
                   TStringCore::FromUtf8("Gather: index " + std::to_string(index) + " at position " +
                                         std::to_string(position) + " is not below the array's " +
                                         std::to_string(count) + " elements"));
}

}  // namespace detail

}  // namespace zel::core
