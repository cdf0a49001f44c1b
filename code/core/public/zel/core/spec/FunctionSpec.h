#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

#include <cstddef>
#include <memory>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/ValueSpec.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/TypeLookup.h"

namespace zel::core {

// A function as a program names it: an id and its arguments in order. Immutable; held by
// std::shared_ptr and shared by copies of the specs that name it.
class FunctionSpec {
public:
    FunctionSpec(TStringCore id, std::vector<ValueSpec> inputs);
    FunctionSpec(FunctionSpec const&) = delete;
    FunctionSpec& operator=(FunctionSpec const&) = delete;
    virtual ~FunctionSpec();

    virtual TStringCore const& GetFunctionId() const;
    virtual std::vector<ValueSpec> const& GetFunctionInputs() const;

    static std::shared_ptr<FunctionSpec> Make(TStringCore const& id, std::vector<ValueSpec> const& inputs);
    static std::shared_ptr<FunctionSpec> Make(TStringCore const& id, KeyPath const& input);
    static std::shared_ptr<FunctionSpec> Make(TStringCore const& id, KeyPath const& input1,
                                              KeyPath const& input2);

    // The same id and equal arguments, in order.
    friend VOR_PUBLIC bool operator==(FunctionSpec const& a, FunctionSpec const& b);

private:
    TStringCore m_id;
    std::vector<ValueSpec> m_inputs;
};

// Both null, or both set and equal.
bool FunctionSpecsEqual(std::shared_ptr<FunctionSpec> const& a, std::shared_ptr<FunctionSpec> const& b);

// The type of each argument: a key by the lookup, a constant by its own type (for an array or set
// its element type as the child type). A null constant has no type.
std::vector<KeySegmentType> GetFunctionInputTypes(FunctionSpec const& spec, ITypeLookup const& lookup);

// A function name with the types of its inputs: the key of the function registries.
class FunctionKey {
public:
    FunctionKey(TStringCore const& name, std::vector<KeySegmentType> const& inputTypes);
    FunctionKey(FunctionKey const&) = default;
    FunctionKey(FunctionKey&&) noexcept = default;
    FunctionKey& operator=(FunctionKey const&) = default;
    FunctionKey& operator=(FunctionKey&&) noexcept = default;
    ~FunctionKey();

    TStringCore const& GetName() const noexcept { return m_name; }
    std::vector<KeySegmentType> const& GetInputTypes() const noexcept { return m_inputTypes; }

    friend bool operator==(FunctionKey const& a, FunctionKey const& b) noexcept {
        return a.m_name == b.m_name && a.m_inputTypes == b.m_inputTypes;
    }

private:
    TStringCore m_name;
    std::vector<KeySegmentType> m_inputTypes;
};

// Agrees with operator==: the name, and each type with its collation and optional flag.
std::size_t hash_value(FunctionKey const& key) noexcept;

}  // namespace zel::core

template <>
struct std::hash<zel::core::FunctionKey> {
    std::size_t operator()(zel::core::FunctionKey const& key) const noexcept { return hash_value(key); }
};

#pragma GCC visibility pop
