// Arrays, sets and their factories for storage RIndirectString.

#include "store/array/ArrayValueImpl.h"

ZEL_INSTANTIATE_ARRAYS(zel::core::RIndirectString)
