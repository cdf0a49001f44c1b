#include "materialize/StatementFailure.h"

#include <cwctype>

#include "materialize/StatementTyping.h"
#include "zel/core/functions/FunctionTypes.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/StoreValue.h"

namespace zel::vm {

namespace {

using core::OperatorType;
using core::ZelError;

// "no inputs", "one input", "3 inputs".
std::wstring Count(std::size_t count, std::wstring const& noun) {
    if (count == 0) {
        return L"no " + noun + L"s";
    }
    return count == 1 ? L"one " + noun : std::to_wstring(count) + L" " + noun + L"s";
}

std::wstring TypeText(core::KeySegmentType const& type) {
    return TStringCore::FromUtf8(core::FormatKeySegmentType(type)).str();
}

bool IsFold(OperatorType type) {
    return type == OperatorType::Reduce || type == OperatorType::Scan || type == OperatorType::ScanRight;
}

// What the parts of one statement are called in a sentence.
class Statement {
public:
    Statement(core::TransformSpec const& spec, StatementLookups const& lookups)
        : m_spec(spec), m_lookups(lookups), m_op(core::OperatorTypeToString(spec.GetOperatorType()).str()) {}

    OperatorType Type() const { return m_spec.GetOperatorType(); }
    std::wstring const& Op() const { return m_op; }
    std::wstring Inputs() const { return Count(m_spec.GetInputs().size(), L"input"); }
    std::wstring Outputs() const { return Count(m_spec.GetOutputs().size(), L"output"); }
    bool HasFunction() const { return m_spec.GetFunctionSpec() != nullptr; }
    std::wstring Function() const {
        return HasFunction() ? m_spec.GetFunctionSpec()->GetFunctionId().str()
                             : std::wstring(L"the function");
    }
    // "a bool", "an int32", or "no value".
    std::wstring Value() const {
        auto const& value = m_spec.GetValue();
        if (value == nullptr) {
            return L"no value";
        }
        std::wstring const type = TypeText(value->GetKeySegmentType());
        return (std::wstring(L"aeiou").find(type.front()) == std::wstring::npos ? L"a " : L"an ") + type;
    }

    // The registered entry of a columnar statement's function, when the build's lookups are at hand.
    core::RegisteredFunctions const* Entry() const {
        if (m_lookups.types == nullptr || m_lookups.functions == nullptr) {
            return nullptr;
        }
        return FunctionEntryOf(m_spec, *m_lookups.types, *m_lookups.functions);
    }
    std::vector<core::KeySegmentType> FunctionInputTypes() const {
        return m_lookups.types == nullptr ? std::vector<core::KeySegmentType>()
                                          : FunctionInputTypesOf(m_spec, *m_lookups.types);
    }
    // The types of all inputs, as the build sees them: "array<int32>, double".
    std::wstring InputTypes() const {
        std::wstring text;
        for (core::KeyPath const& input : m_spec.GetInputs()) {
            text += (text.empty() ? L"" : L", ") + TypeText(m_lookups.types->GetKeySegmentType(input));
        }
        return text;
    }
    bool AtBuild() const { return m_lookups.types != nullptr; }

private:
    core::TransformSpec const& m_spec;
    StatementLookups const& m_lookups;
    std::wstring m_op;
};

std::wstring ExplainUnsupportedTypes(Statement const& s) {
    if (!s.AtBuild()) {
        return L"an input holds no value when the statement runs, or a value of a type it cannot take";
    }
    std::vector<core::KeySegmentType> const inputs = s.FunctionInputTypes();
    core::RegisteredFunctions const* const entry = s.Entry();
    if (entry == nullptr || inputs.empty()) {
        return s.Op() + L" has no instance for inputs of the types " + s.InputTypes();
    }
    std::wstring const result = TypeText(entry->GetOutputType());
    std::wstring const element = TypeText(inputs.back());
    switch (s.Type()) {
        case OperatorType::Map:
            return L"Map has no instance from a column of " + element + L" to " + result + L", which " +
                   s.Function() + L" returns";
        case OperatorType::Filter:
            return L"Filter has no instance over a column of " + element;
        default:
            break;
    }
    if (IsFold(s.Type())) {
        std::wstring const accumulator = TypeText(inputs.front());
        if (inputs.front().GetMainType().GetStoreType() !=
            entry->GetOutputType().GetMainType().GetStoreType()) {
            return L"the accumulator is " + accumulator + L", the type of the value, and " + s.Function() +
                   L" returns " + result + L"; the two must be one type";
        }
        return s.Op() + L" has no instance that folds a column of " + element + L" into " + accumulator;
    }
    return s.Op() + L" has no instance for inputs of the types " + s.InputTypes();
}

std::wstring ExplainFunctionType(Statement const& s) {
    core::RegisteredFunctions const* const entry = s.Entry();
    std::wstring const returns =
        entry == nullptr ? L" returns a type" : L" returns " + TypeText(entry->GetOutputType()) + L",";
    if (s.Type() == OperatorType::Filter) {
        return s.Function() + returns + L" and Filter needs a predicate that returns bool";
    }
    if (s.Type() == OperatorType::Output) {
        return L"Output calls a function that returns nothing, and " + s.Function() + L" returns a value";
    }
    return s.Function() + returns + L" which " + s.Op() + L" cannot take as its result";
}

std::wstring ExplainTableFlag(Statement const& s, std::wstring const& meaning) {
    return L"the value of " + s.Op() + L" is " + meaning + L", true or false, and the statement gives " +
           s.Value();
}

}  // namespace

std::wstring ExplainFailure(ZelError error, core::TransformSpec const& spec,
                            StatementLookups const& lookups) {
    Statement const s(spec, lookups);
    switch (error) {
        case ZelError::UnknownOperator:
            return s.Op() + L" is read by the language, but the machine has no transform for it";
        case ZelError::OperatorNotMaterialised:
            if (s.Type() == OperatorType::When || s.Type() == OperatorType::Else) {
                return L"a when or else branch stands inside a Case, not as a statement of its own";
            }
            if (s.Type() == OperatorType::Block || s.Type() == OperatorType::Call) {
                return L"the machine runs no blocks: a program holds no Block or Call when the machine is "
                       L"made";
            }
            return {};
        case ZelError::SpecError213:
            return L"the function of MultiSort is sort(...), with one order for each column, not " +
                   s.Function();
        case ZelError::SpecError214:
            return L"each argument of sort(...) is the order of one column, \"ASC\" or \"DESC\"";
        case ZelError::SpecError216:
            return L"NoOp makes nothing: it may stand among the children of a statement, which skip it, not "
                   L"on "
                   L"its own";
        case ZelError::SpecError217:
            return s.Op() + L" is a branch of Case and reads no inputs of its own; its statements read them";
        case ZelError::SpecError218:
            return s.Op() +
                   L" is a branch of Case and writes no outputs of its own; its statements write them";
        case ZelError::SpecError219:
            return s.Op() + L" writes one key, and the statement names " + s.Outputs() +
                   (spec.GetOutputs().empty() ? L": write KEY = " + s.Op() + L"(...)" : L"");
        case ZelError::SpecError220:
            return s.Op() + L" takes at least one input, and the statement gives none";
        case ZelError::SpecError222:
            if (s.Type() == OperatorType::Return) {
                return L"Return takes at least one input, and the statement gives none";
            }
            return s.Op() + L" takes one input, and the statement gives " + s.Inputs();
        case ZelError::SpecError223:
            return s.Op() + L" takes at least one input, and the statement gives none";
        case ZelError::SpecError224:
            return s.Op() + L" takes two inputs, and the statement gives " + s.Inputs();
        case ZelError::SpecError225:
            return s.Op() + L" takes at least two inputs, and the statement gives " + s.Inputs();
        case ZelError::SpecError226:
            if (s.Type() == OperatorType::MultiSort) {
                return L"sort(...) gives one order for each column that MultiSort sorts: one order without "
                       L"the table flag, and with it one for each input before the table";
            }
            if (s.Type() == OperatorType::GroupBy || s.Type() == OperatorType::ApplyByPartition) {
                return s.Op() +
                       L" needs at least one partition key, a column of the table, right after the table";
            }
            return s.Op() +
                   L" takes pairs of key columns and then the two tables, at least four inputs, and "
                   L"the statement gives " +
                   s.Inputs();
        case ZelError::SpecError228:
        case ZelError::SpecError232:
            return L"the table flag is set, but the input lies in no table";
        case ZelError::SpecError229:
            return L"the partition keys, columns of the table, stand right after the table and before the "
                   L"captured keys; a column of the table follows a captured key";
        case ZelError::SpecError233:
            return L"Case needs at least one when branch and then one else branch";
        case ZelError::SpecError234:
            return L"every branch of Case but the last is a when branch";
        case ZelError::SpecError235:
            return L"the last branch of Case is an else branch";
        case ZelError::SpecError243:
            if (s.Type() == OperatorType::Case) {
                return L"a when branch of Case needs its condition: when COND { ... }";
            }
            return s.Op() + L" needs a function: add fn NAME(...)";
        case ZelError::SpecError244:
            if (s.Type() == OperatorType::Case && !s.HasFunction()) {
                return L"the else branch of Case takes no function";
            }
            return s.Op() + L" takes no function, and the statement gives " + s.Function() + L"(...)";
        case ZelError::SpecError246:
            return L"Block needs at least one statement in braces";
        case ZelError::SpecError250:
            return s.Op() +
                   L" needs the initial value of its accumulator: add value LITERAL, such as value 0.0";
        case ZelError::SpecError251:
            return ExplainTableFlag(s, L"its table flag");
        case ZelError::SpecError252:
            return ExplainTableFlag(s, L"whether specials count as values");
        case ZelError::SpecError253:
            return L"the value of " + s.Op() + L" is the block's name, a string, and the statement gives " +
                   s.Value();
        case ZelError::SpecError254:
            return L"the value of Index is the number of its first row, an int32, and the statement gives " +
                   s.Value();
        case ZelError::SpecError255:
            return L"Constant takes one input and a value (the constant), or two inputs (the rows and the "
                   L"key "
                   L"of the constant) and no value; the statement gives " +
                   s.Inputs() + L" and " + s.Value();
        case ZelError::SpecError260:
            return s.Op() + L" takes no value, and the statement gives " + s.Value();
        case ZelError::UnsupportedTypes:
            return ExplainUnsupportedTypes(s);
        case ZelError::FunctionTypeMismatch:
            return ExplainFunctionType(s);
        case ZelError::FunctionKindMismatch:
            return s.Function() + L" is a creator function, which " + s.Op() + L" cannot call";
        case ZelError::IndexInputInvalid:
            if (spec.GetInputs().empty()) {
                return {};
            }
            return L"Index numbers the rows of an array or a table, and its input " +
                   spec.GetInputs().front().ToString().str() + L" holds neither";
        case ZelError::CreatorArgumentEmpty:
            return L"an argument of " + s.Function() + L" is the empty key _";
        default:
            // FunctionMissing, KeyNotFound, OutputTypeMismatch, the refusals of functions at run
            // time: their texts say what is wrong.
            return {};
    }
}

bool PointsAtStatement(core::ZelException const& failure) {
    std::wstring_view text = failure.GetText().view();
    auto const skipNumber = [&text](std::wstring_view prefix) {
        if (!text.starts_with(prefix)) {
            return false;
        }
        text.remove_prefix(prefix.size());
        std::size_t digits = 0;
        while (digits < text.size() && std::iswdigit(text[digits])) {
            ++digits;
        }
        text.remove_prefix(digits);
        return digits > 0;
    };
    return skipNumber(L"line ") && skipNumber(L", column ") && text.starts_with(L":");
}

void RethrowAtStatement(core::ZelException const& failure, core::TransformSpec const& spec,
                        StatementLookups const& lookups) {
    if (PointsAtStatement(failure)) {
        throw;
    }
    std::wstring const sentence = ExplainFailure(failure.GetError(), spec, lookups);
    std::wstring const& text = failure.GetText().str();
    std::wstring message = core::OperatorTypeToString(spec.GetOperatorType()).str() + L": ";
    if (!sentence.empty()) {
        message += sentence + (text.empty() ? L"" : L" (" + text + L")");
    } else if (!text.empty()) {
        message += text;
    } else {
        message += lookups.types != nullptr ? L"the machine cannot make this statement"
                                            : L"the statement failed while it ran";
    }
    TStringCore const located = spec.GetSource()
                                    ? core::DescribeAtSource(*spec.GetSource(), TStringCore(message))
                                    : TStringCore(message);
    if (dynamic_cast<core::ZelLogicException const*>(&failure) != nullptr) {
        throw core::ZelLogicException(failure.GetError(), located);
    }
    throw core::ZelRuntimeException(failure.GetError(), located);
}

}  // namespace zel::vm
