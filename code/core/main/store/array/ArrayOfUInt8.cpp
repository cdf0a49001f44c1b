// Arrays, sets and their factories for storage unsigned char.

#include "store/array/ArrayValueImpl.h"

ZEL_INSTANTIATE_ARRAYS(unsigned char)
