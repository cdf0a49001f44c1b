#pragma once

#pragma GCC visibility push(default)

// A readable trace of a program run step by step by a host: each operator with the values of its
// inputs and outputs, indented by the nesting of blocks and cases, written through the system log.
// It knows nothing of graphs; a host that runs specs one by one calls it around each of them.
//
//   ExecutionLogger logger(ZelLogLevel::Info, 10);
//   logger.Execute(spec, &store);          // the statement and its inputs
//   Execution::TransformInPlace(*transform, store, nullptr);
//   logger.ExecutionResult(spec, &store);  // its outputs
//
// Values are shown by the sample size: 0 shows nothing, c_allElements everything, any other
// number at most that many elements of each value.

#include <boost/unordered/unordered_map.hpp>

#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/utility/ZelLog.h"

namespace zel::vm {

class ExecutionLogger {
public:
    // The keys a block or a branch returns, each under the key it is returned as.
    using ReturnKeyMap =
        boost::unordered_map<core::KeyPath, core::KeyPath, core::KeyPath::KeyPathTypeAgnosticHash,
                             core::KeyPath::KeyPathTypeAgnosticEqualTo>;

    // The sample size that shows whole values.
    static constexpr unsigned int c_allElements = 4294967295u;

    ExecutionLogger(core::ZelLogLevel level, unsigned int sampleSize);
    ~ExecutionLogger();

    // Before an operator runs: its statement and its inputs.
    void Execute(core::TransformSpec const& spec, core::IDataStore* store);
    // After it ran: its outputs.
    void ExecutionResult(core::TransformSpec const& spec, core::IDataStore* store);
    // Enters a block whose inputs are known inside it under `localPaths` (one for each of the
    // first inputs of the TransformSpec; more paths than inputs is std::out_of_range).
    void StartBlock(core::TransformSpec const& spec, std::vector<core::KeyPath> const& localPaths,
                    core::IDataStore* store);
    void EndBlock();
    // Enters a case; one StartWhen or StartElse follows for the branch taken, and EndCase closes both.
    void StartCase(std::vector<core::KeyPath> const& inputs, std::vector<core::KeyPath> const& outputs,
                   core::IDataStore* store);
    void StartWhen(core::FunctionSpec const& condition, core::IDataStore* store);
    void StartElse();
    void EndCase(ReturnKeyMap const& returnKeys, core::IDataStore* store);
    // A block's return.
    void Return(ReturnKeyMap const& returnKeys, core::IDataStore* store);

private:
    // Whether the log takes lines of this logger's level; all text building waits for it.
    bool ShouldLog() const;
    void Log(TStringCore const& text);
    void LogKey(TStringCore const& prefix, core::KeyPath const& key, core::IDataStore const* store);
    void LogKeys(TStringCore const& prefix, std::vector<core::KeyPath> const& keys,
                 core::IDataStore const* store);
    void LogReturnKeys(ReturnKeyMap const& returnKeys, core::IDataStore const* store);

    // The text of a value by the sample size.
    TStringCore ValueText(core::StoreValue const& value) const;

    unsigned int m_indent = 0;
    core::ZelLogLevel m_logLevel;
    unsigned int m_sampleSize;
};

}  // namespace zel::vm

#pragma GCC visibility pop
