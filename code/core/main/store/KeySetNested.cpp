// The five key sets whose keys are nested values (std::shared_ptr<StoreValue>).
#include "KeySetValue.ipp"

namespace zel::core {

ZEL_KEY_SET_INSTANTIATE_ALL_V(std::shared_ptr<StoreValue>)

}  // namespace zel::core
