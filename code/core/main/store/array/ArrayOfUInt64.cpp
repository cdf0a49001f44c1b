// Arrays, sets and their factories for storage unsigned long long.

#include "store/array/ArrayValueImpl.h"

ZEL_INSTANTIATE_ARRAYS(unsigned long long)
