#include "transform/CaseTransform.h"

#include <utility>

#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsScope.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/vm/transform/Execution.h"

namespace zel::vm {

namespace {

using Transforms = std::vector<std::unique_ptr<Transform>>;

Transforms CloneAll(Transforms const& transforms) {
    Transforms clones;
    clones.reserve(transforms.size());
    for (auto const& transform : transforms) {
        clones.push_back(transform->Clone());
    }
    return clones;
}

class CaseTransformImpl final : public CaseTransform {
public:
    CaseTransformImpl(std::vector<core::KeyPath> inputs, std::vector<WhenBranch> whenBranches,
                      Transforms elseTransforms, std::vector<core::KeyPath> outputs)
        : m_inputs(std::move(inputs)),
          m_whenBranches(std::move(whenBranches)),
          m_elseTransforms(std::move(elseTransforms)),
          m_outputs(std::move(outputs)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override {
        // The store of this run alone: what the branch writes stays in it unless it is an output.
        std::unique_ptr<core::IDataStore> const store =
            core::factory::MakeDataStore(core::factory::MakeKeyMap(core::StoreValueMap()));
        for (auto const& [key, value] : inputs) {
            store->SetValue(key, value);
        }
        for (std::unique_ptr<Transform> const& child : ChooseBranch(*store)) {
            if (!RunChild(*child, *store, cancel)) {
                return {};
            }
        }
        TransformValues outputs;
        for (core::KeyPath const& output : m_outputs) {
            outputs.SetValue(output, store->GetValue(output));
        }
        return outputs;
    }

    std::vector<core::KeyPath> GetInputPaths() const override { return m_inputs; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return m_outputs; }
    OperatorType GetOperatorType() const override { return OperatorType::Case; }

    std::unique_ptr<Transform> Clone() const override {
        std::vector<WhenBranch> branches;
        branches.reserve(m_whenBranches.size());
        for (WhenBranch const& branch : m_whenBranches) {
            branches.push_back(WhenBranch{CloneAll(branch.transforms),
                                          CloneCreatorValues(branch.values.get()), branch.condition});
        }
        return std::make_unique<CaseTransformImpl>(m_inputs, std::move(branches), CloneAll(m_elseTransforms),
                                                   m_outputs);
    }

private:
    // The program of the first When whose condition holds, else the Else list. Each condition is
    // called with its arguments read from the store; no condition after the first true one is
    // called.
    Transforms const& ChooseBranch(core::IDataStore const& store) const {
        for (WhenBranch const& branch : m_whenBranches) {
            std::vector<core::KeyPath> keys;
            branch.values->GetKeys(keys);
            TransformValues scratch;
            for (core::KeyPath const& key : keys) {
                scratch.SetValue(key, store.GetValue(key));
            }
            core::CreatorArguments arguments = branch.values->GetValues(scratch);
            if (branch.condition(arguments)) {
                return branch.transforms;
            }
        }
        return m_elseTransforms;
    }

    // Runs one child in place in its own metric scope, "Case_" and its metrics string ("|" would
    // split the name in reports, so it becomes "?"). False when the run was cancelled.
    bool RunChild(Transform const& child, core::IDataStore& store,
                  ICancellationTokenSource const* cancel) const {
        std::unique_ptr<Metrics::Scope> scope;
        if (MetricsFilter::PassesFilter(MetricsFilter::c_allBits)) {
            TStringCore name = child.GetMetricsString();
            if (!name.isEmpty()) {
                name.replace(L'|', L'?', CaseSensitivity::CaseSensitive);
                scope = Metrics::OpenScope(Metrics::MetricsValue(GetMetricsString() + L"_" + name));
            }
        }
        return Execution::TransformInPlace(child, store, cancel);
    }

    std::vector<core::KeyPath> const m_inputs;
    std::vector<WhenBranch> const m_whenBranches;
    Transforms const m_elseTransforms;
    std::vector<core::KeyPath> const m_outputs;
};

}  // namespace

std::unique_ptr<CaseTransform> CaseTransform::Make(std::vector<core::KeyPath> inputs,
                                                   std::vector<WhenBranch> whenBranches,
                                                   std::vector<std::unique_ptr<Transform>> elseTransforms,
                                                   std::vector<core::KeyPath> outputs) {
    return std::make_unique<CaseTransformImpl>(std::move(inputs), std::move(whenBranches),
                                               std::move(elseTransforms), std::move(outputs));
}

}  // namespace zel::vm
