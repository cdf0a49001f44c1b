#pragma once

#pragma GCC visibility push(default)

// StoreTypeDispatcher: from a logical StoreType to the one instance of a template that serves
// its storage type.
//
//   auto transform = StoreTypeDispatcher(
//       elementType.GetStoreType(),
//       [&]<class T>(StorageTag<T>) -> std::unique_ptr<Transform> {
//           return std::make_unique<ConstantTransform<T>>(...);
//       },
//       PrimitiveErrorFunction);
//
//   StoreType           maker called with
//   Bool                StorageTag<unsigned char>
//   Int32 Float Color   StorageTag<unsigned int>
//   Int64 Double Date DateTime
//                       StorageTag<unsigned long long>
//   String              StorageTag<RIndirectString>
//   Object              StorageTag<std::shared_ptr<StoreValue>>
//   anything else       the error function, with the type
//
// Tuples and collections are no primitive and go to the error function, although arrays of them
// hold shared values. The error function is expected to throw; an empty one throws
// std::bad_function_call. If it returns, the dispatcher reports ZelError::UnsupportedOperation
// and throws ZelRuntimeException with that code.

#include <functional>
#include <memory>
#include <type_traits>

#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreType.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core {

// The error function of the dispatchers: throws ZelRuntimeException (UnsupportedTypes) whose text
// names the type, e.g. "no primitive storage for type tuple (13)".
[[noreturn]] void PrimitiveErrorFunction(StoreType type);

template <class Maker>
auto StoreTypeDispatcher(StoreType type, Maker&& maker, std::function<void(StoreType)> const& errorFunction)
    -> std::invoke_result_t<Maker&, StorageTag<unsigned char>> {
    switch (type) {
        case StoreType::Bool:
            return maker(StorageTag<unsigned char>{});
        case StoreType::Int32:
        case StoreType::Float:
        case StoreType::Color:
            return maker(StorageTag<unsigned int>{});
        case StoreType::Int64:
        case StoreType::Double:
        case StoreType::Date:
        case StoreType::DateTime:
            return maker(StorageTag<unsigned long long>{});
        case StoreType::String:
            return maker(StorageTag<RIndirectString>{});
        case StoreType::Object:
            return maker(StorageTag<std::shared_ptr<StoreValue>>{});
        default:
            break;
    }
    errorFunction(type);
    ZEL_FAIL(ZelError::UnsupportedOperation);
}

// The same from a storage type, for code that already knows it (GetStorageType); every storage
// type has an instance, so there is no error case.
template <class Maker>
auto StorageTypeDispatcher(StorageType type, Maker&& maker)
    -> std::invoke_result_t<Maker&, StorageTag<unsigned char>> {
    switch (type) {
        case StorageType::UInt8:
            return maker(StorageTag<unsigned char>{});
        case StorageType::UInt32:
            return maker(StorageTag<unsigned int>{});
        case StorageType::UInt64:
            return maker(StorageTag<unsigned long long>{});
        case StorageType::String:
            return maker(StorageTag<RIndirectString>{});
        case StorageType::Value:
            break;
    }
    return maker(StorageTag<std::shared_ptr<StoreValue>>{});
}

}  // namespace zel::core

#pragma GCC visibility pop
