// Arrays, sets and their factories for storage unsigned int.

#include "store/array/ArrayValueImpl.h"

ZEL_INSTANTIATE_ARRAYS(unsigned int)
