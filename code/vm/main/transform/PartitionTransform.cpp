#include "transform/PartitionTransform.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "execute/WorkQueue.h"
#include "transform/PartitionStarts.h"
#include "transform/PartitionTask.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/UnorderedMapUtil.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

namespace {

using core::KeyPath;
using core::StoreValue;

// The width of a shared store value, the widest element there is: the strategy sizes its answer
// for the dearest rows.
constexpr unsigned int c_widestElementSize = 16;
// The task vector is reserved for at most this many partitions up front.
constexpr unsigned int c_reservedTasks = 4096;

// The store value of a result column that is dropped right after: its buffers are handed over
// rather than copied.
std::shared_ptr<StoreValue> TakeStoreValue(RawData& data) {
    if (auto* typed = dynamic_cast<TypedRawData<unsigned char>*>(&data)) {
        return typed->ReleaseStoreValue();
    }
    if (auto* typed = dynamic_cast<TypedRawData<unsigned int>*>(&data)) {
        return typed->ReleaseStoreValue();
    }
    if (auto* typed = dynamic_cast<TypedRawData<unsigned long long>*>(&data)) {
        return typed->ReleaseStoreValue();
    }
    if (auto* typed = dynamic_cast<TypedRawData<core::RIndirectString>*>(&data)) {
        return typed->ReleaseStoreValue();
    }
    if (auto* typed = dynamic_cast<TypedRawData<std::shared_ptr<StoreValue>>*>(&data)) {
        return typed->ReleaseStoreValue();
    }
    return data.MakeStoreValue();
}

class PartitionTransformImpl final : public PartitionTransform {
public:
    PartitionTransformImpl(Kind kind, KeyPath inputTable, std::vector<KeyPath> inputColumns,
                           std::vector<KeyPath> capturedKeys, KeyPath output,
                           std::vector<PartitionChild> children, std::unique_ptr<IExecutionStrategy> strategy)
        : m_kind(static_cast<unsigned int>(kind)),
          m_inputTable(std::move(inputTable)),
          m_inputColumns(std::move(inputColumns)),
          m_capturedKeys(std::move(capturedKeys)),
          m_output(std::move(output)),
          m_children(std::move(children)),
          m_strategy(std::move(strategy)) {
        ZEL_CHECK_EXACT(!(m_inputColumns).empty(), core::ZelError::SpecError226);
    }

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override {
        bool const rangeMode = IsRangeMode();
        std::shared_ptr<StoreValue> const& tableValue = inputs.GetValue(m_inputTable);
        core::IStoreTable const& table = tableValue->AsTable();
        unsigned int const rowCount = table.GetRowCount();
        std::vector<std::shared_ptr<StoreValue>> keyColumns;
        keyColumns.reserve(m_inputColumns.size());
        for (KeyPath const& key : m_inputColumns) {
            keyColumns.push_back(table.GetColumn(key.GetLeaf()));
        }

        ExecutionParameters const parameters =
            m_strategy->GetExecutionParameters(true, c_widestElementSize, rowCount);
        // Declared before the tasks and the context that they refer to: when Run returns, by value
        // or by exception, no task runs any more.
        std::unique_ptr<TransformWorkQueue> const queue = MakeWorkQueue(parameters);
        PartitionRunContext run(IsGroupBy(), rangeMode, m_inputTable, m_output, table,
                                MakeBaseStore(inputs, rangeMode), m_children, queue->GetThreadCount(),
                                cancel);

        // Partition p covers the rows from starts[p] up to the next start; under GroupBy the
        // starts are also the rows whose keys the output keeps.
        auto const starts =
            std::make_shared<std::vector<unsigned int>>(FindPartitionStarts(keyColumns, rowCount));
        std::vector<std::unique_ptr<ITransformTask>> tasks;
        tasks.reserve(std::max<std::size_t>(std::min(rowCount / 2, c_reservedTasks), starts->size()));
        for (unsigned int p = 0; p < starts->size(); ++p) {
            unsigned int const first = (*starts)[p];
            unsigned int const end = p + 1 < starts->size() ? (*starts)[p + 1] : rowCount;
            tasks.push_back(std::make_unique<PartitionTask>(run, p, rangeMode, first, end - first));
        }
        run.MakeResults(IsGroupBy() ? static_cast<unsigned int>(starts->size()) : rowCount);
        if (!rangeMode) {
            run.gatheredColumns = ColumnsReadByChildren(table);
        }
        if (!queue->Run(tasks)) {
            return {};
        }

        std::unique_ptr<core::StoreValueMap> columns;
        if (IsGroupBy()) {
            columns = std::make_unique<core::StoreValueMap>();
            for (KeyPath const& key : m_inputColumns) {
                columns->emplace(key.GetLeaf(), table.GetColumn(key.GetLeaf())->AsArray().Gather(starts));
            }
        } else {
            columns = table.CloneColumns();
        }
        for (auto const& [path, data] : run.results) {
            core::InsertUnique(*columns, path.GetLeaf(), TakeStoreValue(*data));
        }
        TransformValues outputs;
        outputs.SetValue(m_output, core::factory::MakeTable(std::move(columns)));
        return outputs;
    }

    std::vector<KeyPath> GetInputPaths() const override {
        std::vector<KeyPath> paths;
        paths.reserve(1 + m_inputColumns.size() + m_capturedKeys.size());
        paths.push_back(m_inputTable);
        paths.insert(paths.end(), m_inputColumns.begin(), m_inputColumns.end());
        paths.insert(paths.end(), m_capturedKeys.begin(), m_capturedKeys.end());
        return paths;
    }
    std::vector<KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override {
        return m_kind > 0 ? OperatorType::GroupBy : OperatorType::ApplyByPartition;
    }

    std::unique_ptr<Transform> Clone() const override {
        std::vector<PartitionChild> children;
        children.reserve(m_children.size());
        for (PartitionChild const& child : m_children) {
            children.push_back(PartitionChild{child.transform->Clone(), child.spec});
        }
        return std::make_unique<PartitionTransformImpl>(static_cast<Kind>(m_kind), m_inputTable,
                                                        m_inputColumns, m_capturedKeys, m_output,
                                                        std::move(children), m_strategy->Clone());
    }

private:
    bool IsGroupBy() const noexcept { return m_kind == static_cast<unsigned int>(Kind::GroupBy); }

    // Every child computes a range of rows, reads nothing under the output and writes exactly one
    // output, under the output. An empty program qualifies.
    bool IsRangeMode() const {
        return std::all_of(m_children.begin(), m_children.end(), [this](PartitionChild const& child) {
            Transform const& transform = *child.transform;
            if (!transform.CanTransformOverRange()) {
                return false;
            }
            std::vector<KeyPath> const inputs = transform.GetInputPaths();
            if (std::any_of(inputs.begin(), inputs.end(),
                            [this](KeyPath const& input) { return m_output.IsPrefixOf(input); })) {
                return false;
            }
            std::vector<KeyPath> const outputs = transform.GetOutputPaths();
            return outputs.size() == 1 && m_output.IsPrefixOf(outputs.front());
        });
    }

    // The store that every partition starts from, made once a run: the inputs, each entry under an
    // ancestor that is an input too left to that ancestor. In gather mode the table and what lies
    // under it are left out, as each task puts in a table of its partition's rows.
    std::unique_ptr<core::IDataStore> MakeBaseStore(TransformValues const& inputs, bool rangeMode) const {
        std::unique_ptr<core::IDataStore> store =
            core::factory::MakeDataStore(core::factory::MakeKeyMap(core::StoreValueMap()));
        for (auto const& [key, value] : inputs) {
            if (!rangeMode && m_inputTable.IsPrefixOf(key)) {
                continue;
            }
            bool const underAnotherInput =
                std::any_of(inputs.begin(), inputs.end(), [&key](auto const& other) {
                    return other.first.GetCount() < key.GetCount() && other.first.IsPrefixOf(key);
                });
            if (!underAnotherInput) {
                store->SetValue(key, value);
            }
        }
        return store;
    }

    // The columns of the table that the children read by their paths, or none (every column) when
    // a child reads the table whole or a key above it.
    std::optional<std::vector<TStringCore>> ColumnsReadByChildren(core::IStoreTable const& table) const {
        std::vector<TStringCore> names;
        unsigned int const depth = m_inputTable.GetCount();
        for (PartitionChild const& child : m_children) {
            for (KeyPath const& input : child.transform->GetInputPaths()) {
                if (input.IsPrefixOf(m_inputTable)) {
                    return std::nullopt;
                }
                if (!m_inputTable.IsPrefixOf(input)) {
                    continue;
                }
                TStringCore const& name = input.GetSegment(depth).GetSegment();
                // A column that an earlier child adds to the partition's table is not gathered.
                if (table.FindColumn(name) && std::find(names.begin(), names.end(), name) == names.end()) {
                    names.push_back(name);
                }
            }
        }
        return names;
    }

    unsigned int const m_kind;
    KeyPath const m_inputTable;
    std::vector<KeyPath> const m_inputColumns;
    std::vector<KeyPath> const m_capturedKeys;
    KeyPath const m_output;
    std::vector<PartitionChild> const m_children;
    std::unique_ptr<IExecutionStrategy> const m_strategy;
};

}  // namespace

std::unique_ptr<PartitionTransform> PartitionTransform::Make(
    Kind kind, KeyPath inputTable, std::vector<KeyPath> inputColumns, std::vector<KeyPath> capturedKeys,
    KeyPath output, std::vector<PartitionChild> children, std::unique_ptr<IExecutionStrategy> strategy) {
    return std::make_unique<PartitionTransformImpl>(kind, std::move(inputTable), std::move(inputColumns),
                                                    std::move(capturedKeys), std::move(output),
                                                    std::move(children), std::move(strategy));
}

}  // namespace zel::vm
