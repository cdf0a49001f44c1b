// Aggregate instances, group 3 of 3 (see AggregateInstances.h).

#include "transform/flatdata/AggregateHandlerInstances.h"

namespace zel::vm {

ZEL_AGGREGATE_INSTANCES_3(ZEL_INSTANTIATE_AGGREGATE_INSTANCE)

}  // namespace zel::vm
