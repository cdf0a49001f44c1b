#pragma once

// CreateKeySetTransform<K, V>: a key set from two parallel arrays, keys of storage K and values of
// storage V. Keys are unique: a repeated key (for strings, two keys equal under the key column's
// collation) is an error, never first-wins or last-wins. A key that is special finds its value by
// its kind, in a map of its own; a special value is refused.

#include <memory>
#include <utility>
#include <vector>

#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/utility/UnorderedMapUtil.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

template <core::StorageElement K, core::StorageElement V>
class CreateKeySetTransform final : public Transform {
public:
    CreateKeySetTransform(core::KeyPath inputKey, core::KeyPath inputValue, core::KeyPath output)
        : m_inputKey(std::move(inputKey)), m_inputValue(std::move(inputValue)), m_output(std::move(output)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        using core::StoreType;
        using core::ZelError;
        std::shared_ptr<core::StoreValue> const& keyPtr = inputs.GetValue(m_inputKey);
        ZEL_CHECK(keyPtr->GetStoreType() == StoreType::Array, ZelError::KeySetNeedsArrays);
        std::shared_ptr<core::StoreValue> const& valuePtr = inputs.GetValue(m_inputValue);
        ZEL_CHECK(valuePtr->GetStoreType() == StoreType::Array, ZelError::KeySetNeedsArrays);
        unsigned int const keyCount = keyPtr->GetCount();
        ZEL_CHECK(valuePtr->GetCount() == keyCount, ZelError::KeySetLengthMismatch);
        core::ITypedArray<K> const& keyArray = keyPtr->AsTypedArray<K>();
        core::ITypedArray<V> const& valueArray = valuePtr->AsTypedArray<V>();
        ZEL_CHECK_EXACT(!(valueArray.HasSpecialValues()), ZelError::KeySetValuesHaveSpecials);

        auto map = core::MakeKeySetMap<K, V>(keyPtr->GetValueTypeInfo());
        map->reserve(keyCount);
        auto specialMap = std::make_unique<core::KeySetSpecialMap<V>>();
        if (!keyArray.HasSpecialValues()) {
            // Both columns as plain runs of values (their own memory when flat), so that the loop
            // is the inserts alone.
            std::vector<K> keyScratch;
            std::vector<V> valueScratch;
            K const* const keys = keyArray.GetValuesBlock(keyScratch, 0, keyCount).data();
            V const* const values = valueArray.GetValuesBlock(valueScratch, 0, keyCount).data();
            for (unsigned int row = 0; row < keyCount; ++row) {
                core::InsertUnique(*map, keys[row], values[row]);
            }
        } else {
            auto const valuesIter = valueArray.GetValues();
            auto iter = valuesIter.begin();
            for (auto const& [key, special] : keyArray.GetValuesAndSpecials()) {
                if (special != core::SpecialKind::None) {
                    core::InsertUnique(*specialMap, special, *iter);
                } else {
                    core::InsertUnique(*map, key, *iter);
                }
                ++iter;
            }
            ZEL_CHECK_EXACT(!(iter != valuesIter.end()), ZelError::KeySetLengthMismatch);
        }

        TransformValues outputs;
        outputs.SetValue(m_output, core::factory::MakeKeySet<K, V>(
                                       keyPtr->GetValueTypeInfo(), valuePtr->GetValueTypeInfo(),
                                       valuePtr->GetChildTypeInfo(), std::move(map), std::move(specialMap)));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override { return {m_inputKey, m_inputValue}; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::CreateKeySet; }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<CreateKeySetTransform>(m_inputKey, m_inputValue, m_output);
    }

private:
    core::KeyPath const m_inputKey;
    core::KeyPath const m_inputValue;
    core::KeyPath const m_output;
};

}  // namespace zel::vm
