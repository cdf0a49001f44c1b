#pragma once

// Transforms whose work is a callable, and a fixture that builds a graph from them.

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "support/CheckFailure.h"
#include "support/FlagCancellationSource.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/vm/materialize/IExecutionGraphBuilder.h"

namespace zel::vm::test {

using core::KeyPath;
using ::zel::test::ExpectCheckFailure;
using Value = std::shared_ptr<core::StoreValue>;
using Body = std::function<TransformValues(TransformValues const&, ICancellationTokenSource const*)>;
using RunLog = std::vector<unsigned int>;

inline KeyPath P(wchar_t const* text) {
    return KeyPath::Parse(text);
}
inline Value Int(int value) {
    return core::factory::MakeInt32(value);
}

// Appends its id to a shared log on every run.
class TestTransform final : public Transform {
public:
    TestTransform(unsigned int id, Body body, std::shared_ptr<RunLog> log, TStringCore metrics)
        : m_id(id), m_body(std::move(body)), m_log(std::move(log)), m_metrics(std::move(metrics)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override {
        m_log->push_back(m_id);
        return m_body(inputs, cancel);
    }
    std::vector<KeyPath> GetInputPaths() const override { return {}; }
    std::vector<KeyPath> GetOutputPaths() const override { return {}; }
    OperatorType GetOperatorType() const override { return OperatorType::Copy; }
    TStringCore GetMetricsString() const override { return m_metrics; }
    std::unique_ptr<Transform> Clone() const override { return std::make_unique<TestTransform>(*this); }

private:
    unsigned int m_id;
    Body m_body;
    std::shared_ptr<RunLog> m_log;
    TStringCore m_metrics;
};

// Yields `outputs` whatever the inputs.
inline Body Yield(TransformValues outputs = {}) {
    return [outputs](TransformValues const&, ICancellationTokenSource const*) { return outputs; };
}

// Yields under `to` the sum of the int32 inputs at `from`.
inline Body Sum(std::initializer_list<wchar_t const*> paths, wchar_t const* to) {
    std::vector<KeyPath> from;
    for (wchar_t const* path : paths) {
        from.push_back(P(path));
    }
    return [from, to = P(to)](TransformValues const& inputs, ICancellationTokenSource const*) {
        int sum = 0;
        for (KeyPath const& path : from) {
            sum += core::FetchStoreValue<int>(inputs.GetValue(path));
        }
        return TransformValues{{to, Int(sum)}};
    };
}

using FlagSource = ::zel::test::FlagCancellationSource;

class GraphTest : public ::testing::Test {
protected:
    void Node(unsigned int id, Body body = Yield(), TStringCore metrics = L"Test") {
        m_builder->AddNode(id,
                           std::make_shared<TestTransform>(id, std::move(body), m_log, std::move(metrics)));
    }
    void Edge(std::vector<unsigned int> const& sources, std::vector<unsigned int> const& sinks,
              wchar_t const* key, bool retain = true) {
        m_builder->AddEdge(sources, sinks, P(key), retain);
    }
    std::unique_ptr<IExecutionGraph> Build(std::string_view json = "{}",
                                           std::vector<wchar_t const*> keys = {}) {
        OutputKeySet outputKeys;
        for (wchar_t const* key : keys) {
            outputKeys.insert(P(key));
        }
        return m_builder->Build(*core::StoreValueParser::MakeDataStore(json), outputKeys);
    }
    // The working store of a second run: the inputs under "~init".
    static void Feed(IExecutionGraph& graph, std::string_view inputs = "{}") {
        graph.ClearBuffers({});
        auto const store = core::StoreValueParser::MakeDataStore("{\"~init\": " + std::string(inputs) + "}");
        graph.UpdateInputs({}, *store);
    }
    static std::string Result(IExecutionGraph const& graph) {
        return core::JsonStoreWriter::WriteStore(*graph.MaterializeDataStore());
    }

    std::shared_ptr<RunLog> m_log = std::make_shared<RunLog>();
    std::unique_ptr<SerialExecutionGraphBuilder> m_builder = SerialExecutionGraphBuilder::Make();
};

}  // namespace zel::vm::test
