#include "StepwiseRun.h"

#include <boost/unordered/unordered_map.hpp>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/KeyPathPrefixTree.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelLog.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/host/ExecutionLogger.h"
#include "zel/vm/serialize/ExecutionGraphBuilderInstruction.h"
#include "zel/vm/transform/Execution.h"
#include "zel/vm/utility/KeyPathUtil.h"

namespace vtlrun {

namespace {

using zel::core::KeyPath;
using zel::vm::Transform;

// Takes the transforms that the machine makes of the statements, each wrapped so that its
// failures name its statement, and builds no graph: the statements run one by one instead.
class StatementCollector final : public zel::vm::IExecutionGraphBuilder {
public:
    void AddNode(unsigned int nodeId, std::shared_ptr<Transform> transform) override {
        if (nodeId >= m_transforms.size()) {
            m_transforms.resize(nodeId + 1);
        }
        m_transforms[nodeId] = std::move(transform);
    }
    void AddEdge(std::vector<unsigned int> const&, std::vector<unsigned int> const&, KeyPath const&,
                 bool) override {}
    std::unique_ptr<zel::vm::IExecutionGraph> Build(zel::core::IDataStore const&,
                                                    zel::vm::OutputKeySet const&) override {
        ZEL_FAIL_LOGIC(zel::core::ZelError::UnsupportedOperation);
    }

    std::vector<std::shared_ptr<Transform>>& Transforms() { return m_transforms; }

private:
    std::vector<std::shared_ptr<Transform>> m_transforms;
};

// The statements in the order they stand in, a statement held back until the statements that write
// what it reads have run: the lowest ready statement first, as the machine's graph takes them.
std::vector<unsigned int> RunOrder(std::size_t count, std::vector<zel::core::GraphEdge> const& edges) {
    std::vector<std::set<unsigned int>> writers(count);
    for (zel::core::GraphEdge const& edge : edges) {
        for (unsigned int const sink : edge.sinks) {
            for (unsigned int const source : edge.sources) {
                if (sink < count && source != sink) {
                    writers[sink].insert(source);
                }
            }
        }
    }
    std::vector<unsigned int> order;
    std::vector<bool> done(count, false);
    while (order.size() < count) {
        std::size_t next = count;
        for (std::size_t i = 0; i < count && next == count; ++i) {
            bool ready = !done[i];
            for (unsigned int const writer : writers[i]) {
                ready = ready && (writer >= count || done[writer]);
            }
            if (ready) {
                next = i;
            }
        }
        // The parser refuses cycles; should one slip through, the rest runs in the order it stands.
        if (next == count) {
            for (std::size_t i = 0; i < count; ++i) {
                if (!done[i]) {
                    next = i;
                    break;
                }
            }
        }
        done[next] = true;
        order.push_back(static_cast<unsigned int>(next));
    }
    return order;
}

// The result as the machine gives it. Inputs (without "~init") and the statements' outputs share
// one path space; of those, the paths without another beneath which they lie make up the result,
// an output shadowing the input of its name, and an output beneath an input left out (the input
// stands whole). With output keys, a path is kept whole when a key names it or a path above it,
// in part when keys name paths below it, and left out otherwise.
std::unique_ptr<zel::core::IDataStore> SelectResult(zel::core::IDataStore const& store,
                                                    std::vector<zel::core::TransformSpec> const& specs,
                                                    zel::core::OutputKeySet const& outputKeys) {
    KeyPath const& initial = zel::vm::KeyPathUtil::Initial();
    std::vector<KeyPath> written;
    auto const present = zel::core::KeyPathPrefixTree::Make();
    for (zel::core::TransformSpec const& spec : specs) {
        for (KeyPath const& output : spec.GetOutputs()) {
            if (!output.IsEmpty()) {
                written.push_back(output);
                present->Add(output, true);
            }
        }
    }
    std::shared_ptr<zel::core::StoreValue> const inputs = store.GetValue(initial);
    for (auto const& [name, value] : inputs->AsKeyMap().GetEntries()) {
        present->Add(KeyPath(name), true);
    }
    std::unique_ptr<zel::core::KeyPathPrefixTree> wanted;
    std::vector<KeyPath> wantedPaths;
    if (!outputKeys.empty()) {
        wanted = zel::core::KeyPathPrefixTree::Make();
        for (KeyPath const& key : outputKeys) {
            bool const isInput = key.GetCount() > 1 && initial.IsPrefixOf(key);
            wantedPaths.push_back(isInput ? zel::vm::KeyPathUtil::DropInitial(key) : key);
            wanted->Add(wantedPaths.back(), true);
        }
    }

    auto result = zel::core::factory::MakeDataStore(zel::core::StoreValueMap{});
    for (KeyPath const& elder : present->GetEldersOfDescendants()) {
        bool const isOutput = std::any_of(written.begin(), written.end(), [&](KeyPath const& path) {
            return path.TypeAgnosticEquals(elder);
        });
        std::shared_ptr<zel::core::StoreValue> const value =
            store.FindValue(isOutput ? elder : zel::vm::KeyPathUtil::AddInitial(elder));
        if (!value) {
            continue;
        }
        zel::core::KeyPathPrefixTree const* const node = wanted ? wanted->Add(elder, false).first : nullptr;
        if (node == nullptr || node->IsConcrete() || node->HasConcreteAncestor()) {
            result->SetValue(elder, value);
        } else if (node->HasConcreteDescendant()) {
            // Only the members that keys name, read out of the value where it stands.
            auto const part = zel::core::factory::MakeDataStore(zel::core::StoreValueMap{});
            part->SetValue(elder, value);
            for (KeyPath const& path : wantedPaths) {
                if (elder.IsPrefixOf(path) && !path.TypeAgnosticEquals(elder)) {
                    if (auto const member = part->FindValue(path)) {
                        result->SetValue(path, member);
                    }
                }
            }
        }
    }
    return result;
}

}  // namespace

std::unique_ptr<zel::core::IDataStore> RunStepwise(TStringCore const& program,
                                                   zel::core::IDataStore const& input,
                                                   zel::core::IFunctionLookup const& functions,
                                                   zel::vm::VMOptions const& options, unsigned int sampleSize,
                                                   zel::vm::ICancellationTokenSource const* cancel) {
    std::vector<zel::core::TransformSpec> specs;
    std::vector<zel::core::GraphEdge> edges;
    zel::core::OutputKeySet outputKeys;
    zel::core::ParseVtlPayload(program, specs, edges, outputKeys);

    // Every statement is made before the first runs, so that a program the machine cannot make
    // fails as it does in a normal run, before anything is traced.
    StatementCollector collector;
    zel::core::KeyPathTypeLookup const types;
    for (std::size_t i = 0; i < specs.size(); ++i) {
        zel::vm::ExecutionGraphBuilderInstruction::AddNode(static_cast<unsigned int>(i), specs[i])
            ->Apply(collector, functions, types, options);
    }

    auto store = zel::core::factory::MakeDataStore(
        zel::core::StoreValueMap{{zel::vm::KeyPathUtil::Initial().GetLeaf(), input.GetRootValue()}});
    zel::vm::ExecutionLogger logger(zel::core::ZelLogLevel::Info, sampleSize);
    for (unsigned int const i : RunOrder(specs.size(), edges)) {
        logger.Execute(specs[i], store.get());
        if (!zel::vm::Execution::TransformInPlace(*collector.Transforms().at(i), *store, cancel)) {
            return nullptr;
        }
        logger.ExecutionResult(specs[i], store.get());
    }
    return SelectResult(*store, specs, outputKeys);
}

}  // namespace vtlrun
