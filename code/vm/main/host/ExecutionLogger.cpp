#include "zel/vm/host/ExecutionLogger.h"

#include <stdexcept>

#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/vtl/VtlPrinter.h"

namespace zel::vm {

namespace {

// The keys' texts with one blank between them.
TStringCore JoinKeys(std::vector<core::KeyPath> const& keys) {
    TStringCore text;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (i > 0) {
            text += L" ";
        }
        text += keys[i].ToString();
    }
    return text;
}

}  // namespace

ExecutionLogger::ExecutionLogger(core::ZelLogLevel level, unsigned int sampleSize)
    : m_logLevel(level), m_sampleSize(sampleSize) {}

ExecutionLogger::~ExecutionLogger() = default;

void ExecutionLogger::Execute(core::TransformSpec const& spec, core::IDataStore* store) {
    if (!ShouldLog()) {
        return;
    }
    Log(core::TransformToString(spec));
    LogKeys(L"  Input: ", spec.GetInputs(), store);
}

void ExecutionLogger::ExecutionResult(core::TransformSpec const& spec, core::IDataStore* store) {
    if (!ShouldLog()) {
        return;
    }
    LogKeys(L"  Output: ", spec.GetOutputs(), store);
}

void ExecutionLogger::StartBlock(core::TransformSpec const& spec,
                                 std::vector<core::KeyPath> const& localPaths, core::IDataStore* store) {
    if (!ShouldLog()) {
        // The depth is kept up all the same, so that turning the log on mid-run keeps the layout.
        ++m_indent;
        return;
    }
    Log(core::TransformToString(spec));
    ++m_indent;
    std::vector<core::KeyPath> const& inputs = spec.GetInputs();
    for (std::size_t i = 0; i < localPaths.size(); ++i) {
        if (i >= inputs.size()) {
            throw std::out_of_range("invalid vector<T> subscript");
        }
        Log(L"Input: " + inputs[i].ToString() + L" --> " + localPaths[i].ToString());
        // The value is looked up under its path outside the block.
        LogKey(L"  ", inputs[i], store);
    }
}

void ExecutionLogger::EndBlock() {
    --m_indent;
}

void ExecutionLogger::StartCase(std::vector<core::KeyPath> const& inputs,
                                std::vector<core::KeyPath> const& outputs, core::IDataStore* store) {
    if (ShouldLog()) {
        Log(JoinKeys(inputs) + L" -> case -> " + JoinKeys(outputs));
        LogKeys(L"  Input: ", inputs, store);
    }
    ++m_indent;
}

void ExecutionLogger::StartWhen(core::FunctionSpec const& condition, core::IDataStore* store) {
    if (ShouldLog()) {
        Log(L"-> when (" + core::FunctionToString(condition) + L") ->");
        for (core::ValueSpec const& argument : condition.GetFunctionInputs()) {
            if (argument.IsKey()) {
                LogKey(L"  Input: ", argument.GetKeyPath(), store);
            } else {
                Log(L"  Input: " + (argument.GetValue() ? ValueText(*argument.GetValue()) : TStringCore()));
            }
        }
    }
    ++m_indent;
}

void ExecutionLogger::StartElse() {
    Log(L"-> else ->");
    ++m_indent;
}

void ExecutionLogger::EndCase(ReturnKeyMap const& returnKeys, core::IDataStore* store) {
    // One level for the branch, one for the case.
    m_indent -= 2;
    LogReturnKeys(returnKeys, store);
}

void ExecutionLogger::Return(ReturnKeyMap const& returnKeys, core::IDataStore* store) {
    if (!ShouldLog()) {
        return;
    }
    LogReturnKeys(returnKeys, store);
}

bool ExecutionLogger::ShouldLog() const {
    return core::GetZelLogger().AcceptsLogLevel(m_logLevel);
}

void ExecutionLogger::Log(TStringCore const& text) {
    // ZelLog filters by level itself.
    core::ZelLog(m_logLevel, TStringCore(std::wstring(std::size_t{m_indent} * 2, L' ')) + text);
}

void ExecutionLogger::LogKey(TStringCore const& prefix, core::KeyPath const& key,
                             core::IDataStore const* store) {
    if (store == nullptr) {
        return;
    }
    std::shared_ptr<core::StoreValue> const value = store->FindValue(key);
    Log(prefix + key.ToString() + L": " + (value ? ValueText(*value) : TStringCore(L"Not Found")));
}

void ExecutionLogger::LogKeys(TStringCore const& prefix, std::vector<core::KeyPath> const& keys,
                              core::IDataStore const* store) {
    for (core::KeyPath const& key : keys) {
        LogKey(prefix, key, store);
    }
}

void ExecutionLogger::LogReturnKeys(ReturnKeyMap const& returnKeys, core::IDataStore const* store) {
    for (auto const& [key, value] : returnKeys) {
        Log(L"Output: " + key.ToString() + L" --> " + value.ToString());
        LogKey(L"  ", value, store);
    }
}

TStringCore ExecutionLogger::ValueText(core::StoreValue const& value) const {
    if (m_sampleSize == 0) {
        return TStringCore();
    }
    if (m_sampleSize == c_allElements) {
        return core::SerializeValue(value);
    }
    return core::SerializeValue(*core::SampleStoreValue(value, m_sampleSize));
}

}  // namespace zel::vm
