#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

#include <memory>

#include "zel/core/store/KeyPath.h"

namespace zel::core {

class StoreValue;

// One argument of a function: the key path of a value that the transform reads, or a constant.
class ValueSpec {
public:
    ValueSpec(KeyPath const& key);                        // NOLINT: implicit on purpose
    ValueSpec(std::shared_ptr<StoreValue> const& value);  // NOLINT: implicit on purpose
    ValueSpec(ValueSpec const&) = default;
    ValueSpec(ValueSpec&&) noexcept = default;
    ValueSpec& operator=(ValueSpec const&) = default;
    ValueSpec& operator=(ValueSpec&&) noexcept = default;
    ~ValueSpec();

    bool IsKey() const noexcept { return m_isKey; }
    // The key; the empty path when the argument is a constant.
    KeyPath const& GetKeyPath() const noexcept { return m_key; }
    // The constant; null when the argument is a key.
    std::shared_ptr<StoreValue> const& GetValue() const noexcept { return m_value; }

    // Keys compare as typed paths, constants by value and type (see StoreValuesEqual).
    friend VOR_PUBLIC bool operator==(ValueSpec const& a, ValueSpec const& b);

private:
    bool m_isKey;
    KeyPath m_key;
    std::shared_ptr<StoreValue> m_value;
};

// Two constants are equal when both are null, or both have the same type (with its collation) and
// compare equal by StoreValue::Equals.
bool StoreValuesEqual(std::shared_ptr<StoreValue> const& a, std::shared_ptr<StoreValue> const& b);

}  // namespace zel::core

#pragma GCC visibility pop
