// ZipWith instances, group 3 of 3 (see ZipWithInstances.h).

#include "transform/ZipWithTransform.h"

namespace zel::vm {

ZEL_ZIPWITH_INSTANCES_3(ZEL_INSTANTIATE_ZIPWITH_INSTANCE)

}  // namespace zel::vm
