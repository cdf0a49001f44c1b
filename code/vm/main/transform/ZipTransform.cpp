#include "transform/ZipTransform.h"

#include <algorithm>
#include <span>
#include <utility>

#include "execute/WorkQueue.h"
#include "utility/StridedIndexGenerator.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

namespace {

using core::IStoreArrayOps;
using core::StoreValue;
using Value = std::shared_ptr<StoreValue>;

// The width of one result element: a shared value.
constexpr unsigned int c_tupleElementSize = sizeof(Value);

// One block of result rows, as a task of a work queue. It writes only its own rows of the result.
class ZipTask final : public ITransformTask {
public:
    ZipTask(std::span<IStoreArrayOps const* const> inputs, unsigned int firstRow, unsigned int count,
            std::span<Value> result)
        : m_inputs(inputs), m_firstRow(firstRow), m_count(count), m_result(result) {}

    bool Run(unsigned int) override {
        for (unsigned int row = m_firstRow; row < m_firstRow + m_count; ++row) {
            std::vector<Value> elements;
            elements.reserve(m_inputs.size());
            for (IStoreArrayOps const* input : m_inputs) {
                elements.push_back(input->GetStoreValue(row));
            }
            m_result[row] = core::factory::MakeTuple(std::move(elements));
        }
        return true;
    }

private:
    std::span<IStoreArrayOps const* const> m_inputs;
    unsigned int m_firstRow;
    unsigned int m_count;
    std::span<Value> m_result;
};

// How the number of result rows follows from the inputs' counts.
enum class RowCount {
    Shortest,  // two inputs: the rest of the longer one is never read
    Longest,   // any other number: a shorter input is read past its end
};

template <class Base, RowCount c_rowCount>
class ZipTransformImpl final : public Base {
public:
    ZipTransformImpl(std::vector<core::KeyPath> inputs, core::KeyPath output,
                     std::unique_ptr<IExecutionStrategy> strategy)
        : m_inputPaths(std::move(inputs)), m_outputPath(std::move(output)), m_strategy(std::move(strategy)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        std::vector<Value> values;
        std::vector<IStoreArrayOps const*> arrays;
        values.reserve(m_inputPaths.size());
        arrays.reserve(m_inputPaths.size());
        for (core::KeyPath const& path : m_inputPaths) {
            Value const& value = values.emplace_back(inputs.GetValue(path));
            ZEL_CHECK_NOT_NULL(value, core::ZelError::UnsupportedTypes);
            arrays.push_back(&value->AsArray());
        }
        unsigned int count = 0;
        if constexpr (c_rowCount == RowCount::Shortest) {
            count = std::min(values[0]->GetCount(), values[1]->GetCount());
        } else {
            for (Value const& value : values) {
                count = std::max(count, value->GetCount());
            }
        }

        TransformValues outputs;
        bool const allConstant = std::all_of(values.begin(), values.end(), [](Value const& value) {
            return value->AsCollection().IsConstant();
        });
        if (allConstant && count != 0) {
            std::vector<Value> elements;
            elements.reserve(arrays.size());
            for (IStoreArrayOps const* array : arrays) {
                elements.push_back(array->GetStoreValue(0));
            }
            outputs.SetValue(m_outputPath, core::factory::MakeConstantArray<Value>(
                                               core::StoreTypeInfo::Tuple,
                                               core::factory::MakeTuple(std::move(elements)), count));
            return outputs;
        }

        auto rows = std::make_unique<std::vector<Value>>(count);
        ExecutionParameters const parameters =
            m_strategy->GetExecutionParameters(true, c_tupleElementSize, count);
        // Always in blocks, whatever the parameters say of vectorising: a row costs a tuple anyway.
        std::vector<std::unique_ptr<ITransformTask>> tasks;
        tasks.reserve(count / parameters.blockSize + 1);
        StridedIndexGenerator blocks(0, count, static_cast<int>(parameters.blockSize));
        while (blocks.Next()) {
            tasks.push_back(
                std::make_unique<ZipTask>(arrays, blocks.GetStartIndex(), blocks.GetLength(), *rows));
        }
        MakeWorkQueue(parameters)->Run(tasks);
        outputs.SetValue(m_outputPath,
                         core::factory::MakeArray<Value>(core::StoreTypeInfo::Tuple, std::move(rows)));
        return outputs;
    }

    std::vector<core::KeyPath> GetInputPaths() const override { return m_inputPaths; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_outputPath}; }
    OperatorType GetOperatorType() const override { return OperatorType::Zip; }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<ZipTransformImpl>(m_inputPaths, m_outputPath, m_strategy->Clone());
    }

private:
    std::vector<core::KeyPath> m_inputPaths;
    core::KeyPath m_outputPath;
    std::unique_ptr<IExecutionStrategy> m_strategy;
};

}  // namespace

std::unique_ptr<ZipTransform> ZipTransform::Make(core::KeyPath input1, core::KeyPath input2,
                                                 core::KeyPath output,
                                                 std::unique_ptr<IExecutionStrategy> strategy) {
    return std::make_unique<ZipTransformImpl<ZipTransform, RowCount::Shortest>>(
        std::vector<core::KeyPath>{std::move(input1), std::move(input2)}, std::move(output),
        std::move(strategy));
}

std::unique_ptr<ZipNTransform> ZipNTransform::Make(std::vector<core::KeyPath> inputs, core::KeyPath output,
                                                   std::unique_ptr<IExecutionStrategy> strategy) {
    return std::make_unique<ZipTransformImpl<ZipNTransform, RowCount::Longest>>(
        std::move(inputs), std::move(output), std::move(strategy));
}

}  // namespace zel::vm
