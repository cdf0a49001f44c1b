#include "zel/vm/host/VM.h"

#include "host/MakeVM.h"
#include "vormetrics/MetricsScope.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/utility/KeyPathUtil.h"

namespace zel::vm {

namespace {

// All input values under the one member "~init", so that KeyPathUtil::AddInitial(key) is the
// address of every input key. The values are shared with `source`, not copied.
std::shared_ptr<core::IDataStore> MakeWorkingStore(core::IDataStore const& source) {
    std::shared_ptr<core::StoreValue> root = source.GetValue(core::KeyPath::Empty());
    core::StoreValueMap members;
    members.emplace(KeyPathUtil::Initial().GetLeaf(), std::move(root));
    return core::factory::MakeDataStore(std::move(members));
}

class VMImpl final : public VM {
public:
    VMImpl(core::IDataStore const& store, std::unique_ptr<IExecutionGraph> graph)
        : m_dataStore(MakeWorkingStore(store)), m_graph(std::move(graph)) {}

    ~VMImpl() override {
        // The graph's buffers share values with the working store; let them go first.
        m_graph.reset();
        m_dataStore.reset();
    }

    void SetCancellationTokenSource(std::shared_ptr<ICancellationTokenSource> source) override {
        m_graph->SetCancellationTokenSource(std::move(source));
    }

    IExecutionGraph* GetExecutionGraph() override { return m_graph.get(); }

    TransformStatus ExecuteNext() override {
        if (m_graphStatus == TransformStatus::Running) {
            m_graphStatus = m_graph->ExecuteNext();
        }
        return m_graphStatus;
    }

    TransformStatus Execute() override {
        auto const scope = Metrics::OpenScope(L"zel_VM_Execute");
        m_graphStatus = m_graph->Execute();
        return m_graphStatus;
    }

    std::unique_ptr<DataStoreUpdater> MakeDataStoreUpdater() override {
        return std::make_unique<DataStoreUpdater>();
    }

    void ApplyUpdater(std::unique_ptr<DataStoreUpdater> updater) override {
        ZEL_CHECK_NOT_NULL(updater, core::ZelError::InvalidArgument);
        // All or nothing: the changes go into a copy of the working store (it shares every value),
        // and the graph checks its inputs against the copy before a buffer is cleared. A refused
        // change leaves the working store, the buffers and the status as they were.
        std::shared_ptr<core::IDataStore> staged = m_dataStore->Clone();
        ChangedKeySet const changed = updater->PushChanges(*staged);
        m_graph->CheckInputs(*staged);
        m_dataStore = std::move(staged);
        if (m_graphStatus != TransformStatus::NotStarted) {
            m_graph->ClearBuffers(changed);
        }
        m_graph->UpdateInputs(changed, *m_dataStore);
    }

    std::unique_ptr<core::IDataStore> MaterializeDataStore() override {
        auto const scope = Metrics::OpenScope(L"zel_VM_MaterializeDataStore");
        ZEL_CHECK(m_graphStatus == TransformStatus::Complete, core::ZelError::GraphNotComplete);
        return m_graph->MaterializeDataStore();
    }

    std::unique_ptr<core::MemoryUsage> GetMemoryUsage() override {
        auto const store = m_dataStore->GetMemoryUsage();
        auto const graph = m_graph->GetMemoryUsage();
        return store->Union(*graph);
    }

private:
    std::shared_ptr<core::IDataStore> m_dataStore;
    std::unique_ptr<IExecutionGraph> m_graph;
    TransformStatus m_graphStatus = TransformStatus::NotStarted;
};

}  // namespace

std::unique_ptr<VM> MakeVM(std::unique_ptr<IExecutionGraph> graph, core::IDataStore const& store) {
    ZEL_CHECK_NOT_NULL(graph, core::ZelError::InvalidArgument);
    // The VM works on a clone, so that updates never reach the caller's store.
    std::unique_ptr<core::IDataStore> const clone = store.Clone();
    return std::make_unique<VMImpl>(*clone, std::move(graph));
}

}  // namespace zel::vm
