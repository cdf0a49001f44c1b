#pragma once

// The run of one partition transform: the context that every task of the run shares, and the task
// that runs the child program over one partition. See PartitionTransform.h for the two modes.

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <boost/unordered/unordered_map.hpp>

#include "transform/PartitionTransform.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/KeyPath.h"
#include "zel/vm/execute/TransformWorkQueue.h"
#include "zel/vm/transform/RawData.h"

namespace zel::vm {

// The result column of each child output under the output key, by its path.
using PartitionResults = boost::unordered::unordered_map<core::KeyPath, std::shared_ptr<RawData>,
                                                         core::KeyPath::KeyPathTypeAgnosticHash,
                                                         core::KeyPath::KeyPathTypeAgnosticEqualTo>;

// One thread's own clones of the children, made by the first task that runs on the thread; only
// that thread touches them, so a child's scratch state is never shared.
struct PartitionWorker {
    bool ready = false;
    std::vector<std::unique_ptr<Transform>> children;
    // Range mode: each child's inputs, read from the base store once. The base store does not
    // change during the run, so this is what each partition would read again.
    std::vector<TransformValues> rangeInputs;
};

// What all tasks of one run share. Everything is read-only during the tasks but the result
// columns, of which each task writes its own rows, and the workers, of which each thread uses its
// own.
struct PartitionRunContext {
    PartitionRunContext(bool isGroupBy, bool rangeMode, core::KeyPath tableKey, core::KeyPath outputKey,
                        core::IStoreTable const& table, std::unique_ptr<core::IDataStore> baseStore,
                        std::vector<PartitionChild> const& children, unsigned int threadCount,
                        ICancellationTokenSource const* cancel);

    // Adds the result column of every output of the children's specs under the output key, of
    // `rowCount` rows, and notes for each child where its outputs go.
    void MakeResults(unsigned int rowCount);
    // The thread's clones of the children, made on first use.
    PartitionWorker& Worker(unsigned int threadIndex);
    // Gather mode: the rows [first, first + count) of the table, as a table of their own.
    std::shared_ptr<core::StoreValue> GatherRows(unsigned int first, unsigned int count) const;

    bool const isGroupBy;
    bool const rangeMode;
    PartitionResults results;
    core::KeyPath const tableKey;
    core::KeyPath const outputKey;
    core::IStoreTable const& table;
    std::unique_ptr<core::IDataStore> const baseStore;
    std::vector<PartitionChild> const& children;
    std::vector<PartitionWorker> perThread;
    ICancellationTokenSource const* const cancel;
    // For each child, in order, its outputs under the output key and their result columns.
    std::vector<std::vector<std::pair<core::KeyPath, RawData*>>> childResults;
    // The columns a gathered table holds: those the children read, or every column (none given)
    // when a child reads the table whole.
    std::optional<std::vector<TStringCore>> gatheredColumns;
};

// The children over one partition: rows [firstRow, firstRow + rowCount) of the table, the
// partition of number `index`. Its results go to rows [firstRow, firstRow + rowCount) of each
// result column under ApplyByPartition, and to row `index` under GroupBy.
//
// The rows of a partition are adjacent, so a task holds the first and the count rather than a
// list of row numbers; the list is made only where a gather needs it.
class PartitionTask final : public ITransformTask {
public:
    PartitionTask(PartitionRunContext& run, unsigned int index, bool rangeMode, unsigned int firstRow,
                  unsigned int rowCount)
        : m_run(run), m_index(index), m_rangeMode(rangeMode), m_firstRow(firstRow), m_rowCount(rowCount) {}

    bool Run(unsigned int threadIndex) override;

private:
    bool RunOverRange(PartitionWorker& worker, unsigned int start, unsigned int length) const;
    bool RunGathered(PartitionWorker& worker, unsigned int start, unsigned int length) const;

    PartitionRunContext& m_run;
    unsigned int const m_index;
    bool const m_rangeMode;
    unsigned int const m_firstRow;
    unsigned int const m_rowCount;
};

}  // namespace zel::vm
