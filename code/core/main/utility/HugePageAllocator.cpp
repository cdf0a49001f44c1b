#include "zel/core/utility/HugePageAllocator.h"

#include "utility/BufferPoolInternal.h"

namespace zel::core {

namespace {

bool IsHuge(std::size_t bytes) noexcept {
    return bytes >= c_hugePageThreshold;
}

std::size_t RoundToHugePages(std::size_t bytes) noexcept {
    return (bytes + c_hugePageSize - 1) / c_hugePageSize * c_hugePageSize;
}

}  // namespace

void* AllocateBuffer(std::size_t bytes, std::size_t alignment) {
    if (!IsHuge(bytes)) {
        if (alignment > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
            return ::operator new(bytes, std::align_val_t(alignment));
        }
        return ::operator new(bytes);
    }
    return TakePooledBuffer(RoundToHugePages(bytes));
}

void FreeBuffer(void* buffer, std::size_t bytes, std::size_t alignment) noexcept {
    if (buffer == nullptr) {
        return;
    }
    if (!IsHuge(bytes)) {
        if (alignment > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
            ::operator delete(buffer, std::align_val_t(alignment));
        } else {
            ::operator delete(buffer);
        }
        return;
    }
    GivePooledBuffer(buffer);
}

}  // namespace zel::core
