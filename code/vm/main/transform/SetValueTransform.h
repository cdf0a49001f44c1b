#pragma once

// SetValueTransform<A, B>: one scalar from one call of a unary function on the first argument of
// its function spec. The other arguments are read (they are inputs of the transform) and ignored.
// The function is never a creator: its arguments are what it is called on, not what makes it.

#include <memory>
#include <utility>
#include <vector>

#include "transform/CreatorValues.h"
#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

template <core::LogicalType A, core::LogicalType B>
class SetValueTransform final : public Transform {
public:
    SetValueTransform(core::KeyPath outputPath, core::StoreType outputStoreType,
                      core::ZelFunctions<A, B> functions, std::unique_ptr<CreatorValues> arguments)
        : m_outputPath(std::move(outputPath)),
          m_outputStoreType(outputStoreType),
          m_functions(std::move(functions)),
          m_arguments(std::move(arguments)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        auto const function = m_functions.MakeRegularFunction();
        core::CreatorArguments const values = m_arguments->GetValues(inputs);
        A const argument = core::FetchStoreValue<A>(values.at(0));
        TransformValues outputs;
        outputs.SetValue(m_outputPath, core::MakeStoreValue(core::StoreTypeInfo(m_outputStoreType, false),
                                                            function->Call(argument)));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override {
        std::vector<core::KeyPath> paths;
        m_arguments->GetKeys(paths);
        return paths;
    }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_outputPath}; }
    OperatorType GetOperatorType() const override { return OperatorType::SetValue; }
    TStringCore GetMetricsString() const override {
        return Transform::GetMetricsString() + L"_" + m_functions.GetName();
    }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<SetValueTransform>(m_outputPath, m_outputStoreType, m_functions,
                                                   std::make_unique<CreatorValues>(*m_arguments));
    }

private:
    core::KeyPath const m_outputPath;
    core::StoreType const m_outputStoreType;
    core::ZelFunctions<A, B> const m_functions;
    std::unique_ptr<CreatorValues> const m_arguments;
};

}  // namespace zel::vm
