#pragma once

#include <simdjson.h>

#include <memory>

namespace zel::core::io_detail {

// The JSON reader's parser, kept from one document to the next. A parser sized for a document
// reserves about fifteen bytes for each byte of it, and memory taken fresh costs a page fault and
// a page clear on first touch: for a large document a fifth of the load. One parser is kept, while
// what it reserves stays within the buffer cache's bound (SetBufferCacheBound); lowering the bound
// below it, or ReleaseCachedBuffers, releases it.
class JsonParserCache {
public:
    // The kept parser, or a new one.
    static std::unique_ptr<simdjson::dom::parser> Take();
    // Keeps `parser` for the next document if it fits the bound, else frees it.
    static void Give(std::unique_ptr<simdjson::dom::parser> parser) noexcept;

    // The bytes a parser reserves for documents of up to `capacity` bytes.
    static std::size_t ReservedBytes(std::size_t capacity) noexcept;
};

}  // namespace zel::core::io_detail
