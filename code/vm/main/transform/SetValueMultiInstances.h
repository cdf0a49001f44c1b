#pragma once

// The results of SetValueMulti. X(storeType, T): a multinary function whose output type is
// `storeType` runs in the instance of T. Date and DateTime share ZelDateTime; every other type,
// and a function without an output type, runs in the instance of shared values.

#include <memory>

#include "zel/core/store/StoreValue.h"
#include "zel/core/store/ZelDateTime.h"

#define ZEL_SET_VALUE_MULTI_INSTANCES(X) \
    X(Bool, bool)                        \
    X(Int32, int)                        \
    X(Int64, long long)                  \
    X(Float, float)                      \
    X(Double, double)                    \
    X(DateTime, core::ZelDateTime)       \
    X(Object, std::shared_ptr<core::StoreValue>)
