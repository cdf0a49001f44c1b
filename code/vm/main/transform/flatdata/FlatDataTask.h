#pragma once

// FlatDataTask<T>: one block of a columnar transform's rows, as a task of a work queue. It reads
// its block of the input as flat spans and hands them to the handler, which calls the function
// once for the block and writes the block's rows of the result buffer. Tasks of one run write
// disjoint rows, so nothing is joined afterwards.

#include <algorithm>
#include <memory>
#include <vector>

#include "transform/flatdata/FlatDataHandler.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StringArena.h"
#include "zel/vm/execute/TransformWorkQueue.h"
#include "zel/vm/transform/RawData.h"

namespace zel::vm {

// One scratch vector of values and one of specials for each thread of a work queue, selected by
// the thread index the queue gives a task. An input whose storage is not flat fills them with a
// block; they are reused from block to block on the same thread. Each thread also has a string
// arena, current while its blocks run, so that the texts a function returns are packed into a
// few chunks per thread rather than a heap block each.
template <class T>
struct FlatDataScratch {
    explicit FlatDataScratch(unsigned int threadCount)
        : values(threadCount), specials(threadCount), arenas(std::make_unique<core::StringArena[]>(threadCount)) {}

    std::vector<std::vector<T>> values;
    std::vector<std::vector<core::SpecialKind>> specials;
    std::unique_ptr<core::StringArena[]> arenas;
};

template <class T>
class FlatDataTask final : public ITransformTask {
public:
    // `inputRow` is the first row of the task's rows in the input, `outputRow` the same row
    // relative to `view`; the task runs its `count` rows forwards in blocks of `blockSize` (its
    // whole count when 0). The handler, the scratch and the input outlive the task.
    FlatDataTask(FlatDataHandler<T>& handler, FlatDataScratch<T>& scratch, core::ITypedArray<T> const& input,
                 bool useSpecial, unsigned int inputRow, unsigned int outputRow, unsigned int count,
                 RawDataView view, unsigned int blockSize = 0)
        : m_handler(handler),
          m_scratch(scratch),
          m_input(input),
          m_useSpecial(useSpecial),
          m_inputRow(inputRow),
          m_outputRow(outputRow),
          m_count(count),
          m_blockSize(blockSize != 0 ? blockSize : count),
          m_view(view) {}

    bool Run(unsigned int threadIndex) override {
        core::StringArena::Scope const arena(m_scratch.arenas[threadIndex]);
        for (unsigned int done = 0; done < m_count; done += m_blockSize) {
            RunBlock(threadIndex, done, std::min(m_blockSize, m_count - done));
        }
        // A block never stops the queue: a flat transform, once begun, runs to its end.
        return true;
    }

private:
    void RunBlock(unsigned int threadIndex, unsigned int offset, unsigned int count) {
        core::ArrayView<T const> const values =
            m_input.GetValuesBlock(m_scratch.values.at(threadIndex), m_inputRow + offset, count);
        if (m_useSpecial) {
            core::ArrayView<core::SpecialKind const> const specials =
                m_input.GetSpecialsBlock(m_scratch.specials.at(threadIndex), m_inputRow + offset, count);
            m_handler.TransformBlockWithSpecials(values, specials, m_view, m_outputRow + offset);
        } else {
            m_handler.TransformBlock(values, m_view, m_outputRow + offset);
        }
    }

    FlatDataHandler<T>& m_handler;
    FlatDataScratch<T>& m_scratch;
    core::ITypedArray<T> const& m_input;
    bool m_useSpecial;
    unsigned int m_inputRow;
    unsigned int m_outputRow;
    unsigned int m_count;
    unsigned int m_blockSize;
    RawDataView m_view;
};

}  // namespace zel::vm
