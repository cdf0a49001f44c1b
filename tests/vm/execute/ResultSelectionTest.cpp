// What a graph's result store holds: outputs and store members under plain names, an output
// shadowing an input of its name, and the selection by output keys, whole or in part.

#include <gtest/gtest.h>

#include "vm/execute/GraphTestSupport.h"

namespace zel::vm::test {
namespace {

Value KeyMapOf(std::initializer_list<std::pair<wchar_t const*, Value>> entries) {
    core::StoreValueMap map;
    for (auto const& [name, value] : entries) {
        map.emplace(name, value);
    }
    return core::factory::MakeKeyMap(std::move(map));
}

constexpr std::string_view c_store = R"({"a": {"b": 1, "c": 2}, "keep": 3})";

TEST_F(GraphTest, AnOutputShadowsTheInputOfItsName) {
    Node(0, Yield({{L"a", Int(9)}}));
    Edge({}, {0}, L"~init.a");
    Edge({0}, {}, L"a");
    auto graph = Build(c_store);
    graph->Execute();
    EXPECT_EQ(Result(*graph), R"({"a":9,"keep":3})");
}

TEST_F(GraphTest, OutputKeysSelectWholeValuesPartsOfKeyMapsOrNothing) {
    struct Case {
        std::initializer_list<wchar_t const*> keys;
        std::string expected;
    };
    for (Case const& c : {Case{{L"a.b"}, R"({"a":{"b":1}})"},
                          Case{{L"a.c", L"keep"}, R"({"a":{"c":2},"keep":3})"},
                          Case{{L"a", L"a.b"}, R"({"a":{"b":1,"c":2}})"},
                          Case{{L"keep", L"nothing"}, R"({"keep":3})"},
                          Case{{L"nothing"}, "{}"}}) {
        m_builder = SerialExecutionGraphBuilder::Make();
        auto graph = Build(c_store, c.keys);
        EXPECT_EQ(Result(*graph), c.expected) << c.expected;
    }
}

TEST_F(GraphTest, ABufferBelowAWantedPathIsKeptWholeAndOneBelowAPresentBufferIsNotListed) {
    Node(0, Yield({{L"t.u", KeyMapOf({{L"x", Int(1)}, {L"y", Int(2)}})},
                   {L"v", KeyMapOf({{L"w", Int(3)}})},
                   {L"v.w", Int(4)}}));
    Edge({0}, {}, L"t.u");
    Edge({0}, {}, L"v");
    Edge({0}, {}, L"v.w");
    auto graph = Build("{}", {L"t", L"v"});
    graph->Execute();
    EXPECT_EQ(Result(*graph), R"({"t":{"u":{"x":1,"y":2}},"v":{"w":3}})");
}

TEST_F(GraphTest, TheResultIsACopyThatTheNextRunDoesNotChange) {
    auto const input = core::StoreValueParser::MakeDataStore(c_store);
    auto graph = m_builder->Build(*input, {});
    auto const result = graph->MaterializeDataStore();
    EXPECT_NE(result->GetValue(P(L"keep")).get(), input->GetValue(P(L"keep")).get());
    graph->ClearBuffers({});
    EXPECT_EQ(core::JsonStoreWriter::WriteStore(*result), R"({"a":{"b":1,"c":2},"keep":3})");
}

}  // namespace
}  // namespace zel::vm::test
