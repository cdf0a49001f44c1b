#include "StepwiseRun.h"

#include <boost/unordered/unordered_map.hpp>

#include <set>
#include <utility>
#include <vector>

#include "zel/core/store/IStoreKeyMap.h"
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

// The result as the machine gives it: the inputs without "~init" and the program's values, a value
// of the program shadowing an input of the same name; with output keys only what they name.
std::unique_ptr<zel::core::IDataStore> SelectResult(zel::core::IDataStore const& store,
                                                    zel::core::OutputKeySet const& outputKeys) {
    KeyPath const& initial = zel::vm::KeyPathUtil::Initial();
    auto const find = [&](KeyPath const& path) {
        std::shared_ptr<zel::core::StoreValue> value = store.FindValue(path);
        return value ? value : store.FindValue(zel::vm::KeyPathUtil::AddInitial(path));
    };
    auto result = zel::core::factory::MakeDataStore(zel::core::StoreValueMap{});
    if (outputKeys.empty()) {
        for (auto const& [name, value] : store.GetRoot()->GetEntries()) {
            if (name != initial.GetLeaf()) {
                result->SetValue(KeyPath(name), value);
            }
        }
        if (auto const inputs = store.FindValue(initial)) {
            for (auto const& [name, value] : inputs->AsKeyMap().GetEntries()) {
                if (!result->FindValue(KeyPath(name))) {
                    result->SetValue(KeyPath(name), value);
                }
            }
        }
        return result;
    }
    for (KeyPath const& key : outputKeys) {
        bool const isInput = key.GetCount() > 1 && initial.IsPrefixOf(key);
        KeyPath const path = isInput ? zel::vm::KeyPathUtil::DropInitial(key) : key;
        if (auto const value = find(path)) {
            result->SetValue(path, value);
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
    return SelectResult(*store, outputKeys);
}

}  // namespace vtlrun
