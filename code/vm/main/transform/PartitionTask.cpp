#include "transform/PartitionTask.h"

#include <numeric>

#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/transform/Execution.h"

namespace zel::vm {

namespace {

// The maker leaves NoOp children out; a child list built otherwise may hold one, which does nothing.
bool Runs(PartitionChild const& child) {
    return child.spec.GetOperatorType() != OperatorType::NoOp;
}

}  // namespace

PartitionRunContext::PartitionRunContext(bool isGroupBy_, bool rangeMode_, core::KeyPath tableKey_,
                                         core::KeyPath outputKey_, core::IStoreTable const& table_,
                                         std::unique_ptr<core::IDataStore> baseStore_,
                                         std::vector<PartitionChild> const& children_,
                                         unsigned int threadCount, ICancellationTokenSource const* cancel_)
    : isGroupBy(isGroupBy_),
      rangeMode(rangeMode_),
      tableKey(std::move(tableKey_)),
      outputKey(std::move(outputKey_)),
      table(table_),
      baseStore(std::move(baseStore_)),
      children(children_),
      perThread(threadCount),
      cancel(cancel_) {}

void PartitionRunContext::MakeResults(unsigned int rowCount) {
    for (PartitionChild const& child : children) {
        for (core::KeyPath const& output : child.spec.GetOutputs()) {
            if (!outputKey.IsPrefixOf(output)) {
                continue;
            }
            // Of the element type that the output's path declares: array<double> gives doubles.
            core::StoreTypeInfo const& elementType = output.GetLeafSegmentType().GetChildType();
            results.emplace(output, MakeRawData(elementType, core::StoreTypeInfo::Empty, rowCount));
        }
    }
    childResults.clear();
    childResults.reserve(children.size());
    for (PartitionChild const& child : children) {
        if (!Runs(child)) {
            continue;
        }
        auto& outputs = childResults.emplace_back();
        for (core::KeyPath const& output : child.transform->GetOutputPaths()) {
            if (!outputKey.IsPrefixOf(output)) {
                continue;
            }
            auto const found = results.find(output);
            // A transform writes what its spec names.
            ZEL_CHECK_LOGIC(found != results.end(), core::ZelError::LogicFailure);
            outputs.emplace_back(output, found->second.get());
        }
    }
}

PartitionWorker& PartitionRunContext::Worker(unsigned int threadIndex) {
    PartitionWorker& worker = perThread.at(threadIndex);
    if (worker.ready) {
        return worker;
    }
    worker.children.reserve(children.size());
    for (PartitionChild const& child : children) {
        if (!Runs(child)) {
            continue;
        }
        worker.children.push_back(child.transform->Clone());
    }
    if (rangeMode) {
        worker.rangeInputs.reserve(worker.children.size());
        for (auto const& child : worker.children) {
            TransformValues& inputs = worker.rangeInputs.emplace_back();
            for (core::KeyPath const& path : child->GetInputPaths()) {
                inputs.SetValue(path, baseStore->GetValue(path));
            }
        }
    }
    worker.ready = true;
    return worker;
}

std::shared_ptr<core::StoreValue> PartitionRunContext::GatherRows(unsigned int first,
                                                                  unsigned int count) const {
    auto rows = std::make_shared<std::vector<unsigned int>>(count);
    std::iota(rows->begin(), rows->end(), first);
    if (!gatheredColumns) {
        return table.GatherRows(std::move(rows));
    }
    // Only the columns that the children read: the same columns as a gather of the whole table,
    // without the cost of the others.
    core::StoreValueMap columns;
    for (TStringCore const& name : *gatheredColumns) {
        columns.emplace(name, table.GetColumn(name)->AsArray().Gather(rows));
    }
    return core::factory::MakeTable(std::move(columns));
}

bool PartitionTask::Run(unsigned int threadIndex) {
    if (IsCancelled(m_run.cancel)) {
        return false;
    }
    PartitionWorker& worker = m_run.Worker(threadIndex);
    unsigned int const start = m_run.isGroupBy ? m_index : m_firstRow;
    unsigned int const length = m_run.isGroupBy ? 1 : m_rowCount;
    return m_rangeMode ? RunOverRange(worker, start, length) : RunGathered(worker, start, length);
}

bool PartitionTask::RunOverRange(PartitionWorker& worker, unsigned int start, unsigned int length) const {
    for (std::size_t i = 0; i < worker.children.size(); ++i) {
        RawDataView view(*m_run.childResults[i].front().second, start, length);
        // What running in place over a range does: poll, then compute the range from the inputs,
        // which this thread read from the base store once.
        if (IsCancelled(m_run.cancel)) {
            return false;
        }
        worker.children[i]->DoTransformOverRange(worker.rangeInputs[i], m_firstRow, m_rowCount, view,
                                                 m_run.cancel);
    }
    return true;
}

bool PartitionTask::RunGathered(PartitionWorker& worker, unsigned int start, unsigned int length) const {
    std::unique_ptr<core::IDataStore> const store = m_run.baseStore->Clone();
    store->SetValue(m_run.tableKey, m_run.GatherRows(m_firstRow, m_rowCount));
    // No cancel source: a partition that has begun runs to its end.
    for (auto const& child : worker.children) {
        if (!Execution::TransformInPlace(*child, *store, nullptr)) {
            return false;
        }
    }
    for (auto const& outputs : m_run.childResults) {
        for (auto const& [path, data] : outputs) {
            data->AssignRange(start, length, store->GetValue(path));
        }
    }
    return true;
}

}  // namespace zel::vm
