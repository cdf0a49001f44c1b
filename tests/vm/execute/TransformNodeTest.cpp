// A node on its own, over plain slots: reading inputs, running the transform, and finding each
// output, directly or as a member of a key map that the transform yielded for an ancestor.

#include <gtest/gtest.h>

#include "support/CheckFailure.h"
#include "vm/execute/GraphTestSupport.h"
#include "zel/vm/execute/TransformNode.h"

namespace zel::vm::test {
namespace {

// A slot that counts its consuming reads.
class Slot final : public ITransformInputBuffer, public ITransformOutputBuffer {
public:
    explicit Slot(Value value = nullptr) : value(std::move(value)) {}
    bool CanRead() const override { return value != nullptr; }
    Value Peek() const override { return value; }
    Value Read() override {
        ++reads;
        return value;
    }
    void Write(Value v) override { value = std::move(v); }

    Value value;
    int reads = 0;
};

TransformNode MakeNode(Body body, std::shared_ptr<RunLog> log = std::make_shared<RunLog>()) {
    return TransformNode(std::make_shared<TestTransform>(0, std::move(body), std::move(log), L"Test"));
}

TEST(TransformNodeTest, ANodeWithoutInputsIsReadyAndOneWithAnEmptyInputIsNot) {
    TransformNode node = MakeNode(Yield({}));
    EXPECT_TRUE(node.InputsReady());
    node.AddInput(P(L"~init.a"), std::make_shared<Slot>(Int(1)));
    EXPECT_TRUE(node.InputsReady());
    node.AddInput(P(L"b"), std::make_shared<Slot>());
    EXPECT_FALSE(node.InputsReady());
    ExpectCheckFailure([&] { node.Execute(nullptr); }, core::ZelError::LogicFailure, "(inputBuffer->CanRead())");
}

TEST(TransformNodeTest, OutputsAreFoundDirectlyOrAsMembersOfAnAncestorKeyMap) {
    auto const inner = core::factory::MakeKeyMap(zel::core::StoreValueMap{{L"d", Int(4)}});
    auto const keyMap = core::factory::MakeKeyMap(zel::core::StoreValueMap{{L"b", Int(2)}, {L"c", inner}});
    TransformNode node = MakeNode(Yield({{L"a", keyMap}, {L"x", Int(1)}}));
    auto in = std::make_shared<Slot>(Int(7));
    auto x = std::make_shared<Slot>(), ab = std::make_shared<Slot>(), acd = std::make_shared<Slot>(),
         a = std::make_shared<Slot>(), missing = std::make_shared<Slot>();
    node.AddInput(P(L"in"), in);
    node.AddOutput(P(L"x"), x);
    node.AddOutput(P(L"a.b"), ab);
    node.AddOutput(P(L"a.c.d"), acd);
    node.AddOutput(P(L"a"), a);
    node.AddOutput(P(L"a.none"), missing);

    EXPECT_TRUE(node.Execute(nullptr));
    EXPECT_EQ(in->reads, 1);
    EXPECT_TRUE(x->value->Equals(*Int(1)));
    EXPECT_EQ(ab->value.get(), keyMap->AsKeyMap().Find(L"b").get());
    EXPECT_EQ(acd->value.get(), inner->AsKeyMap().Find(L"d").get());
    EXPECT_EQ(a->value.get(), keyMap.get());
    EXPECT_FALSE(missing->CanRead()) << "a member the key map lacks leaves the buffer empty";
}

TEST(TransformNodeTest, AnOutputWithNoValueAtItOrAnyAncestorFailsAfterTheEarlierOutputsWereWritten) {
    for (wchar_t const* path : {L"q", L"p.q.r"}) {
        TransformNode node = MakeNode(Yield({{L"x", Int(1)}, {L"p.q.s", Int(2)}}));
        auto x = std::make_shared<Slot>();
        node.AddOutput(P(L"x"), x);
        node.AddOutput(P(path), std::make_shared<Slot>());
        ExpectCheckFailure([&] { node.Execute(nullptr); }, core::ZelError::BufferNotReadable, "");
        EXPECT_TRUE(x->CanRead()) << "outputs are written in order";
    }
}

TEST(TransformNodeTest, ACancelledTransformConsumesItsInputsAndTouchesNoOutput) {
    FlagSource cancel;
    TransformNode node = MakeNode([&](TransformValues const&, ICancellationTokenSource const* source) {
        EXPECT_EQ(source, &cancel);
        cancel.cancelled = true;
        return TransformValues{{P(L"out"), Int(2)}};
    });
    auto in = std::make_shared<Slot>(Int(1));
    auto out = std::make_shared<Slot>(Int(-1));
    node.AddInput(P(L"in"), in);
    node.AddOutput(P(L"out"), out);

    EXPECT_FALSE(node.Execute(&cancel));
    EXPECT_EQ(in->reads, 1);
    EXPECT_TRUE(out->value->Equals(*Int(-1)));
}

}  // namespace
}  // namespace zel::vm::test
