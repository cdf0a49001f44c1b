#include "zel/core/vtl/VtlParser.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include "VtlLexer.h"
#include "VtlText.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelException.h"

namespace zel::core {
namespace {

using vtl::SourceLocation;
using vtl::Token;
using vtl::TokenKind;

template <class V>
using PathMap = boost::unordered_flat_map<KeyPath, V, KeyPath::KeyPathTypeAgnosticHash,
                                          KeyPath::KeyPathTypeAgnosticEqualTo>;
using PathSet =
    boost::unordered_flat_set<KeyPath, KeyPath::KeyPathTypeAgnosticHash, KeyPath::KeyPathTypeAgnosticEqualTo>;

// A path as written (untyped) and where it was written.
struct PathUse {
    KeyPath path;
    SourceLocation where;
};

struct ParsedArgument {
    std::optional<PathUse> key;
    std::shared_ptr<StoreValue> value;
};

struct ParsedFunction {
    TStringCore id;
    std::vector<ParsedArgument> arguments;
};

struct ParsedStatement {
    OperatorType type = OperatorType::NoOp;
    SourceLocation where;
    std::vector<PathUse> inputs;
    std::vector<PathUse> outputs;
    std::optional<ParsedFunction> function;
    std::shared_ptr<StoreValue> value;
    std::vector<ParsedStatement> children;
};

struct ParsedEdge {
    PathUse key;
    bool retain = false;
    std::vector<std::pair<unsigned int, SourceLocation>> sources;
    std::vector<std::pair<unsigned int, SourceLocation>> sinks;
};

struct Declaration {
    KeySegmentType type;
    SourceLocation where;
};

std::wstring PathText(KeyPath const& path) {
    return path.IsEmpty() ? std::wstring(L"_") : path.ToString().str();
}

std::wstring Where(SourceLocation const& where) {
    return L"line " + std::to_wstring(where.line) + L", column " + std::to_wstring(where.column);
}

bool IsUnderInit(KeyPath const& path) {
    return !path.IsEmpty() && path.GetSegment(0).GetSegment() == L"~init";
}

// Counts the nesting of the recursive rules; too deep a program is refused, not recursed into.
class NestingGuard {
public:
    NestingGuard(unsigned int& depth, std::wstring_view source, Token const& at) : m_depth(depth) {
        if (++m_depth > vtl::c_maxNesting) {
            vtl::FailAt(ZelError::VtlSyntaxError, source, at.where,
                        L"nesting deeper than " + std::to_wstring(vtl::c_maxNesting) + L" levels");
        }
    }
    ~NestingGuard() { --m_depth; }
    NestingGuard(NestingGuard const&) = delete;
    NestingGuard& operator=(NestingGuard const&) = delete;

private:
    unsigned int& m_depth;
};

class Parser {
public:
    explicit Parser(std::wstring_view source) : m_source(source), m_tokens(vtl::Tokenize(source)) {}

    void Run(std::vector<TransformSpec>& specs, std::vector<GraphEdge>& edges, OutputKeySet& outputKeys) {
        ParseProgram();
        std::vector<TransformSpec> newSpecs;
        newSpecs.reserve(m_statements.size());
        for (ParsedStatement const& statement : m_statements) {
            newSpecs.push_back(MakeSpec(statement));
        }
        std::vector<GraphEdge> newEdges = m_explicitEdges ? CheckExplicitEdges() : InferEdges();
        OutputKeySet newOutputKeys;
        for (PathUse const& output : m_outputDeclarations) {
            newOutputKeys.insert(Typed(output.path));
        }
        specs.insert(specs.end(), std::make_move_iterator(newSpecs.begin()),
                     std::make_move_iterator(newSpecs.end()));
        edges.insert(edges.end(), std::make_move_iterator(newEdges.begin()),
                     std::make_move_iterator(newEdges.end()));
        outputKeys.insert(newOutputKeys.begin(), newOutputKeys.end());
    }

private:
    // ---- tokens -------------------------------------------------------------------------------

    Token const& Current() const { return m_tokens[m_index]; }
    Token const& Peek(std::size_t ahead = 1) const {
        return m_tokens[std::min(m_index + ahead, m_tokens.size() - 1)];
    }
    void Next() {
        if (m_index + 1 < m_tokens.size()) {
            ++m_index;
        }
    }
    bool AcceptPunct(wchar_t c) {
        if (Current().IsPunct(c)) {
            Next();
            return true;
        }
        return false;
    }
    bool AcceptWord(std::wstring_view word) {
        if (Current().IsWord(word)) {
            Next();
            return true;
        }
        return false;
    }

    [[noreturn]] void Expected(std::wstring const& what) const {
        vtl::FailAt(ZelError::VtlSyntaxError, m_source, Current().where,
                    L"expected " + what + L", found " + vtl::DescribeToken(Current()));
    }
    // Where a key is wanted, a keyword in its place is most likely meant as a key.
    [[noreturn]] void ExpectedKey(std::wstring const& what) const {
        Token const& at = Current();
        std::wstring message = L"expected " + what + L", found " + vtl::DescribeToken(at);
        if (at.kind == TokenKind::Word && vtl::IsReservedWord(at.text)) {
            message += L" (a keyword: write `" + at.text + L"` for a key of that name)";
        }
        vtl::FailAt(ZelError::VtlSyntaxError, m_source, at.where, message);
    }
    [[noreturn]] void SyntaxError(SourceLocation const& where, std::wstring const& message) const {
        vtl::FailAt(ZelError::VtlSyntaxError, m_source, where, message);
    }
    [[noreturn]] void ProgramError(SourceLocation const& where, std::wstring const& message) const {
        vtl::FailAt(ZelError::VtlProgramError, m_source, where, message);
    }

    void ExpectPunct(wchar_t c, std::wstring const& context) {
        if (!AcceptPunct(c)) {
            Expected(L"\"" + std::wstring(1, c) + L"\" " + context);
        }
    }

    // ---- program --------------------------------------------------------------------------------

    void ParseProgram() {
        while (Current().kind != TokenKind::End) {
            if (AcceptPunct(L';')) {
                continue;
            }
            if (Current().IsWord(L"input")) {
                ParseInputDeclaration();
            } else if (Current().IsWord(L"output")) {
                ParseOutputDeclaration();
            } else if (Current().IsWord(L"edge")) {
                ParseEdge();
            } else {
                m_statements.push_back(ParseStatement());
            }
        }
    }

    void ParseInputDeclaration() {
        Next();
        do {
            if (!StartsPath(Current())) {
                ExpectedKey(L"a key under ~init after input");
            }
            PathUse use = ParsePathUse();
            if (!IsUnderInit(use.path)) {
                ProgramError(use.where, L"input declares keys of the initial store, and " +
                                            PathText(use.path) + L" is not under ~init");
            }
            if (!m_declarations.contains(use.path)) {
                ProgramError(use.where, L"input " + PathText(use.path) + L" needs a type: write " +
                                            PathText(use.path) + L" : type");
            }
        } while (AcceptPunct(L','));
    }

    void ParseOutputDeclaration() {
        Next();
        do {
            if (!StartsPath(Current())) {
                ExpectedKey(L"a key after output");
            }
            m_outputDeclarations.push_back(ParsePathUse());
        } while (AcceptPunct(L','));
    }

    void ParseIndexList(std::vector<std::pair<unsigned int, SourceLocation>>& indices,
                        std::wstring const& context) {
        ExpectPunct(L'[', context);
        if (!Current().IsPunct(L']')) {
            do {
                Token const& token = Current();
                unsigned int index = 0;
                auto const& text = token.text;
                bool ok =
                    token.kind == TokenKind::Integer && !text.empty() && text[0] != L'-' && text.size() <= 9;
                for (std::size_t i = 0; ok && i < text.size(); ++i) {
                    index = index * 10 + static_cast<unsigned int>(text[i] - L'0');
                }
                if (!ok) {
                    Expected(L"a statement number (0 for the first statement)");
                }
                indices.emplace_back(index, token.where);
                Next();
            } while (AcceptPunct(L','));
        }
        ExpectPunct(L']', L"to close the list of statement numbers");
    }

    void ParseEdge() {
        Next();
        m_explicitEdges = true;
        // "edge none" states that the program has no edges at all.
        if (Current().IsWord(L"none") && !Peek().IsWord(L"retained") && !Peek().IsWord(L"from") &&
            !Peek().IsPunct(L'.') && !Peek().IsPunct(L':')) {
            Next();
            return;
        }
        ParsedEdge edge;
        if (!StartsPath(Current())) {
            ExpectedKey(L"the key of the edge after edge");
        }
        edge.key = ParsePathUse();
        edge.retain = AcceptWord(L"retained");
        if (!AcceptWord(L"from")) {
            Expected(L"retained or from after the key of the edge");
        }
        ParseIndexList(edge.sources, L"after from");
        if (!AcceptWord(L"to")) {
            Expected(L"to after the sources of the edge");
        }
        ParseIndexList(edge.sinks, L"after to");
        m_edges.push_back(std::move(edge));
    }

    // ---- statements -----------------------------------------------------------------------------

    static bool StartsPath(Token const& token) {
        return token.kind == TokenKind::Quoted || token.IsPunct(L'(') ||
               (token.kind == TokenKind::Word && (token.text == L"_" || !vtl::IsReservedWord(token.text)));
    }

    ParsedStatement ParseStatement() {
        NestingGuard guard(m_depth, m_source, Current());
        ParsedStatement statement;
        statement.where = Current().where;
        if (AcceptWord(L"when")) {
            statement.type = OperatorType::When;
            statement.function = ParseFunction();
            if (!Current().IsPunct(L'{')) {
                Expected(L"\"{\" to open the branch of when");
            }
            statement.children = ParseChildren();
            return statement;
        }
        if (AcceptWord(L"else")) {
            statement.type = OperatorType::Else;
            if (!Current().IsPunct(L'{')) {
                Expected(L"\"{\" to open the branch of else");
            }
            statement.children = ParseChildren();
            return statement;
        }
        bool const operatorFirst =
            Current().kind == TokenKind::Word && Peek().IsPunct(L'(') && !vtl::IsReservedWord(Current().text);
        if (!operatorFirst) {
            if (!StartsPath(Current())) {
                ExpectedKey(L"a statement (outputs = Operator(...), Operator(...), when or else)");
            }
            do {
                if (!StartsPath(Current())) {
                    ExpectedKey(L"an output key after \",\"");
                }
                statement.outputs.push_back(ParsePathUse());
            } while (AcceptPunct(L','));
            ExpectPunct(L'=', L"after the outputs of a statement");
        }
        Token const& name = Current();
        if (name.kind != TokenKind::Word) {
            Expected(L"an operator name");
        }
        std::optional<OperatorType> const type = ParseOperatorTypeName(name.text);
        if (!type) {
            Expected(L"an operator name (Map, Filter, Reduce, ...)");
        }
        statement.type = *type;
        Next();
        ExpectPunct(L'(', L"after the operator name");
        if (!Current().IsPunct(L')')) {
            do {
                if (!StartsPath(Current())) {
                    ExpectedKey(L"an input key");
                }
                statement.inputs.push_back(ParsePathUse());
            } while (AcceptPunct(L','));
        }
        ExpectPunct(L')', L"after the inputs");
        if (AcceptWord(L"fn")) {
            statement.function = ParseFunction();
        }
        if (AcceptWord(L"value")) {
            if (!StartsLiteral()) {
                Expected(L"a literal after value");
            }
            statement.value = ParseLiteral();
        } else if (statement.type == OperatorType::Filter) {
            // A Filter's value is its table flag, and a program means the column alone unless it
            // says otherwise.
            statement.value = factory::MakeBool(false);
        }
        if (Current().IsPunct(L'{')) {
            statement.children = ParseChildren();
        }
        return statement;
    }

    std::vector<ParsedStatement> ParseChildren() {
        NestingGuard guard(m_depth, m_source, Current());
        ExpectPunct(L'{', L"to open the children");
        std::vector<ParsedStatement> children;
        for (;;) {
            if (AcceptPunct(L'}')) {
                return children;
            }
            if (AcceptPunct(L';')) {
                continue;
            }
            if (Current().kind == TokenKind::End) {
                Expected(L"\"}\" to close the children");
            }
            if (Current().IsWord(L"input") || Current().IsWord(L"output") || Current().IsWord(L"edge")) {
                SyntaxError(Current().where,
                            Current().text + L" declarations stand at the top of the program only");
            }
            children.push_back(ParseStatement());
        }
    }

    ParsedFunction ParseFunction() {
        ParsedFunction function;
        Token const& name = Current();
        if (name.kind != TokenKind::Word && name.kind != TokenKind::Quoted) {
            Expected(L"a function name");
        }
        function.id = TStringCore(name.text);
        Next();
        ExpectPunct(L'(', L"after the function name");
        if (!Current().IsPunct(L')')) {
            do {
                ParsedArgument argument;
                if (StartsLiteral()) {
                    argument.value = ParseLiteral();
                } else if (StartsPath(Current())) {
                    argument.key = ParsePathUse();
                } else {
                    ExpectedKey(L"a key or a literal as a function argument");
                }
                function.arguments.push_back(std::move(argument));
            } while (AcceptPunct(L','));
        }
        ExpectPunct(L')', L"after the function arguments");
        return function;
    }

    // ---- paths and types ------------------------------------------------------------------------

    TStringCore ParseSegment(bool first) {
        Token const& token = Current();
        if (token.kind == TokenKind::Quoted ||
            (token.kind == TokenKind::Word && !(first && vtl::IsReservedWord(token.text)))) {
            TStringCore text(token.text);
            Next();
            return text;
        }
        if (token.kind == TokenKind::Word) {
            Expected(L"a key (" + token.text + L" is a keyword: write `" + token.text +
                     L"` for a key of that name)");
        }
        ExpectedKey(L"a key segment (a word or a `quoted` segment)");
    }

    // A key with its types: "a.b : T", or with a type on a prefix, "(a : table).b : T". The
    // parentheses are read in a loop, not by recursion, so a path may type all of its prefixes.
    PathUse ParsePathUse() {
        PathUse use;
        use.where = Current().where;
        unsigned int open = 0;
        while (AcceptPunct(L'(')) {
            ++open;
        }
        if (open == 0 && AcceptWord(L"_")) {
            if (Current().IsPunct(L':')) {
                SyntaxError(Current().where, L"the empty key _ has no type");
            }
            return use;
        }
        use.path = KeyPath(ParseSegment(true));
        for (;;) {
            if (AcceptPunct(L'.')) {
                if (use.path.GetCount() >= vtl::c_maxPathSegments) {
                    SyntaxError(use.where, L"a key path holds at most " +
                                               std::to_wstring(vtl::c_maxPathSegments) + L" segments");
                }
                use.path = use.path.Add(ParseSegment(false));
                continue;
            }
            if (Current().IsPunct(L':')) {
                Next();
                SourceLocation const typeAt = Current().where;
                KeySegmentType const type = ParseType(&use.path);
                Declare(use.path, type, typeAt);
            }
            if (open == 0) {
                return use;
            }
            ExpectPunct(L')', L"to close a parenthesised key");
            --open;
        }
    }

    void Declare(KeyPath const& path, KeySegmentType const& type, SourceLocation const& where) {
        auto const [it, inserted] = m_declarations.try_emplace(path, Declaration{type, where});
        if (!inserted && !(it->second.type == type)) {
            std::wstring earlier;
            std::wstring later;
            vtl::AppendType(earlier, it->second.type);
            vtl::AppendType(later, type);
            ProgramError(where, PathText(path) + L" has two types: " + earlier + L" at " +
                                    Where(it->second.where) + L", and " + later + L" here");
        }
    }

    // One type name with its collation, without element type or members.
    StoreTypeInfo ParseTypeInfo() {
        Token const& token = Current();
        std::optional<StoreType> type;
        if (token.kind == TokenKind::Word) {
            std::string name;
            for (wchar_t c : token.text) {
                name += static_cast<char>(c);  // words are ASCII
            }
            type = ParseStoreTypeName(name);
        }
        if (!type) {
            Expected(
                L"a type (bool, int32, int64, float, double, string, date, datetime, color, object, "
                L"tuple, keymap, table, array, set)");
        }
        Next();
        if (*type != StoreType::String || !Current().IsPunct(L'(')) {
            return StoreTypeInfo(*type, false);
        }
        Next();
        Token const& name = Current();
        if (name.kind != TokenKind::Word && name.kind != TokenKind::String) {
            Expected(L"a collation name (binary, nocase, a locale)");
        }
        Collation collation;
        try {
            collation = Collation::Named(TStringCore(name.text));
        } catch (ZelException const&) {
            SyntaxError(name.where, L"unknown collation " + vtl::DescribeToken(name));
        }
        Next();
        ExpectPunct(L')', L"after the collation");
        return StoreTypeInfo(StoreType::String, false, collation);
    }

    // A whole type. Members of a table or keymap ("table { a : array<int32> }") declare the
    // owner's children; without an owner (a literal's type) they are refused.
    KeySegmentType ParseType(KeyPath const* owner) {
        NestingGuard guard(m_depth, m_source, Current());
        StoreTypeInfo const main = ParseTypeInfo();
        StoreType const type = main.GetStoreType();
        if (IsUniformCollectionStoreType(type) && AcceptPunct(L'<')) {
            StoreTypeInfo const child = ParseTypeInfo();
            if (Current().IsPunct(L'<') || Current().IsPunct(L'{')) {
                SyntaxError(Current().where,
                            L"an element type is one name: array<array> holds arrays of any type");
            }
            ExpectPunct(L'>', L"to close the element type");
            return KeySegmentType(main, child);
        }
        // A literal's type takes no members, so that "value null : table { ... }" is a value
        // followed by children.
        if ((type == StoreType::Table || type == StoreType::KeyMap) && owner != nullptr &&
            Current().IsPunct(L'{')) {
            Next();
            if (!Current().IsPunct(L'}')) {
                do {
                    PathUse member;
                    member.where = Current().where;
                    member.path = owner->Add(ParseSegment(false));
                    ExpectPunct(L':', L"after the member name");
                    SourceLocation const typeAt = Current().where;
                    KeySegmentType const memberType = ParseType(&member.path);
                    Declare(member.path, memberType, typeAt);
                } while (AcceptPunct(L','));
            }
            ExpectPunct(L'}', L"to close the members");
        }
        return KeySegmentType(main);
    }

    // ---- literals -------------------------------------------------------------------------------

    bool StartsLiteral() const {
        Token const& token = Current();
        switch (token.kind) {
            case TokenKind::Integer:
            case TokenKind::Integer64:
            case TokenKind::Double:
            case TokenKind::Float:
            case TokenKind::String:
                return true;
            case TokenKind::Word:
                if (token.text == L"true" || token.text == L"false" || token.text == L"null") {
                    return true;
                }
                return Peek().IsPunct(L'(') &&
                       (token.text == L"date" || token.text == L"datetime" || token.text == L"color" ||
                        token.text == L"special" || token.text == L"double" || token.text == L"float");
            default:
                return false;
        }
    }

    StoreTypeInfo ParseLiteralType(wchar_t const* what) {
        ExpectPunct(L':', std::wstring(L"and a type after ") + what);
        SourceLocation const at = Current().where;
        KeySegmentType const type = ParseType(nullptr);
        if (!type.GetChildType().IsEmpty()) {
            SyntaxError(at, L"the type of a literal has no element type");
        }
        return type.GetMainType();
    }

    TStringCore ParseParenthesisedString(std::wstring const& context, SourceLocation& where) {
        ExpectPunct(L'(', L"after " + context);
        if (Current().kind != TokenKind::String) {
            Expected(L"a string in " + context + L"(...)");
        }
        where = Current().where;
        TStringCore text(Current().text);
        Next();
        ExpectPunct(L')', L"after the string");
        return text;
    }

    std::shared_ptr<StoreValue> ParseLiteral() {
        Token const token = Current();
        Next();
        switch (token.kind) {
            case TokenKind::Integer: {
                long long value = 0;
                if (!ParseInteger(token.text, value) || value < std::numeric_limits<int>::min() ||
                    value > std::numeric_limits<int>::max()) {
                    SyntaxError(token.where,
                                L"integer out of the range of int32; write L behind it for int64");
                }
                return factory::MakeInt32(static_cast<int>(value));
            }
            case TokenKind::Integer64: {
                long long value = 0;
                if (!ParseInteger(token.text, value)) {
                    SyntaxError(token.where, L"integer out of the range of int64");
                }
                return factory::MakeInt64(value);
            }
            case TokenKind::Double:
            case TokenKind::Float:
                return ParseFloating(token, token.kind == TokenKind::Float);
            case TokenKind::String:
                if (Current().IsPunct(L':')) {
                    SourceLocation const at = Peek().where;
                    StoreTypeInfo const type = ParseLiteralType(L"the string");
                    if (type.GetStoreType() != StoreType::String) {
                        SyntaxError(at, L"the type of a string literal is string or string(collation)");
                    }
                    return factory::MakeString(TStringCore(token.text), type.GetCollation());
                }
                return factory::MakeString(TStringCore(token.text));
            default:
                break;
        }
        std::wstring const& word = token.text;
        if (word == L"true" || word == L"false") {
            return factory::MakeBool(word == L"true");
        }
        if (word == L"null") {
            return factory::MakeSpecial(ParseLiteralType(L"null"), SpecialKind::Null);
        }
        if (word == L"special") {
            ExpectPunct(L'(', L"after special");
            long long kind = 0;
            if (Current().kind != TokenKind::Integer || !ParseInteger(Current().text, kind) || kind < 1 ||
                kind > 255) {
                Expected(L"a special kind from 1 to 255");
            }
            Next();
            ExpectPunct(L')', L"after the special kind");
            return factory::MakeSpecial(ParseLiteralType(L"special(...)"), static_cast<SpecialKind>(kind));
        }
        if (word == L"date" || word == L"datetime") {
            SourceLocation at;
            TStringCore const text = ParseParenthesisedString(word, at);
            std::optional<ZelDateTime> const value = ZelDateTime::Parse(text.ToUtf8());
            if (!value) {
                SyntaxError(at, L"expected an ISO date such as \"2024-01-31\" or \"2024-01-31T12:00:00\"");
            }
            return word == L"date" ? factory::MakeDate(*value) : factory::MakeDateTime(*value);
        }
        if (word == L"color") {
            ExpectPunct(L'(', L"after color");
            if (Current().kind != TokenKind::Hex || Current().text.size() > 8) {
                Expected(L"a colour as 0xRRGGBBAA");
            }
            std::uint32_t rgba = 0;
            for (wchar_t c : Current().text) {
                rgba = rgba * 16 + static_cast<std::uint32_t>(c <= L'9' ? c - L'0' : (c | 0x20) - L'a' + 10);
            }
            Next();
            ExpectPunct(L')', L"after the colour");
            return factory::MakeColor(ZelColor(rgba));
        }
        // double("nan"), float("-inf"): the values that have no number form.
        bool const isFloat = word == L"float";
        SourceLocation at;
        TStringCore const text = ParseParenthesisedString(word, at);
        double value = 0;
        if (text == L"nan") {
            value = std::numeric_limits<double>::quiet_NaN();
        } else if (text == L"inf") {
            value = std::numeric_limits<double>::infinity();
        } else if (text == L"-inf") {
            value = -std::numeric_limits<double>::infinity();
        } else {
            SyntaxError(at, L"expected \"nan\", \"inf\" or \"-inf\"");
        }
        return isFloat ? factory::MakeFloat(static_cast<float>(value)) : factory::MakeDouble(value);
    }

    static bool ParseInteger(std::wstring const& text, long long& value) {
        std::string narrow(text.begin(), text.end());
        auto const result = std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
        return result.ec == std::errc() && result.ptr == narrow.data() + narrow.size();
    }

    std::shared_ptr<StoreValue> ParseFloating(Token const& token, bool isFloat) const {
        std::string const narrow(token.text.begin(), token.text.end());
        char const* const first = narrow.data();
        char const* const last = first + narrow.size();
        if (isFloat) {
            float value = 0;
            auto const result = std::from_chars(first, last, value);
            if (result.ec != std::errc() || result.ptr != last) {
                SyntaxError(token.where, L"number out of the range of float");
            }
            return factory::MakeFloat(value);
        }
        double value = 0;
        auto const result = std::from_chars(first, last, value);
        if (result.ec != std::errc() || result.ptr != last) {
            SyntaxError(token.where, L"number out of the range of double");
        }
        return factory::MakeDouble(value);
    }

    // ---- specs ----------------------------------------------------------------------------------

    // The path with the declared type of each of its prefixes on its segments.
    KeyPath Typed(KeyPath const& path) const {
        if (path.IsEmpty() || m_declarations.empty()) {
            return path;
        }
        KeyPath::Segments segments;
        KeyPath prefix;
        for (auto const& segment : path.GetSegments()) {
            prefix = prefix.Add(segment);
            auto const found = m_declarations.find(prefix);
            segments.push_back(found == m_declarations.end()
                                   ? segment
                                   : KeySegment::Make(segment->GetSegment(), found->second.type));
        }
        return KeyPath(std::move(segments));
    }

    std::vector<KeyPath> TypedAll(std::vector<PathUse> const& uses) const {
        std::vector<KeyPath> paths;
        paths.reserve(uses.size());
        for (PathUse const& use : uses) {
            paths.push_back(Typed(use.path));
        }
        return paths;
    }

    TransformSpec MakeSpec(ParsedStatement const& statement) const {
        std::shared_ptr<FunctionSpec> function;
        if (statement.function) {
            std::vector<ValueSpec> arguments;
            arguments.reserve(statement.function->arguments.size());
            for (ParsedArgument const& argument : statement.function->arguments) {
                if (argument.key) {
                    arguments.emplace_back(Typed(argument.key->path));
                } else {
                    arguments.emplace_back(argument.value);
                }
            }
            function = FunctionSpec::Make(statement.function->id, arguments);
        }
        std::vector<TransformSpec> children;
        children.reserve(statement.children.size());
        for (ParsedStatement const& child : statement.children) {
            children.push_back(MakeSpec(child));
        }
        TransformSpec spec(statement.type, TypedAll(statement.inputs), TypedAll(statement.outputs), function,
                           std::move(children), statement.value);
        spec.SetSource(std::make_shared<StatementSource const>(vtl::SourceAt(m_source, statement.where)));
        return spec;
    }

    // ---- edges and program rules ----------------------------------------------------------------

    // Who writes each key, and the rules on writes: one writer for a key, none under ~init.
    void CollectWriters() {
        for (unsigned int index = 0; index < m_statements.size(); ++index) {
            for (PathUse const& output : m_statements[index].outputs) {
                if (output.path.IsEmpty()) {
                    continue;
                }
                if (IsUnderInit(output.path)) {
                    ProgramError(output.where, L"cannot write " + PathText(output.path) +
                                                   L": the keys under ~init are the program's inputs");
                }
                auto const [it, inserted] = m_writers.try_emplace(output.path, index, output.where);
                if (!inserted) {
                    ProgramError(output.where,
                                 PathText(output.path) + L" has two writers: the statement at " +
                                     Where(m_statements[it->second.first].where) + L" and this one");
                }
                CheckNotNested(output, index);
            }
        }
    }

    // A statement writes a whole value and another one a key inside it (or around it): the
    // machine would write the part into a value that is not a container while it runs, so the
    // program is refused here. One statement may write a value and its parts.
    void CheckNotNested(PathUse const& output, unsigned int index) const {
        for (auto const& [path, writer] : m_writers) {
            if (writer.first == index || path.GetCount() == output.path.GetCount()) {
                continue;
            }
            bool const inside = path.IsPrefixOf(output.path);
            if (inside || output.path.IsPrefixOf(path)) {
                ProgramError(output.where, L"this statement writes " + PathText(output.path) + L", " +
                                               (inside ? L"inside " : L"around ") + PathText(path) +
                                               L", which the statement at " +
                                               Where(m_statements[writer.first].where) +
                                               L" writes; write the whole value or its parts, not both");
            }
        }
    }

    // The statements that write the key or one of its ancestors, in order.
    std::vector<unsigned int> WritersOf(KeyPath const& key) const {
        std::vector<unsigned int> sources;
        KeyPath prefix;
        for (auto const& segment : key.GetSegments()) {
            prefix = prefix.Add(segment);
            auto const found = m_writers.find(prefix);
            if (found != m_writers.end()) {
                sources.push_back(found->second.first);
            }
        }
        std::sort(sources.begin(), sources.end());
        return sources;
    }

    std::vector<GraphEdge> InferEdges() {
        CollectWriters();
        struct Read {
            unsigned int edge;
            SourceLocation where;
        };
        std::vector<GraphEdge> edges;
        PathMap<unsigned int> edgeOfKey;
        // For each statement, the keys it reads, where it first reads them.
        std::vector<std::vector<Read>> reads(m_statements.size());
        auto addRead = [&](unsigned int index, PathUse const& use) {
            if (use.path.IsEmpty()) {
                return;
            }
            auto [it, inserted] = edgeOfKey.try_emplace(use.path, static_cast<unsigned int>(edges.size()));
            if (inserted) {
                GraphEdge edge;
                edge.key = Typed(use.path);
                edge.sources = WritersOf(use.path);
                if (edge.sources.empty() && !IsUnderInit(use.path) && IsWrittenBelow(use.path)) {
                    // `output` may name such a key, since the result assembles it from its parts;
                    // a statement reads one value, which no statement makes here.
                    ProgramError(use.where, L"nothing writes " + PathText(use.path) +
                                                L" as a whole, only keys under it; read those keys, or "
                                                L"write it in one statement");
                }
                if (edge.sources.empty() && !IsUnderInit(use.path)) {
                    ProgramError(
                        use.where,
                        L"nothing writes " + PathText(use.path) +
                            L", and it is not under ~init; write it in a statement before reading it");
                }
                edges.push_back(std::move(edge));
            }
            GraphEdge& edge = edges[it->second];
            if (edge.sinks.empty() || edge.sinks.back() != index) {
                edge.sinks.push_back(index);
                reads[index].push_back({it->second, use.where});
            }
        };
        for (unsigned int index = 0; index < m_statements.size(); ++index) {
            ParsedStatement const& statement = m_statements[index];
            for (PathUse const& input : statement.inputs) {
                addRead(index, input);
            }
            if (statement.function) {
                for (ParsedArgument const& argument : statement.function->arguments) {
                    if (argument.key) {
                        addRead(index, *argument.key);
                    }
                }
            }
        }
        // A write is read when an edge carries its key or a key under it.
        PathSet readPrefixes;
        for (GraphEdge const& edge : edges) {
            KeyPath prefix;
            for (auto const& segment : edge.key.GetSegments()) {
                prefix = prefix.Add(segment);
                readPrefixes.insert(prefix);
            }
        }
        for (unsigned int index = 0; index < m_statements.size(); ++index) {
            for (PathUse const& output : m_statements[index].outputs) {
                if (!output.path.IsEmpty() && !readPrefixes.contains(output.path)) {
                    readPrefixes.insert(output.path);
                    GraphEdge edge;
                    edge.key = Typed(output.path);
                    edge.sources = WritersOf(output.path);
                    edges.push_back(std::move(edge));
                }
            }
        }
        CheckOutputDeclarations();
        for (GraphEdge& edge : edges) {
            edge.retainValue = edge.sinks.empty() || IsWanted(edge.key);
        }
        CheckAcyclic(edges, [&](unsigned int statement, unsigned int edge) {
            for (Read const& read : reads[statement]) {
                if (read.edge == edge) {
                    return read.where;
                }
            }
            return m_statements[statement].where;
        });
        return edges;
    }

    void CheckOutputDeclarations() const {
        for (PathUse const& output : m_outputDeclarations) {
            if (!output.path.IsEmpty() && !IsUnderInit(output.path) && WritersOf(output.path).empty() &&
                !IsWrittenBelow(output.path)) {
                ProgramError(output.where,
                             L"output " + PathText(output.path) + L" is written by no statement");
            }
        }
    }

    // Some statement writes a key under `key`: the caller may ask for all those parts at once.
    bool IsWrittenBelow(KeyPath const& key) const {
        return std::any_of(m_writers.begin(), m_writers.end(),
                           [&](auto const& writer) { return key.IsPrefixOf(writer.first); });
    }

    // Kept for the caller: named by an output declaration, inside one or holding one. Every key is
    // wanted when the program declares no output.
    bool IsWanted(KeyPath const& key) const {
        if (m_outputDeclarations.empty()) {
            return true;
        }
        for (PathUse const& output : m_outputDeclarations) {
            if (output.path.IsPrefixOf(key) || key.IsPrefixOf(output.path)) {
                return true;
            }
        }
        return false;
    }

    // Fails at a statement of a cycle, if the edges make one. `readAt` says where a statement reads
    // the key of an edge.
    template <class ReadAt>
    void CheckAcyclic(std::vector<GraphEdge> const& edges, ReadAt readAt) const {
        std::size_t const count = m_statements.size();
        // Successors with the edge that links them, and the number of predecessors still pending.
        std::vector<std::vector<std::pair<unsigned int, unsigned int>>> successors(count);
        std::vector<std::vector<std::pair<unsigned int, unsigned int>>> predecessors(count);
        std::vector<unsigned int> pending(count, 0);
        for (unsigned int e = 0; e < edges.size(); ++e) {
            for (unsigned int source : edges[e].sources) {
                for (unsigned int sink : edges[e].sinks) {
                    successors[source].emplace_back(sink, e);
                    predecessors[sink].emplace_back(source, e);
                    ++pending[sink];
                }
            }
        }
        std::vector<unsigned int> ready;
        for (unsigned int i = 0; i < count; ++i) {
            if (pending[i] == 0) {
                ready.push_back(i);
            }
        }
        std::size_t done = 0;
        while (!ready.empty()) {
            unsigned int const node = ready.back();
            ready.pop_back();
            ++done;
            for (auto const& [next, edge] : successors[node]) {
                if (--pending[next] == 0) {
                    ready.push_back(next);
                }
            }
        }
        if (done == count) {
            return;
        }
        // Every statement left has a predecessor left: walk back until one repeats.
        unsigned int node = 0;
        while (pending[node] == 0) {
            ++node;
        }
        std::vector<int> seenAt(count, -1);
        std::vector<std::pair<unsigned int, unsigned int>> walk;  // statement, edge it reads
        while (seenAt[node] < 0) {
            seenAt[node] = static_cast<int>(walk.size());
            for (auto const& [previous, edge] : predecessors[node]) {
                if (pending[previous] != 0) {
                    walk.emplace_back(node, edge);
                    node = previous;
                    break;
                }
            }
        }
        std::wstring keys;
        auto first = walk.begin() + seenAt[node];
        for (auto it = walk.end(); it != first;) {
            --it;
            keys += PathText(edges[it->second].key) + L" -> ";
        }
        keys += PathText(edges[walk.back().second].key);
        ProgramError(
            readAt(walk.back().first, walk.back().second),
            L"this read closes a cycle through " + keys + L"; a statement cannot depend on its own output");
    }

    std::vector<GraphEdge> CheckExplicitEdges() {
        CollectWriters();
        std::vector<GraphEdge> edges;
        auto const count = static_cast<unsigned int>(m_statements.size());
        for (ParsedEdge const& parsed : m_edges) {
            GraphEdge edge;
            edge.key = Typed(parsed.key.path);
            edge.retainValue = parsed.retain;
            for (auto const* list : {&parsed.sources, &parsed.sinks}) {
                for (auto const& [index, where] : *list) {
                    if (index >= count) {
                        ProgramError(where, L"no statement " + std::to_wstring(index) +
                                                L": the program has " + std::to_wstring(count) +
                                                L" statements, numbered from 0");
                    }
                    (list == &parsed.sources ? edge.sources : edge.sinks).push_back(index);
                }
            }
            edges.push_back(std::move(edge));
        }
        CheckOutputDeclarations();
        CheckAcyclic(edges, [&](unsigned int, unsigned int edge) { return m_edges[edge].key.where; });
        return edges;
    }

    std::wstring_view m_source;
    std::vector<Token> m_tokens;
    std::size_t m_index = 0;
    unsigned int m_depth = 0;

    std::vector<ParsedStatement> m_statements;
    std::vector<PathUse> m_outputDeclarations;
    std::vector<ParsedEdge> m_edges;
    bool m_explicitEdges = false;
    PathMap<Declaration> m_declarations;
    PathMap<std::pair<unsigned int, SourceLocation>> m_writers;
};

}  // namespace

void ParseVtlPayload(TStringCore const& text, std::vector<TransformSpec>& specs,
                     std::vector<GraphEdge>& edges, OutputKeySet& outputKeys) {
    Parser(text.view()).Run(specs, edges, outputKeys);
}

void ParseVtlPayload(std::string_view utf8, std::vector<TransformSpec>& specs, std::vector<GraphEdge>& edges,
                     OutputKeySet& outputKeys) {
    TStringCore text;
    try {
        text = TStringCore::FromUtf8(utf8);
    } catch (TStringEncodingException const& e) {
        // Point at the bad byte: its line, and its column counted in the characters before it.
        std::size_t const offset = std::min(e.GetOffset(), utf8.size());
        std::size_t start = offset;
        while (start > 0 && utf8[start - 1] != '\n') {
            --start;
        }
        vtl::SourceLocation where;
        for (std::size_t i = 0; i < start; ++i) {
            where.line += utf8[i] == '\n' ? 1 : 0;
        }
        std::wstring excerpt;
        for (std::size_t i = start; i < offset; ++i) {
            if ((static_cast<unsigned char>(utf8[i]) & 0xC0) != 0x80) {
                ++where.column;
            }
        }
        try {
            excerpt = TStringCore::FromUtf8(utf8.substr(start, offset - start)).str();
        } catch (TStringEncodingException const&) {
            excerpt.assign(where.column - 1, L'?');
        }
        excerpt += L'\uFFFD';
        vtl::FailAt(ZelError::VtlSyntaxError, excerpt, where, L"the program is not valid UTF-8");
    }
    ParseVtlPayload(text, specs, edges, outputKeys);
}

std::vector<std::pair<KeyPath, KeySegmentType>> DeclaredInputTypes(std::vector<GraphEdge> const& edges) {
    std::vector<std::pair<KeyPath, KeySegmentType>> declared;
    for (GraphEdge const& edge : edges) {
        // Every typed segment below ~init, so that a key map's members are read as declared too.
        if (!IsUnderInit(edge.key)) {
            continue;
        }
        for (unsigned int count = 2; count <= edge.key.GetCount(); ++count) {
            KeySegmentType const& type = edge.key.GetSegment(count - 1).GetType();
            if (type.HasType()) {
                declared.emplace_back(edge.key.Slice(1, count - 1), type);
            }
        }
    }
    return declared;
}

}  // namespace zel::core
