#include "transform/CreateTableTransform.h"

#include <utility>
#include <vector>

#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

namespace {

class CreateTableTransformImpl final : public CreateTableTransform {
public:
    CreateTableTransformImpl(std::vector<core::KeyPath> inputs, core::KeyPath output)
        : m_inputs(std::move(inputs)), m_output(std::move(output)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        core::StoreValueMap columns;
        // Set by the first column: a table without columns leaves it to the next one.
        unsigned int rowCount = ~0u;
        auto const addColumn = [&](TStringCore const& name, std::shared_ptr<core::StoreValue> const& column) {
            if (columns.contains(name)) {
                throw core::ZelRuntimeException(core::ZelError::DuplicateColumnName, name);
            }
            if (rowCount == ~0u) {
                rowCount = column->GetCount();
            } else if (column->GetCount() != rowCount) {
                ZEL_FAIL(core::ZelError::CreateTableFailure);
            }
            columns.emplace(name, column);
        };
        for (core::KeyPath const& key : m_inputs) {
            std::shared_ptr<core::StoreValue> const& value = inputs.GetValue(key);
            switch (value->GetStoreType()) {
                case core::StoreType::Array:
                    addColumn(key.GetLeaf(), value);
                    break;
                case core::StoreType::Table:
                    for (auto const& [name, column] : value->AsKeyMap().GetEntries()) {
                        addColumn(name, column);
                    }
                    break;
                default:
                    ZEL_FAIL(core::ZelError::CreateTableInputInvalid);
            }
        }
        TransformValues outputs;
        outputs.SetValue(m_output, core::factory::MakeTable(std::move(columns)));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override { return m_inputs; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::CreateTable; }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<CreateTableTransformImpl>(m_inputs, m_output);
    }

private:
    std::vector<core::KeyPath> const m_inputs;
    core::KeyPath const m_output;
};

}  // namespace

std::unique_ptr<CreateTableTransform> CreateTableTransform::Make(OpCreateTableSpec const& spec) {
    return std::make_unique<CreateTableTransformImpl>(spec.GetInputs(), spec.GetOutput());
}

}  // namespace zel::vm
