// Map instances, group 4 of 4 (see MapInstances.h).

#include "transform/flatdata/ProjectionHandlerInstances.h"

namespace zel::vm {

ZEL_MAP_INSTANCES_4(ZEL_INSTANTIATE_MAP_INSTANCE)

}  // namespace zel::vm
