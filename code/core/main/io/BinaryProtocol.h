#pragma once

// Constants of the binary protocol shared by its reader and writer (docs/store-formats.md).

#include <cstdint>
#include <memory>

#include "zel/core/io/BinaryProtocolReader.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/StoreValue.h"

namespace zel::core::io_detail {

inline constexpr char c_binaryMagic[4] = {'V', 'R', 'S', 'T'};
inline constexpr std::uint16_t c_binaryVersion = 1;

template <class U>
U ByteSwap(U value) {
    U swapped = 0;
    for (unsigned i = 0; i < sizeof(U); ++i) {
        swapped = static_cast<U>((swapped << 8) | ((value >> (8 * i)) & 0xFF));
    }
    return swapped;
}

// The root key map of the rest of the stream.
std::shared_ptr<StoreValue> ReadBinaryRoot(BinaryProtocolReader& reader,
                                           StoreValueParser::ReadOptions const& options);

}  // namespace zel::core::io_detail
