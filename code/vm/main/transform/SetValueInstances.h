#pragma once

// The pairs of SetValue, as the logical types of the unary function's input (the first argument)
// and output. X(inputClass, outputClass, A, B): the classes name the StoreType that selects the
// pair (DateTime stands for Date and DateTime alike), A and B the C++ types the function takes
// and returns.

#include "zel/core/store/ZelDateTime.h"

#define ZEL_SET_VALUE_INSTANCES(X)                              \
    X(Bool, Bool, bool, bool)                                   \
    X(Int32, Int32, int, int)                                   \
    X(Int64, Int64, long long, long long)                       \
    X(Float, Float, float, float)                               \
    X(Double, Double, double, double)                           \
    X(Int64, Double, long long, double)                         \
    X(DateTime, Double, core::ZelDateTime, double)              \
    X(Int32, Double, int, double)                               \
    X(Double, Int32, double, int)                               \
    X(Double, Int64, double, long long)                         \
    X(DateTime, DateTime, core::ZelDateTime, core::ZelDateTime) \
    X(Double, Float, double, float)                             \
    X(Int32, Int64, int, long long)                             \
    X(DateTime, Int32, core::ZelDateTime, int)
