#include "execute/SerialExecutionGraph.h"

#include <cstdint>
#include <set>
#include <utility>

#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

namespace {

// Runs one ready node at a time on the calling thread. The work set is ordered so that the next
// node is always the ready one with the lowest id: a run does not depend on hash map order, and
// no id waits twice.
class SerialExecutionGraph final : public DataFlowExecutionGraph {
public:
    SerialExecutionGraph(NodeMap&& nodes, SuccessorSets&& edges,
                         std::unique_ptr<ExternalInputMap> externalInputs, BufferMap const& bufferMap,
                         core::OutputKeySet const& outputKeys)
        : DataFlowExecutionGraph(std::move(nodes), std::move(edges), std::move(externalInputs), bufferMap,
                                 outputKeys) {
        // The builder has fed the external inputs, so the first work is ready now.
        EnqueueReadyNodes();
    }

    TransformStatus ExecuteNext() override {
        if (IsCancelled()) {
            return TransformStatus::Cancelled;
        }
        switch (RunNode(DequeueNode())) {
            case NodeRunResult::Ran:
                return GetStatus();
            case NodeRunResult::Stopped:
                return TransformStatus::Cancelled;
        }
        ZEL_FAIL(core::ZelError::UnknownOperator);
    }

    TransformStatus Execute() override {
        if (IsCancelled()) {
            return TransformStatus::Cancelled;
        }
        while (!m_work.empty()) {
            switch (RunNode(DequeueNode())) {
                case NodeRunResult::Ran:
                    continue;
                case NodeRunResult::Stopped:
                    return TransformStatus::Cancelled;
            }
            ZEL_FAIL(core::ZelError::UnknownOperator);
        }
        return GetStatus();
    }

    TransformStatus GetStatus() const override {
        return m_work.empty() ? TransformStatus::Complete : TransformStatus::Running;
    }

protected:
    void EnqueueNode(unsigned int id) override { m_work.insert(id); }

    unsigned int DequeueNode() override {
        ZEL_CHECK_NOT_EMPTY(m_work, core::ZelError::LogicFailure);
        unsigned int const id = *m_work.begin();
        m_work.erase(m_work.begin());
        return id;
    }

    std::uint64_t GetCompletedNodeCount() const override { return m_completedNodeCount; }
    void IncrementCompletedNodeCount() override { ++m_completedNodeCount; }
    void SetCompletedNodeCount(std::uint64_t count) override { m_completedNodeCount = count; }

private:
    std::set<unsigned int> m_work;
    std::uint64_t m_completedNodeCount = 0;
};

}  // namespace

std::unique_ptr<IExecutionGraph> MakeSerialExecutionGraph(NodeMap&& nodes, SuccessorSets&& edges,
                                                          std::unique_ptr<ExternalInputMap> externalInputs,
                                                          BufferMap const& bufferMap,
                                                          core::OutputKeySet const& outputKeys) {
    return std::make_unique<SerialExecutionGraph>(std::move(nodes), std::move(edges),
                                                  std::move(externalInputs), bufferMap, outputKeys);
}

}  // namespace zel::vm
