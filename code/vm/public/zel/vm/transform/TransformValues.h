#pragma once

#pragma GCC visibility push(default)

#include <initializer_list>
#include <memory>
#include <utility>

#include <boost/unordered/unordered_map.hpp>

#include "zel/core/store/KeyPath.h"
#include "zel/core/store/StoreValue.h"

namespace zel::vm {

// The values that go into and come out of a transform, by key path. Keys compare without their
// segment types, so a value written under one typing of a path is found under any other. Values
// are shared, never copied; a null value is a legal entry.
class TransformValues {
public:
    using Map = boost::unordered::unordered_map<core::KeyPath, std::shared_ptr<core::StoreValue>,
                                                core::KeyPath::KeyPathTypeAgnosticHash,
                                                core::KeyPath::KeyPathTypeAgnosticEqualTo>;
    using value_type = Map::value_type;
    using const_iterator = Map::const_iterator;

    TransformValues() = default;
    TransformValues(TransformValues const&) = default;
    TransformValues(TransformValues&&) noexcept = default;
    TransformValues& operator=(TransformValues const&) = default;
    TransformValues& operator=(TransformValues&&) noexcept = default;
    // Inserts in list order; a repeated key keeps its first value.
    TransformValues(std::initializer_list<value_type> values);
    ~TransformValues() = default;

    // The value under `key`; a missing key is ZelRuntimeException(KeyNotFound) with the path as
    // its text.
    std::shared_ptr<core::StoreValue> const& GetValue(core::KeyPath const& key) const;
    bool HasValue(core::KeyPath const& key) const;
    // Inserts like emplace: when the key is present, the first writer keeps its value.
    void SetValue(core::KeyPath const& key, std::shared_ptr<core::StoreValue> value);

    const_iterator begin() const { return m_values.begin(); }
    const_iterator end() const { return m_values.end(); }
    std::size_t size() const { return m_values.size(); }

private:
    Map m_values;
};

}  // namespace zel::vm

#pragma GCC visibility pop
