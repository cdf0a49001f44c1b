// ZipWith instances, group 1 of 3 (see ZipWithInstances.h).

#include "transform/ZipWithTransform.h"

namespace zel::vm {

ZEL_ZIPWITH_INSTANCES_1(ZEL_INSTANTIATE_ZIPWITH_INSTANCE)

}  // namespace zel::vm
