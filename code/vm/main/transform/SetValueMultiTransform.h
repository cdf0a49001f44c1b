#pragma once

// SetValueMultiTransform<T>: one scalar from one call of a multinary function on all the
// arguments of its function spec, keys read from the inputs and constants as they stand.

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "transform/CreatorValues.h"
#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

template <class T>
class SetValueMultiTransform final : public Transform {
public:
    SetValueMultiTransform(core::KeyPath outputPath, core::KeySegmentType outputType,
                           core::ZelMultinaryFunction<T> function, std::unique_ptr<CreatorValues> arguments)
        : m_outputPath(std::move(outputPath)),
          m_outputType(std::move(outputType)),
          m_function(std::move(function)),
          m_arguments(std::move(arguments)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        core::CreatorArguments values = m_arguments->GetValues(inputs);
        T result = m_function(values);
        TransformValues outputs;
        outputs.SetValue(m_outputPath, MakeResult(std::move(result)));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override {
        std::vector<core::KeyPath> paths;
        m_arguments->GetKeys(paths);
        return paths;
    }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_outputPath}; }
    OperatorType GetOperatorType() const override { return OperatorType::SetValueMulti; }
    TStringCore GetMetricsString() const override {
        return Transform::GetMetricsString() + L"_" + m_function.GetName();
    }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<SetValueMultiTransform>(m_outputPath, m_outputType, m_function,
                                                        std::make_unique<CreatorValues>(*m_arguments));
    }

private:
    std::shared_ptr<core::StoreValue> MakeResult(T result) const {
        core::StoreTypeInfo const& type = m_outputType.GetMainType();
        if constexpr (std::is_same_v<T, std::shared_ptr<core::StoreValue>>) {
            // A function registered without an output type hands back a value of its own choosing,
            // and a value of the output type is the result itself; any other goes in an Object.
            if (type.IsEmpty() || (result && result->GetStoreType() == type.GetStoreType())) {
                return result;
            }
        }
        return core::MakeStoreValue(core::StoreTypeInfo(type.GetStoreType(), false, type.GetCollation()),
                                    std::move(result));
    }

    core::KeyPath const m_outputPath;
    core::KeySegmentType const m_outputType;
    core::ZelMultinaryFunction<T> const m_function;
    std::unique_ptr<CreatorValues> const m_arguments;
};

}  // namespace zel::vm
