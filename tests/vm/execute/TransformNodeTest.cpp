// A node over plain slots: it reads every input, runs the transform, and finds each output either
// as a result of its own or as a member of a key map that the transform yielded for an ancestor.

#include <gtest/gtest.h>

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
    Value Read() override { return ++reads, value; }
    void Write(Value v) override { value = std::move(v); }

    Value value;
    int reads = 0;
};

TransformNode MakeNode(Body body) {
    return TransformNode(
        std::make_shared<TestTransform>(0, std::move(body), std::make_shared<RunLog>(), L""));
}

TEST(TransformNodeTest, OutputsAreFoundDirectlyOrAsMembersOfAnAncestorKeyMap) {
    auto const inner = core::factory::MakeKeyMap(core::StoreValueMap{{L"d", Int(4)}});
    auto const a = core::factory::MakeKeyMap(core::StoreValueMap{{L"b", Int(2)}, {L"c", inner}});
    TransformNode node = MakeNode(Yield({{P(L"a"), a}, {P(L"x"), Int(1)}}));
    EXPECT_TRUE(node.InputsReady()) << "no inputs";
    auto in = std::make_shared<Slot>(Int(7));
    node.AddInput(P(L"in"), in);
    std::vector<std::shared_ptr<Slot>> outs;
    for (wchar_t const* path : {L"x", L"a.b", L"a.c.d", L"a", L"a.none"}) {
        outs.push_back(std::make_shared<Slot>());
        node.AddOutput(P(path), outs.back());
    }
    EXPECT_TRUE(node.Execute(nullptr));
    EXPECT_EQ(in->reads, 1);
    EXPECT_TRUE(outs[0]->value->Equals(*Int(1)));
    EXPECT_EQ(outs[1]->value, a->AsKeyMap().Find(L"b"));
    EXPECT_EQ(outs[2]->value, inner->AsKeyMap().Find(L"d"));
    EXPECT_EQ(outs[3]->value, a);
    EXPECT_FALSE(outs[4]->CanRead()) << "a member that the key map lacks";

    node.AddInput(P(L"empty"), std::make_shared<Slot>());
    EXPECT_FALSE(node.InputsReady());
    ExpectCheckFailure([&] { node.Execute(nullptr); }, core::ZelError::LogicFailure,
                       "(inputBuffer->CanRead())");
}

TEST(TransformNodeTest, AnOutputWithNoValueAtItOrAnyAncestorFailsAfterTheEarlierOutputsAreWritten) {
    for (wchar_t const* path : {L"q", L"p.q.r"}) {
        TransformNode node = MakeNode(Yield({{P(L"x"), Int(1)}, {P(L"p.q.s"), Int(2)}}));
        auto x = std::make_shared<Slot>();
        node.AddOutput(P(L"x"), x);
        node.AddOutput(P(path), std::make_shared<Slot>());
        ExpectCheckFailure([&] { node.Execute(nullptr); }, core::ZelError::BufferNotReadable, "");
        EXPECT_TRUE(x->CanRead());
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
