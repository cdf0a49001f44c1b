#pragma once

// Partition: GroupBy and ApplyByPartition, the one operator that runs a child program many times
// over. It splits a table into partitions of adjacent rows with equal values in the partition keys
// and runs its children once for each partition, as tasks of a work queue, possibly on several
// threads. Only adjacent rows form a partition: a table that is not grouped on its keys yields a
// partition per run, and a program that wants whole groups sorts first.
//
//   GroupBy           one output row per partition, in the order the partitions first appear:
//                     the key columns and the children's results.
//   ApplyByPartition  one output row per input row, where it stood: every input column and the
//                     children's results, each partition's result in that partition's rows.
//
// The children's results are the outputs they write under the partition's output key; each goes
// to a column named by the leaf of its path, of the element type its path declares.
//
// Two ways to run a partition:
//   range mode   when every child can compute a range of rows, reads nothing under the output
//                and writes exactly one output under it: each child computes this partition's
//                rows from the whole table in one shared store, straight into its result column.
//                No table is gathered and no store is made per partition.
//   gather mode  otherwise: the partition's rows are gathered into a table of their own, put into
//                a store of the task's own, and the children run there in place.
//
// Children are cloned at most once per thread and never parallelise themselves: the threads are
// taken up by the partitions. Cancellation is polled at the start of each task; a cancelled run
// returns no output.

#include <memory>
#include <vector>

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

// A child of the per-partition program: its transform and the TransformSpec it was made from.
struct PartitionChild {
    std::unique_ptr<Transform> transform;
    core::TransformSpec spec;
};

class PartitionTransform : public Transform {
public:
    enum class Kind : unsigned int {
        ApplyByPartition = 0,
        GroupBy = 1,
    };

    // `inputColumns` are the partition keys, columns of `inputTable`; `capturedKeys` the other
    // values the children may read. No partition key is a failed check, "!(m_inputColumns).empty()"
    // (SpecError226).
    static std::unique_ptr<PartitionTransform> Make(Kind kind, core::KeyPath inputTable,
                                                    std::vector<core::KeyPath> inputColumns,
                                                    std::vector<core::KeyPath> capturedKeys,
                                                    core::KeyPath output,
                                                    std::vector<PartitionChild> children,
                                                    std::unique_ptr<IExecutionStrategy> strategy);

protected:
    PartitionTransform() = default;
};

}  // namespace zel::vm
