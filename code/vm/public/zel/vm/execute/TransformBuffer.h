#pragma once

#pragma GCC visibility push(default)

#include <memory>

#include "zel/core/store/StoreValue.h"

namespace zel::vm {

// The reading side of an edge: a slot that holds at most one value.
class ITransformInputBuffer {
public:
    virtual ~ITransformInputBuffer() = default;

    // A value can be read now.
    virtual bool CanRead() const = 0;
    // The value, with no effect on the buffer.
    virtual std::shared_ptr<core::StoreValue> Peek() const = 0;
    // The value, as a consumer takes it: a self-resetting buffer counts the read.
    virtual std::shared_ptr<core::StoreValue> Read() = 0;
};

// The writing side of an edge. Writing a null pointer empties the buffer.
class ITransformOutputBuffer {
public:
    virtual ~ITransformOutputBuffer() = default;

    virtual void Write(std::shared_ptr<core::StoreValue> value) = 0;
};

// The buffer of an edge: it keeps its value until the next write.
class StoreValueTransformBuffer : public ITransformInputBuffer, public ITransformOutputBuffer {};

// The buffer of an edge whose value nobody needs after its consumers: the last expected read takes
// the value out and empties the buffer, so that an intermediate column dies as soon as it can.
class SelfResettingBuffer : public StoreValueTransformBuffer {};

}  // namespace zel::vm

#pragma GCC visibility pop
