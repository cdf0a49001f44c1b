// Arrays, sets and their factories for storage std::shared_ptr<StoreValue>.

#include "store/array/ArrayValueImpl.h"

ZEL_INSTANTIATE_ARRAYS(std::shared_ptr<zel::core::StoreValue>)
