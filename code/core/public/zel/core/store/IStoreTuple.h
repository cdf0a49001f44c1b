#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/core/store/StoreValue.h"

namespace zel::core {

// A Tuple: one fixed record of values of any types (null pointers allowed), as the zip operators
// make them. GetCount() of the value is the number of elements.
class IStoreTuple {
public:
    virtual ~IStoreTuple() = default;

    virtual std::vector<std::shared_ptr<StoreValue>> const& GetElements() const = 0;
    // Checked: an index past the end is a ZelRuntimeException (RangeViolation).
    virtual std::shared_ptr<StoreValue> const& GetElement(unsigned int index) const = 0;
};

}  // namespace zel::core

#pragma GCC visibility pop
