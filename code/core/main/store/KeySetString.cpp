// The five key sets whose keys are held as RIndirectString.
#include "KeySetValue.ipp"

namespace zel::core {

ZEL_KEY_SET_INSTANTIATE_ALL_V(RIndirectString)

}  // namespace zel::core
