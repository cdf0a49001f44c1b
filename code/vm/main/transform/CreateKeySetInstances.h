#pragma once

// The storage types of CreateKeySet. A key set exists for every pair of a key storage type and a
// value storage type, 25 in all; these lists say which element StoreTypes reach which storage.
// X(storeType, Storage). The two lists differ on purpose: a Tuple key is held by value, while an
// Object, which has no order or hash of its own kind, is a value only.

#include <memory>

#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreValue.h"

#define ZEL_CREATE_KEY_SET_KEY_TYPES(X) \
    X(Bool, unsigned char)              \
    X(Int32, unsigned int)              \
    X(Float, unsigned int)              \
    X(Color, unsigned int)              \
    X(Int64, unsigned long long)        \
    X(Double, unsigned long long)       \
    X(Date, unsigned long long)         \
    X(DateTime, unsigned long long)     \
    X(String, core::RIndirectString)    \
    X(Tuple, std::shared_ptr<core::StoreValue>)

#define ZEL_CREATE_KEY_SET_VALUE_TYPES(X)        \
    X(Bool, unsigned char)                       \
    X(Int32, unsigned int)                       \
    X(Float, unsigned int)                       \
    X(Color, unsigned int)                       \
    X(Int64, unsigned long long)                 \
    X(Double, unsigned long long)                \
    X(Date, unsigned long long)                  \
    X(DateTime, unsigned long long)              \
    X(String, core::RIndirectString)             \
    X(Object, std::shared_ptr<core::StoreValue>) \
    X(Array, std::shared_ptr<core::StoreValue>)  \
    X(Set, std::shared_ptr<core::StoreValue>)    \
    X(Tuple, std::shared_ptr<core::StoreValue>)  \
    X(KeyMap, std::shared_ptr<core::StoreValue>)
