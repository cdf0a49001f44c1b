// Filter instances, group 2 of 2 (see FilterInstances.h).

#include "transform/flatdata/FilterHandlerInstances.h"

namespace zel::vm {

ZEL_FILTER_INSTANCES_2(ZEL_INSTANTIATE_FILTER_INSTANCE)

}  // namespace zel::vm
