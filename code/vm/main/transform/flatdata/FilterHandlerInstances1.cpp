// Filter instances, group 1 of 2 (see FilterInstances.h).

#include "transform/flatdata/FilterHandlerInstances.h"

namespace zel::vm {

ZEL_FILTER_INSTANCES_1(ZEL_INSTANTIATE_FILTER_INSTANCE)

}  // namespace zel::vm
