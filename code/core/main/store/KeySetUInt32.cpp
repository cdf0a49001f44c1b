// The five key sets whose keys are held as unsigned int.
#include "KeySetValue.ipp"

namespace zel::core {

ZEL_KEY_SET_INSTANTIATE_ALL_V(unsigned int)

}  // namespace zel::core
