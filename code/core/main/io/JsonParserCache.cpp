#include "io/JsonParserCache.h"

#include <mutex>

#include "utility/BufferPoolInternal.h"
#include "zel/core/utility/BufferPool.h"

namespace zel::core::io_detail {

namespace {

struct Kept {
    std::mutex mutex;
    std::unique_ptr<simdjson::dom::parser> parser;
};

Kept& TheKept();

void ReleaseBeyond(std::size_t bound) noexcept {
    std::unique_ptr<simdjson::dom::parser> dropped;
    std::lock_guard const lock(TheKept().mutex);
    if (TheKept().parser && JsonParserCache::ReservedBytes(TheKept().parser->capacity()) > bound) {
        dropped = std::move(TheKept().parser);
    }
}

std::size_t KeptBytes() noexcept {
    std::lock_guard const lock(TheKept().mutex);
    return TheKept().parser ? JsonParserCache::ReservedBytes(TheKept().parser->capacity()) : 0;
}

// Never destroyed, like the buffer pool, whose bound it follows.
Kept& TheKept() {
    static Kept* const kept = [] {
        auto* const made = new Kept();
        AddCacheKeeper(CacheKeeper{&ReleaseBeyond, &KeptBytes});
        return made;
    }();
    return *kept;
}

}  // namespace

std::size_t JsonParserCache::ReservedBytes(std::size_t capacity) noexcept {
    // The tape (8 bytes a byte), the structural indexes (4), the string buffer (5/3), and the
    // padded copy of the text (1).
    return capacity * 8 + capacity * 4 + capacity * 5 / 3 + capacity;
}

std::unique_ptr<simdjson::dom::parser> JsonParserCache::Take() {
    Kept& kept = TheKept();
    {
        std::lock_guard const lock(kept.mutex);
        if (kept.parser) {
            return std::move(kept.parser);
        }
    }
    return std::make_unique<simdjson::dom::parser>();
}

void JsonParserCache::Give(std::unique_ptr<simdjson::dom::parser> parser) noexcept {
    if (!parser || ReservedBytes(parser->capacity()) > GetBufferPoolStatistics().bound) {
        return;
    }
    Kept& kept = TheKept();
    std::lock_guard const lock(kept.mutex);
    // The newest is kept: another load may have given one back meanwhile.
    std::swap(kept.parser, parser);
}

}  // namespace zel::core::io_detail
