#pragma once

// Small transforms and a graph-building helper for the tests of nodes, buffers and graphs.

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/CheckFailure.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/vm/execute/IExecutionGraph.h"
#include "zel/vm/materialize/IExecutionGraphBuilder.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm::test {

using ::zel::test::ExpectCheckFailure;
using core::KeyPath;
using Value = std::shared_ptr<core::StoreValue>;
using Body = std::function<TransformValues(TransformValues const& inputs, ICancellationTokenSource const* cancel)>;
using RunLog = std::vector<unsigned int>;

inline KeyPath P(wchar_t const* text) {
    return KeyPath::Parse(text);
}

inline Value Int(int value) {
    return core::factory::MakeInt32(value);
}

// A transform whose work is a callable; every run appends its id to a shared log.
class TestTransform final : public Transform {
public:
    TestTransform(unsigned int id, Body body, std::shared_ptr<RunLog> log, TStringCore metrics)
        : m_id(id), m_body(std::move(body)), m_log(std::move(log)), m_metrics(std::move(metrics)) {}

    TransformValues DoTransform(TransformValues const& inputs, ICancellationTokenSource const* cancel) const override {
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

// A body that yields `values` whatever its inputs.
inline Body Yield(std::initializer_list<std::pair<wchar_t const*, Value>> values) {
    TransformValues outputs;
    for (auto const& [path, value] : values) {
        outputs.SetValue(P(path), value);
    }
    return [outputs](TransformValues const&, ICancellationTokenSource const*) { return outputs; };
}

// A body that yields, under `to`, the sum of the int32 inputs at `from`.
inline Body Sum(std::vector<std::wstring> from, wchar_t const* to) {
    return [from = std::move(from), to = P(to)](TransformValues const& inputs, ICancellationTokenSource const*) {
        int sum = 0;
        for (auto const& path : from) {
            sum += core::FetchStoreValue<int>(inputs.GetValue(P(path.c_str())));
        }
        TransformValues outputs;
        outputs.SetValue(to, Int(sum));
        return outputs;
    };
}

// A cancellation source that the test (or a transform) flips.
class FlagSource final : public ICancellationTokenSource {
public:
    bool IsCancellationRequested() const override { return cancelled; }
    bool cancelled = false;
};

// Builds a graph node by node and edge by edge, and runs the log of which node ran when.
class GraphTest : public ::testing::Test {
protected:
    void Node(unsigned int id, Body body = Yield({}), TStringCore metrics = L"Test") {
        m_builder->AddNode(id, std::make_shared<TestTransform>(id, std::move(body), m_log, std::move(metrics)));
    }
    void Edge(std::vector<unsigned int> const& sources, std::vector<unsigned int> const& sinks, wchar_t const* key,
              bool retain = true) {
        m_builder->AddEdge(sources, sinks, P(key), retain);
    }
    std::unique_ptr<IExecutionGraph> Build(std::string_view json = "{}",
                                           std::initializer_list<wchar_t const*> outputKeys = {}) {
        OutputKeySet keys;
        for (wchar_t const* key : outputKeys) {
            keys.insert(P(key));
        }
        return m_builder->Build(*core::StoreValueParser::MakeDataStore(json), keys);
    }

    static std::string Result(IExecutionGraph const& graph) {
        return core::JsonStoreWriter::WriteStore(*graph.MaterializeDataStore());
    }

    std::shared_ptr<RunLog> m_log = std::make_shared<RunLog>();
    std::unique_ptr<SerialExecutionGraphBuilder> m_builder = SerialExecutionGraphBuilder::Make();
};

}  // namespace zel::vm::test
