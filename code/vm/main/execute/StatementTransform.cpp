#include "execute/StatementTransform.h"

#include <utility>

#include "materialize/StatementFailure.h"

namespace zel::vm {

namespace {

class StatementTransform final : public Transform {
public:
    StatementTransform(std::unique_ptr<Transform> transform, core::TransformSpec spec)
        : m_transform(std::move(transform)), m_spec(std::move(spec)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override {
        try {
            return m_transform->DoTransform(inputs, cancel);
        } catch (core::ZelException const& failure) {
            RethrowAtStatement(failure, m_spec, {});
        }
    }

    void DoTransformOverRange(TransformValues const& inputs, unsigned int rangeStartIndex,
                              unsigned int rangeLength, RawDataView& output,
                              ICancellationTokenSource const* cancel) const override {
        try {
            m_transform->DoTransformOverRange(inputs, rangeStartIndex, rangeLength, output, cancel);
        } catch (core::ZelException const& failure) {
            RethrowAtStatement(failure, m_spec, {});
        }
    }

    bool CanTransformOverRange() const override { return m_transform->CanTransformOverRange(); }
    std::vector<core::KeyPath> GetInputPaths() const override { return m_transform->GetInputPaths(); }
    std::vector<core::KeyPath> GetOutputPaths() const override { return m_transform->GetOutputPaths(); }
    OperatorType GetOperatorType() const override { return m_transform->GetOperatorType(); }
    TStringCore GetMetricsString() const override { return m_transform->GetMetricsString(); }

    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<StatementTransform>(m_transform->Clone(), m_spec);
    }

private:
    std::unique_ptr<Transform> m_transform;
    // Only the statement's place and shape are read, to word a failure.
    core::TransformSpec m_spec;
};

}  // namespace

std::unique_ptr<Transform> MakeStatementTransform(std::unique_ptr<Transform> transform,
                                                  core::TransformSpec const& spec) {
    return std::make_unique<StatementTransform>(std::move(transform), spec);
}

}  // namespace zel::vm
