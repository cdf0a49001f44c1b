// Aggregate instances, group 2 of 3 (see AggregateInstances.h).

#include "transform/flatdata/AggregateHandlerInstances.h"

namespace zel::vm {

ZEL_AGGREGATE_INSTANCES_2(ZEL_INSTANTIATE_AGGREGATE_INSTANCE)

}  // namespace zel::vm
