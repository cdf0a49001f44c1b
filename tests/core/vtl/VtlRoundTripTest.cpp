// Printing a program and parsing it again gives equal specs, edges and output keys: a property
// test over seeded random programs that use every operator, literal kind, type and awkward name.

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "VtlTestSupport.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::test {
namespace {

using core::FunctionSpec;
using core::KeyPath;
using core::KeySegmentType;
using core::OperatorType;
using core::StoreTypeInfo;
using core::StoreValue;
using core::TransformSpec;
using core::ValueSpec;
namespace factory = core::factory;

class ProgramGenerator {
public:
    explicit ProgramGenerator(unsigned int seed) : m_random(seed) {
        for (int i = 0; i < 3; ++i) {
            m_readable.push_back(KeyPath::FromTexts({L"~init", Name()}).Add(L"v", MaybeType()));
        }
    }

    VtlProgram Make(bool explicitEdges) {
        VtlProgram program;
        unsigned int const count = 1 + Below(8);
        for (unsigned int i = 0; i < count; ++i) {
            m_writtenByStatement.clear();
            program.specs.push_back(Statement(0));
            // What a statement writes, later statements may read.
            for (KeyPath const& output : program.specs.back().GetOutputs()) {
                if (!output.IsEmpty()) {
                    m_readable.push_back(output);
                }
            }
        }
        if (explicitEdges) {
            for (unsigned int e = 0, n = Below(4); e < n; ++e) {
                core::GraphEdge edge;
                edge.retainValue = Chance(2);
                edge.key = Pick(m_readable);
                // Forward only, so that the edges make no cycle.
                unsigned int const split = Below(count + 1);
                for (unsigned int i = 0; i < count; ++i) {
                    if (Chance(3)) {
                        (i < split ? edge.sources : edge.sinks).push_back(i);
                    }
                }
                program.edges.push_back(std::move(edge));
            }
        }
        for (KeyPath const& key : m_topLevelWritten) {
            if (Chance(3)) {
                program.outputKeys.insert(key);
            }
        }
        return program;
    }

private:
    unsigned int Below(unsigned int n) {
        return std::uniform_int_distribution<unsigned int>(0, n - 1)(m_random);
    }
    bool Chance(unsigned int oneIn) { return Below(oneIn) == 0; }
    template <class T>
    T const& Pick(std::vector<T> const& items) {
        return items[Below(static_cast<unsigned int>(items.size()))];
    }

    // Plain words, keywords, and segments that need backquotes.
    TStringCore Name() {
        static std::vector<TStringCore> const names = {
            L"a",       L"b_2",        L"~x",        L"value",
            L"when",    L"_",          L"",          L"two words",
            L"dot.ted", L"back`quote", L"tab\there", L"\u00fcber",
            L"9lives",  L"\U0001F600", L"q\"uote\\", TStringCore(std::wstring_view(L"nul\0l", 5))};
        return TStringCore(Pick(names).str() + std::to_wstring(m_names++));
    }

    KeySegmentType MaybeType() {
        static std::vector<KeySegmentType> const types = {
            KeySegmentType(),
            KeySegmentType(StoreTypeInfo::Double),
            KeySegmentType(StoreTypeInfo::Table),
            KeySegmentType(StoreTypeInfo::Array, StoreTypeInfo::Int64),
            KeySegmentType(StoreTypeInfo::Set,
                           StoreTypeInfo(core::StoreType::String, false, core::Collation::Named(L"nocase"))),
            KeySegmentType(
                StoreTypeInfo(core::StoreType::String, false, core::Collation::Named(L"de-u-ks-level2"))),
            KeySegmentType(StoreTypeInfo::Array),
            KeySegmentType(StoreTypeInfo::KeyMap),
        };
        return Pick(types);
    }

    // A new key: at the top, or under a key already written (whose typed segments it shares). A
    // top-level statement nests only under its own outputs: a value and a key inside it are not
    // written by two statements.
    KeyPath NewKey(unsigned int depth) {
        std::vector<KeyPath> const& parents = depth == 0 ? m_writtenByStatement : m_written;
        KeyPath key = !parents.empty() && Chance(3) ? Pick(parents).Add(Name(), MaybeType())
                                                    : KeyPath(Name(), MaybeType());
        m_written.push_back(key);
        if (depth == 0) {
            m_topLevelWritten.push_back(key);
            m_writtenByStatement.push_back(key);
        }
        return key;
    }

    std::shared_ptr<StoreValue> Literal() {
        std::uniform_int_distribution<std::uint64_t> bits;
        switch (Below(12)) {
            case 0:
                return factory::MakeBool(Chance(2));
            case 1:
                return factory::MakeInt32(Chance(4) ? std::numeric_limits<int>::min()
                                                    : static_cast<int>(bits(m_random)));
            case 2:
                return factory::MakeInt64(Chance(4) ? std::numeric_limits<long long>::min()
                                                    : static_cast<long long>(bits(m_random)));
            case 3:
            case 4: {
                // Any bit pattern: subnormals, huge exponents, negative zero, infinities, nan.
                std::uint64_t const raw = bits(m_random);
                double d = 0;
                float f = 0;
                std::memcpy(&d, &raw, sizeof d);
                std::memcpy(&f, &raw, sizeof f);
                if (Chance(5)) {
                    d = Chance(2) ? -0.0 : std::numeric_limits<double>::infinity();
                }
                return Chance(2) ? factory::MakeDouble(d) : factory::MakeFloat(f);
            }
            case 5: {
                std::wstring text;
                for (unsigned int i = 0, n = Below(6); i < n; ++i) {
                    static std::wstring const alphabet(L"aZ \"\\`\n\t\r\x01\x7f\u00e9\u200b\U0001F600{}#",
                                                       18);
                    text += alphabet[Below(static_cast<unsigned int>(alphabet.size()))];
                }
                return Chance(2) ? factory::MakeString(TStringCore(text))
                                 : factory::MakeString(TStringCore(text), core::Collation::Named(L"nocase"));
            }
            case 6:
                return factory::MakeDate(
                    core::ZelDateTime(Below(3'652'059) * core::ZelDateTime::c_microsPerDay));
            case 7:
                return factory::MakeDateTime(
                    core::ZelDateTime(bits(m_random) % core::ZelDateTime::c_maxValue));
            case 8:
                return factory::MakeColor(core::ZelColor(static_cast<std::uint32_t>(bits(m_random))));
            case 9: {
                KeySegmentType const type = MaybeType();
                return factory::MakeSpecial(type.HasType() ? type.GetMainType() : StoreTypeInfo::Int32,
                                            static_cast<core::SpecialKind>(1 + Below(255)));
            }
            case 10:
                return factory::MakeDouble(Chance(2) ? std::nan("")
                                                     : -std::numeric_limits<double>::infinity());
            default:
                return factory::MakeFloat(Chance(2) ? std::nanf("") : std::numeric_limits<float>::infinity());
        }
    }

    std::shared_ptr<FunctionSpec> Function() {
        static std::vector<TStringCore> const ids = {L"add", L"sort", L"value", L"two words", L"x.y", L""};
        std::vector<ValueSpec> arguments;
        for (unsigned int i = 0, n = Below(4); i < n; ++i) {
            if (Chance(2)) {
                arguments.emplace_back(Literal());
            } else {
                arguments.emplace_back(Chance(8) ? KeyPath::Empty() : Pick(m_readable));
            }
        }
        return FunctionSpec::Make(Pick(ids), arguments);
    }

    TransformSpec Statement(unsigned int depth) {
        auto const type = static_cast<OperatorType>(Below(core::c_operatorTypeCount));
        // The bare When and Else print in their short forms.
        bool const bare = (type == OperatorType::When || type == OperatorType::Else) && Chance(2);
        std::vector<KeyPath> inputs;
        for (unsigned int i = 0, n = bare ? 0 : Below(4); i < n; ++i) {
            inputs.push_back(Chance(8) ? KeyPath::Empty() : Pick(m_readable));
        }
        std::vector<KeyPath> outputs;
        for (unsigned int i = 0, n = bare ? 0 : Below(3); i < n; ++i) {
            outputs.push_back(Chance(8) ? KeyPath::Empty() : NewKey(depth));
        }
        std::vector<TransformSpec> children;
        if (depth < 2 && Chance(4)) {
            for (unsigned int i = 0, n = Below(4); i < n; ++i) {
                children.push_back(Statement(depth + 1));
            }
        }
        // A Filter read without a value takes the table flag false, so its spec always has one.
        return TransformSpec(type, inputs, outputs, Chance(2) ? Function() : nullptr, std::move(children),
                             Chance(3) || type == OperatorType::Filter ? Literal() : nullptr);
    }

    std::mt19937 m_random;
    unsigned int m_names = 0;
    std::vector<KeyPath> m_readable;
    std::vector<KeyPath> m_written;
    std::vector<KeyPath> m_topLevelWritten;  // only these can be output keys: children write no edges
    std::vector<KeyPath> m_writtenByStatement;
};

TEST(VtlRoundTripTest, PrintedProgramsParseBackToEqualSpecs) {
    for (unsigned int seed = 1; seed <= 400; ++seed) {
        bool const explicitEdges = seed % 2 == 0;
        VtlProgram const program = ProgramGenerator(seed).Make(explicitEdges);
        TStringCore const text = core::ProgramToString(
            program.specs, explicitEdges ? &program.edges : nullptr, program.outputKeys);
        SCOPED_TRACE("seed " + std::to_string(seed) + ":\n" + text.ToUtf8());
        VtlProgram parsed;
        ASSERT_NO_THROW(core::ParseVtlPayload(text, parsed.specs, parsed.edges, parsed.outputKeys));
        ASSERT_EQ(parsed.specs.size(), program.specs.size());
        for (std::size_t i = 0; i < program.specs.size(); ++i) {
            ASSERT_EQ(parsed.specs[i], program.specs[i]) << core::TransformToString(parsed.specs[i]);
        }
        if (explicitEdges) {
            EXPECT_EQ(parsed.edges, program.edges);
        } else {
            // Inferred edges are a function of the statements: a second round gives the same.
            VtlProgram again =
                ParseVtl(core::ProgramToString(parsed.specs, nullptr, parsed.outputKeys).ToUtf8());
            EXPECT_EQ(again.edges, parsed.edges);
        }
        EXPECT_EQ(parsed.outputKeys, program.outputKeys);
        // The UTF-8 overload reads the same program.
        EXPECT_EQ(ParseVtl(text.ToUtf8()).specs, parsed.specs);
    }
}

TEST(VtlRoundTripTest, StatementsPrintInTheirShortForms) {
    VtlProgram const program = ParseVtl(R"(
        input ~init.s : table { c : array<string(nocase)> }
        flag : array<double> = Case(~init.s.c, ~init.limit) {
          when gt(~init.limit, 10.0) { flag = Map(~init.s.c) fn `to double`() }
          else { }
        }
        n = Reduce(flag) fn add() value 0L
        Output() fn log("n", n, 1.5f, date("2024-01-31"), null : string(nocase))
        kept = Filter(flag) fn gt(0.0)
    )");
    EXPECT_EQ(Print(program.specs),
              "flag : array<double> = Case((~init.s : table).c : array<string(nocase)>, ~init.limit) { "
              "when gt(~init.limit, 10.0) { flag = Map(~init.s.c) fn `to double`() }; else { } }\n"
              "n = Reduce(flag : array<double>) fn add() value 0L\n"
              "Output() fn log(\"n\", n, 1.5f, date(\"2024-01-31\"), null : string(nocase))\n"
              "kept = Filter(flag : array<double>) fn gt(0.0) value false\n");
}

}  // namespace
}  // namespace zel::test
