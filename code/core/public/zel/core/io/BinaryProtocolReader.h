#pragma once

#pragma GCC visibility push(default)

// A cursor over the bytes of a binary store. Every read is checked against the bytes that are left:
// a read past the end is a ZelRuntimeException (StoreFormatError) naming what was being read and
// the byte offset, never a read out of bounds.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace zel::core {

class BinaryProtocolReader {
public:
    // Over bytes that the caller keeps alive for as long as the reader is used.
    BinaryProtocolReader(void const* data, std::size_t size) noexcept;
    // Over bytes that the reader owns.
    explicit BinaryProtocolReader(std::vector<std::uint8_t> bytes) noexcept;

    BinaryProtocolReader(BinaryProtocolReader const&) = delete;
    BinaryProtocolReader& operator=(BinaryProtocolReader const&) = delete;

    std::size_t GetSize() const noexcept { return m_size; }
    std::size_t GetOffset() const noexcept { return m_offset; }
    std::size_t GetRemaining() const noexcept { return m_size - m_offset; }
    bool AtEnd() const noexcept { return m_offset == m_size; }

    // Little-endian integers. `what` names the field in the message of a failure.
    std::uint8_t ReadUInt8(std::string_view what);
    std::uint16_t ReadUInt16(std::string_view what);
    std::uint32_t ReadUInt32(std::string_view what);
    std::uint64_t ReadUInt64(std::string_view what);
    // `count` bytes, as a view into the buffer.
    std::span<std::uint8_t const> ReadBytes(std::size_t count, std::string_view what);
    // Skips the zero bytes that bring the offset to a multiple of `width` (a power of two).
    void Align(std::size_t width, std::string_view what);
    // Fails unless `count` items of `itemBytes` bytes each can still follow: the check that comes
    // before any allocation the count would size.
    void Require(std::uint64_t count, std::size_t itemBytes, std::string_view what) const;

    // Throws the StoreFormatError "binary store: <what> at byte offset <offset>".
    [[noreturn]] void Fail(std::string_view what) const;
    [[noreturn]] void FailAt(std::size_t offset, std::string_view what) const;

private:
    std::vector<std::uint8_t> m_owned;
    std::uint8_t const* m_data;
    std::size_t m_size;
    std::size_t m_offset = 0;
};

}  // namespace zel::core

#pragma GCC visibility pop
