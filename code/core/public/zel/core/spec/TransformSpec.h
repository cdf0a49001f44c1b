#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

#include <memory>
#include <utility>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/OperatorType.h"
#include "zel/core/spec/StatementSource.h"
#include "zel/core/store/KeyPath.h"

namespace zel::core {

class FunctionSpec;
class StoreValue;

// One operator of a program: its number, the keys it reads and writes, its function, its value and
// its child specs. One untyped record for every operator; the operator spec views give it shape.
// A value type: copies share the function and the value, which are immutable.
class TransformSpec {
public:
    // Each stores what it is given and leaves the rest empty; a single output becomes a one-element
    // list (also when it is the empty path).
    TransformSpec(OperatorType type, std::vector<KeyPath> const& inputs, KeyPath const& output,
                  std::vector<TransformSpec>&& children);
    // The name is stored as a String value.
    TransformSpec(OperatorType type, std::vector<KeyPath> const& inputs, KeyPath const& output,
                  std::vector<TransformSpec>&& children, TStringCore const& name);
    TransformSpec(OperatorType type, std::vector<KeyPath> const& inputs, std::vector<KeyPath> const& outputs,
                  std::shared_ptr<FunctionSpec> const& function, std::vector<TransformSpec>&& children,
                  std::shared_ptr<StoreValue> const& value);
    TransformSpec(OperatorType type, std::vector<KeyPath> const& inputs, KeyPath const& output,
                  std::shared_ptr<FunctionSpec> const& function);
    TransformSpec(OperatorType type, KeyPath const& input, KeyPath const& output,
                  std::shared_ptr<FunctionSpec> const& function, std::shared_ptr<StoreValue> const& value);
    TransformSpec(TransformSpec const&);
    TransformSpec(TransformSpec&&) noexcept;
    TransformSpec& operator=(TransformSpec const&);
    TransformSpec& operator=(TransformSpec&&) noexcept;
    ~TransformSpec();

    OperatorType GetOperatorType() const noexcept { return m_type; }
    std::vector<KeyPath> const& GetInputs() const noexcept { return m_inputs; }
    std::vector<KeyPath> const& GetOutputs() const noexcept { return m_outputs; }
    std::shared_ptr<FunctionSpec> const& GetFunctionSpec() const noexcept { return m_function; }
    std::shared_ptr<StoreValue> const& GetValue() const noexcept { return m_value; }
    std::vector<TransformSpec> const& GetChildTransforms() const noexcept { return m_children; }

    // Where the statement stands in the program it was read from; null for a spec built in code.
    // Not part of the TransformSpec's value: copies share it, and equality ignores it.
    std::shared_ptr<StatementSource const> const& GetSource() const noexcept { return m_source; }
    void SetSource(std::shared_ptr<StatementSource const> source) noexcept { m_source = std::move(source); }

    // By value: the operator, the typed paths, the function and the value (StoreValuesEqual), and
    // the children in order.
    friend VOR_PUBLIC bool operator==(TransformSpec const& a, TransformSpec const& b);

private:
    OperatorType m_type;
    std::vector<KeyPath> m_inputs;
    std::vector<KeyPath> m_outputs;
    std::shared_ptr<FunctionSpec> m_function;
    std::vector<TransformSpec> m_children;
    std::shared_ptr<StoreValue> m_value;
    std::shared_ptr<StatementSource const> m_source;
};

// The wire between specs: the value under `key` runs from the specs at `sources` to those at
// `sinks` (indices into the program's list of specs). A retained edge keeps its value after it
// has been read; any other edge is reset once every sink has read it.
struct GraphEdge {
    bool retainValue = false;
    std::vector<unsigned int> sources;
    std::vector<unsigned int> sinks;
    KeyPath key;

    // Every field; the key as a typed path.
    friend bool operator==(GraphEdge const& a, GraphEdge const& b) noexcept {
        return a.retainValue == b.retainValue && a.sources == b.sources && a.sinks == b.sinks &&
               a.key == b.key;
    }
};

}  // namespace zel::core

#pragma GCC visibility pop
