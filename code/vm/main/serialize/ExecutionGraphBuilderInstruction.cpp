#include "zel/vm/serialize/ExecutionGraphBuilderInstruction.h"

#include "execute/StatementTransform.h"
#include "materialize/StatementFailure.h"
#include "materialize/StatementTyping.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/materialize/MakeTransform.h"

namespace zel::vm {

namespace {

class AddNodeInstruction final : public ExecutionGraphBuilderInstruction {
public:
    AddNodeInstruction(core::TransformSpec spec, unsigned int nodeId)
        : m_spec(std::move(spec)), m_nodeId(nodeId) {}

    void Apply(IExecutionGraphBuilder& builder, core::IFunctionLookup const& functions,
               core::ITypeLookup const& types, VMOptions const& options) override {
        std::unique_ptr<Transform> transform;
        // Every failure of the statement names it: those of its making here, those of its runs
        // through the transform that wraps it.
        try {
            transform = MakeTransform(m_spec, functions, types, options);
            ZEL_CHECK_NOT_NULL(transform, core::ZelError::SpecError216);
            CheckDeclaredResultType(m_spec, types, functions);
        } catch (core::ZelException const& failure) {
            RethrowAtStatement(failure, m_spec, {&types, &functions});
        }
        builder.AddNode(m_nodeId, MakeStatementTransform(std::move(transform), m_spec));
    }

private:
    core::TransformSpec m_spec;
    unsigned int m_nodeId;
};

class AddEdgeInstruction final : public ExecutionGraphBuilderInstruction {
public:
    AddEdgeInstruction(bool retainValue, core::KeyPath key, std::vector<unsigned int> sources,
                       std::vector<unsigned int> sinks)
        : m_retainValue(retainValue),
          m_key(std::move(key)),
          m_sources(std::move(sources)),
          m_sinks(std::move(sinks)) {}

    void Apply(IExecutionGraphBuilder& builder, core::IFunctionLookup const&, core::ITypeLookup const&,
               VMOptions const&) override {
        builder.AddEdge(m_sources, m_sinks, m_key, m_retainValue);
    }

private:
    bool m_retainValue;
    core::KeyPath m_key;
    std::vector<unsigned int> m_sources;
    std::vector<unsigned int> m_sinks;
};

}  // namespace

std::unique_ptr<ExecutionGraphBuilderInstruction> ExecutionGraphBuilderInstruction::AddNode(
    unsigned int nodeId, core::TransformSpec const& spec) {
    return std::make_unique<AddNodeInstruction>(spec, nodeId);
}

std::unique_ptr<ExecutionGraphBuilderInstruction> ExecutionGraphBuilderInstruction::AddEdge(
    std::vector<unsigned int> const& sources, std::vector<unsigned int> const& sinks,
    core::KeyPath const& key, bool retainValue) {
    return std::make_unique<AddEdgeInstruction>(retainValue, key, sources, sinks);
}

}  // namespace zel::vm
