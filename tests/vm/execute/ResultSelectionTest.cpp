// What a graph's result store holds: outputs and store members under plain names, an output
// shadowing the input of its name, and the selection by output keys, of whole values or parts.

#include <gtest/gtest.h>

#include "vm/execute/GraphTestSupport.h"

namespace zel::vm::test {
namespace {

constexpr std::string_view c_store = R"({"a": {"b": 1, "c": 2}, "keep": 3})";

TEST_F(GraphTest, AnOutputShadowsTheInputOfItsName) {
    Node(0, Yield({{P(L"a"), Int(9)}}));
    Edge({}, {0}, L"~init.a");
    Edge({0}, {}, L"a");
    auto graph = Build(c_store);
    graph->Execute();
    EXPECT_EQ(Result(*graph), R"({"a":9,"keep":3})");
}

TEST_F(GraphTest, OutputKeysSelectWholeValuesPartsOfKeyMapsOrNothing) {
    std::vector<std::pair<std::vector<wchar_t const*>, std::string>> const cases = {
        {{L"a.b"}, R"({"a":{"b":1}})"},
        {{L"a.c", L"keep"}, R"({"a":{"c":2},"keep":3})"},
        {{L"a", L"a.b"}, R"({"a":{"b":1,"c":2}})"},
        {{L"keep", L"nothing"}, R"({"keep":3})"},
        {{L"nothing"}, "{}"}};
    for (auto const& [keys, expected] : cases) {
        m_builder = SerialExecutionGraphBuilder::Make();
        EXPECT_EQ(Result(*Build(c_store, keys)), expected);
    }
    // A wanted member that a present value lacks is an error, not a smaller result.
    m_builder = SerialExecutionGraphBuilder::Make();
    auto graph = Build(c_store, {L"a.nope"});
    zel::test::ExpectRuntimeError([&] { Result(*graph); }, core::ZelError::KeyNotFound, "nope");
}

TEST_F(GraphTest, ABufferBelowAWantedPathIsKeptWholeAndOneBelowAnotherBufferIsLeftOut) {
    auto const u = core::factory::MakeKeyMap(core::StoreValueMap{{L"x", Int(1)}, {L"y", Int(2)}});
    auto const v = core::factory::MakeKeyMap(core::StoreValueMap{{L"w", Int(3)}});
    Node(0, Yield({{P(L"t.u"), u}, {P(L"v"), v}, {P(L"v.w"), Int(4)}}));
    Edge({0}, {}, L"t.u");
    Edge({0}, {}, L"v");
    Edge({0}, {}, L"v.w");
    auto graph = Build("{}", {L"t", L"v"});
    graph->Execute();
    EXPECT_EQ(Result(*graph), R"({"t":{"u":{"x":1,"y":2}},"v":{"w":3}})");
}

TEST_F(GraphTest, TheResultIsACopyThatOutlivesTheBuffers) {
    auto const input = core::StoreValueParser::MakeDataStore(c_store);
    auto graph = m_builder->Build(*input, {});
    auto const result = graph->MaterializeDataStore();
    EXPECT_NE(result->GetValue(P(L"keep")), input->GetValue(P(L"keep")));
    graph->ClearBuffers({});
    EXPECT_EQ(core::JsonStoreWriter::WriteStore(*result), R"({"a":{"b":1,"c":2},"keep":3})");
}

}  // namespace
}  // namespace zel::vm::test
