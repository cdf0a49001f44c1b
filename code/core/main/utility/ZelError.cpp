#include "zel/core/utility/ZelError.h"

namespace zel::core {

std::string_view ZelErrorName(ZelError error) noexcept {
    switch (error) {
#define ZEL_ERROR_CASE(name, number) \
    case ZelError::name:             \
        return #name;
        ZEL_ERROR_LIST(ZEL_ERROR_CASE)
#undef ZEL_ERROR_CASE
    }
    return {};
}

}  // namespace zel::core
