#include "zel/core/spec/FunctionSpec.h"

#include <boost/container_hash/hash.hpp>

#include "zel/core/store/StoreValue.h"

namespace zel::core {

ValueSpec::ValueSpec(KeyPath const& key) : m_isKey(true), m_key(key) {}
ValueSpec::ValueSpec(std::shared_ptr<StoreValue> const& value) : m_isKey(false), m_value(value) {}
ValueSpec::~ValueSpec() = default;

bool operator==(ValueSpec const& a, ValueSpec const& b) {
    if (a.m_isKey != b.m_isKey) {
        return false;
    }
    return a.m_isKey ? a.m_key == b.m_key : StoreValuesEqual(a.m_value, b.m_value);
}

bool StoreValuesEqual(std::shared_ptr<StoreValue> const& a, std::shared_ptr<StoreValue> const& b) {
    if (a == b) {
        return true;
    }
    if (!a || !b) {
        return false;
    }
    return a->GetTypeInfo() == b->GetTypeInfo() && a->GetSpecialKind() == b->GetSpecialKind() &&
           a->Equals(*b);
}

FunctionSpec::FunctionSpec(TStringCore id, std::vector<ValueSpec> inputs)
    : m_id(std::move(id)), m_inputs(std::move(inputs)) {}

FunctionSpec::~FunctionSpec() = default;

TStringCore const& FunctionSpec::GetFunctionId() const {
    return m_id;
}

std::vector<ValueSpec> const& FunctionSpec::GetFunctionInputs() const {
    return m_inputs;
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(TStringCore const& id,
                                                 std::vector<ValueSpec> const& inputs) {
    return std::make_shared<FunctionSpec>(id, inputs);
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(TStringCore const& id, KeyPath const& input) {
    return std::make_shared<FunctionSpec>(id, std::vector<ValueSpec>{ValueSpec(input)});
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(TStringCore const& id, KeyPath const& input1,
                                                 KeyPath const& input2) {
    return std::make_shared<FunctionSpec>(id, std::vector<ValueSpec>{ValueSpec(input1), ValueSpec(input2)});
}

bool operator==(FunctionSpec const& a, FunctionSpec const& b) {
    return a.GetFunctionId() == b.GetFunctionId() && a.GetFunctionInputs() == b.GetFunctionInputs();
}

bool FunctionSpecsEqual(std::shared_ptr<FunctionSpec> const& a, std::shared_ptr<FunctionSpec> const& b) {
    return a == b || (a && b && *a == *b);
}

std::vector<KeySegmentType> GetFunctionInputTypes(FunctionSpec const& spec, ITypeLookup const& lookup) {
    std::vector<KeySegmentType> types;
    types.reserve(spec.GetFunctionInputs().size());
    for (ValueSpec const& input : spec.GetFunctionInputs()) {
        if (input.IsKey()) {
            types.push_back(lookup.GetKeySegmentType(input.GetKeyPath()));
        } else if (input.GetValue()) {
            types.push_back(input.GetValue()->GetKeySegmentType());
        } else {
            types.emplace_back();
        }
    }
    return types;
}

FunctionKey::FunctionKey(TStringCore const& name, std::vector<KeySegmentType> const& inputTypes)
    : m_name(name), m_inputTypes(inputTypes) {}

FunctionKey::~FunctionKey() = default;

namespace {

void HashTypeInfo(std::size_t& seed, StoreTypeInfo const& info) {
    boost::hash_combine(seed, static_cast<unsigned int>(info.GetStoreType()));
    boost::hash_combine(seed, info.IsOptional());
    if (info.GetStoreType() == StoreType::String) {
        boost::hash_combine(seed, hash_value(info.GetCollation().GetName()));
    }
}

}  // namespace

std::size_t hash_value(FunctionKey const& key) noexcept {
    std::size_t seed = hash_value(key.GetName());
    for (KeySegmentType const& type : key.GetInputTypes()) {
        HashTypeInfo(seed, type.GetMainType());
        HashTypeInfo(seed, type.GetChildType());
    }
    return seed;
}

}  // namespace zel::core
