#include <algorithm>
#include <limits>

#include "execute/MakeExecutionStrategy.h"

namespace zel::vm {

namespace {

// Below these row counts a column is not worth the threads: the cost of starting workers and of
// splitting the work outweighs what they save. A collection input makes each row dearer, so such
// work goes parallel at a fifth of the row count.
constexpr unsigned int c_parallelRowsWithCollectionInput = 100000;
constexpr unsigned int c_parallelRows = 500000;

class ExecutionStrategy final : public IExecutionStrategy {
public:
    ExecutionStrategy(VMOptions const& options, OperatorType operatorType, bool hasCollectionInput,
                      unsigned char resultStoreType)
        : m_options(options),
          m_operatorType(operatorType),
          m_hasCollectionInput(hasCollectionInput),
          m_resultStoreType(resultStoreType) {}

    std::unique_ptr<IExecutionStrategy> Clone() const override {
        return std::make_unique<ExecutionStrategy>(*this);
    }

    ExecutionParameters GetExecutionParameters(bool canRunInParallel, unsigned int elementSize,
                                               unsigned int rowCount) const override {
        ExecutionParameters parameters;
        parameters.useVectorized = m_options.UseVectorizedTransforms();
        parameters.blockSize =
            ComputeBlockSize(elementSize, rowCount, m_options.GetBaseVectorizationBlockSize());
        parameters.runInParallel =
            canRunInParallel && m_options.UseParallelTransforms() && OperatorGoesParallel(rowCount);
        parameters.maxWorkerThreads = m_options.GetMaxWorkerThreadsToUse();
        return parameters;
    }

private:
    bool OperatorGoesParallel(unsigned int rowCount) const {
        switch (m_operatorType) {
            case OperatorType::ApplyByPartition:
            case OperatorType::GroupBy:
                // Each partition is a whole child program: always worth a thread.
                return true;
            case OperatorType::Filter:
            case OperatorType::Map:
            case OperatorType::ZipWith:
                // A Map's threads make their texts in arenas of their own, which scales. Filter and
                // ZipWith keep their string results serial until they are measured on threads.
                if (m_operatorType != OperatorType::Map &&
                    m_resultStoreType == static_cast<unsigned char>(core::StoreType::String)) {
                    return false;
                }
                return rowCount >= c_parallelRows ||
                       (rowCount >= c_parallelRowsWithCollectionInput && m_hasCollectionInput);
            case OperatorType::Zip:
                // Every row of a zip builds a tuple: dear enough from the lower threshold on.
                return rowCount >= c_parallelRowsWithCollectionInput;
            default:
                return false;
        }
    }

    VMOptions m_options;
    OperatorType m_operatorType;
    bool m_hasCollectionInput;
    unsigned char m_resultStoreType;  // a core::StoreType
};

}  // namespace

std::unique_ptr<IExecutionStrategy> MakeExecutionStrategy(VMOptions const& options, OperatorType type) {
    return std::make_unique<ExecutionStrategy>(options, type, false, static_cast<unsigned char>(0));
}

std::unique_ptr<IExecutionStrategy> MakeExecutionStrategy(VMOptions const& options, OperatorType type,
                                                          std::vector<core::KeySegmentType> const& inputTypes,
                                                          core::KeySegmentType const& outputType) {
    bool const hasCollectionInput =
        std::any_of(inputTypes.begin(), inputTypes.end(), [](core::KeySegmentType const& input) {
            return core::IsCollectionStoreType(input.GetMainType().GetStoreType());
        });
    return std::make_unique<ExecutionStrategy>(
        options, type, hasCollectionInput,
        static_cast<unsigned char>(outputType.GetMainType().GetStoreType()));
}

unsigned int ComputeBlockSize(unsigned int elementSize, unsigned int rowCount, unsigned int baseBlockSize) {
    // In single precision, as the block size has always been computed. An element size of 0 makes
    // the scale infinite, and a large base can exceed 32 bits: both are cut to the largest block,
    // which the row count then bounds.
    float scale = 8.0f / static_cast<float>(elementSize);
    if (!(scale > 1.0f)) {
        scale = 1.0f;
    }
    float const scaled = static_cast<float>(baseBlockSize) * scale;
    constexpr float c_blockLimit = 4294967296.0f;  // 2^32
    unsigned int block =
        scaled < c_blockLimit ? static_cast<unsigned int>(scaled) : std::numeric_limits<unsigned int>::max();
    block = std::max(block, 1u);
    unsigned int const rows = std::max(rowCount, 1u);
    return std::min(block, rows);
}

}  // namespace zel::vm
