// The five key sets whose keys are held as unsigned long long.
#include "KeySetValue.ipp"

namespace zel::core {

ZEL_KEY_SET_INSTANTIATE_ALL_V(unsigned long long)

}  // namespace zel::core
