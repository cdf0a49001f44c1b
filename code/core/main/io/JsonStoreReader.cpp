#include "io/JsonStoreReader.h"

#include <simdjson.h>

#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "io/JsonParserCache.h"
#include "io/ReadInPieces.h"
#include "io/StoreFormatCommon.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/StringArena.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelException.h"

// The document is parsed with simdjson's DOM, which picks the fastest kernel for the processor at
// run time. The DOM keeps no source positions, so a failure finds its line and column afterwards:
// the on-demand API walks to the JSON pointer of the failing value (or, for text that is no JSON,
// to the first token it cannot read) and reports where that token starts.

namespace zel::core::io_detail {

namespace {

namespace dom = simdjson::dom;
namespace od = simdjson::ondemand;
using ValuePtr = std::shared_ptr<StoreValue>;
using Type = dom::element_type;

// Where a value sits, and so what a bare `null` or a {"$special": ...} object means there.
enum class Slot {
    Entry,    // a key map entry, a table column, the root: null has no type and is an error
    Tuple,    // a tuple element or what an object holds: null is no value (a null pointer)
    Element,  // an element of a typed array of values: null and {"$special": ...} are specials
};

// ----- locating a failure in the text

// The offset of the first token of the text that the on-demand walk cannot read, or that is nested
// deeper than the limit; nullopt when the whole text reads.
class SyntaxLocator {
public:
    explicit SyntaxLocator(simdjson::padded_string const& text) : m_text(text) {}

    std::size_t Locate(std::string& what) {
        od::document document;
        if (auto const error = m_parser.iterate(m_text).get(document)) {
            what = simdjson::error_message(error);
            return 0;
        }
        od::value value;
        if (auto const error = document.get_value().get(value)) {
            what = simdjson::error_message(error);
            return Offset(document);
        }
        if (!Walk(value, 1, what)) {
            return m_failure;
        }
        if (char const* at = nullptr; document.current_location().get(at) == simdjson::SUCCESS) {
            what = "text after the end of the document";
            return static_cast<std::size_t>(at - m_text.data());
        }
        what = "malformed JSON";
        return 0;
    }

private:
    std::size_t Offset(od::document& document) {
        char const* at = nullptr;
        if (document.current_location().get(at) != simdjson::SUCCESS) {
            return m_text.size();
        }
        return static_cast<std::size_t>(at - m_text.data());
    }

    bool Failed(char const* at, simdjson::error_code error, std::string& what) {
        what = simdjson::error_message(error);
        m_failure = static_cast<std::size_t>(at - m_text.data());
        return false;
    }

    bool Walk(od::value& value, unsigned depth, std::string& what) {
        char const* const at = value.raw_json_token().data();
        od::json_type type;
        if (auto const error = value.type().get(type)) {
            return Failed(at, error, what);
        }
        if ((type == od::json_type::object || type == od::json_type::array) &&
            depth > StoreValueParser::c_maxJsonDepth) {
            what = "nesting deeper than " + std::to_string(StoreValueParser::c_maxJsonDepth) + " levels";
            m_failure = static_cast<std::size_t>(at - m_text.data());
            return false;
        }
        simdjson::error_code error = simdjson::SUCCESS;
        switch (type) {
            case od::json_type::object: {
                od::object object;
                if ((error = value.get_object().get(object))) {
                    break;
                }
                for (auto fieldResult : object) {
                    od::field field;
                    std::string_view key;
                    if ((error = std::move(fieldResult).get(field)) ||
                        (error = field.unescaped_key().get(key))) {
                        break;
                    }
                    od::value child = field.value();
                    if (!Walk(child, depth + 1, what)) {
                        return false;
                    }
                }
                break;
            }
            case od::json_type::array: {
                od::array array;
                if ((error = value.get_array().get(array))) {
                    break;
                }
                for (auto elementResult : array) {
                    od::value child;
                    if ((error = std::move(elementResult).get(child))) {
                        break;
                    }
                    if (!Walk(child, depth + 1, what)) {
                        return false;
                    }
                }
                break;
            }
            case od::json_type::number: {
                od::number number;
                error = value.get_number().get(number);
                break;
            }
            case od::json_type::string: {
                std::string_view text;
                error = value.get_string().get(text);
                break;
            }
            case od::json_type::boolean: {
                bool flag = false;
                error = value.get_bool().get(flag);
                break;
            }
            case od::json_type::null: {
                bool isNull = false;
                error = value.is_null().get(isNull);
                if (!error && !isNull) {
                    error = simdjson::N_ATOM_ERROR;
                }
                break;
            }
        }
        return error ? Failed(at, error, what) : true;
    }

    simdjson::padded_string const& m_text;
    od::parser m_parser;
    std::size_t m_failure = 0;
};

// The offset of the value at a JSON pointer, or of its nearest ancestor that the walk finds.
std::size_t LocatePointer(simdjson::padded_string const& text, std::vector<std::string> const& path) {
    for (std::size_t length = path.size(); length > 0; --length) {
        std::string pointer;
        for (std::size_t i = 0; i < length; ++i) {
            pointer += '/';
            for (char const c : path[i]) {
                pointer += c == '~' ? "~0" : (c == '/' ? "~1" : std::string(1, c));
            }
        }
        od::parser parser;
        od::document document;
        od::value value;
        if (parser.iterate(text).get(document) == simdjson::SUCCESS &&
            document.at_pointer(pointer).get(value) == simdjson::SUCCESS) {
            return static_cast<std::size_t>(value.raw_json_token().data() - text.data());
        }
    }
    std::size_t offset = 0;
    while (offset < text.size() && (text.data()[offset] == ' ' || text.data()[offset] == '\n' ||
                                    text.data()[offset] == '\r' || text.data()[offset] == '\t')) {
        ++offset;
    }
    return offset;
}

class JsonReader {
public:
    JsonReader(std::string_view utf8, StoreValueParser::ReadOptions const& options)
        : m_text(utf8), m_options(options) {
        for (auto const& [path, declared] : options.declaredTypes) {
            std::string error;
            std::optional<TypeNode> type =
                ParseTypeText(FormatType(declared.GetMainType(), declared.GetChildType()), error);
            if (type && path.GetCount() > 0) {
                m_declared.emplace(EntryKey(path), std::move(*type));
            }
        }
    }

    // The strings of the document are packed into one arena's chunks.
    ValuePtr Read(bool root) {
        StringArena::Scope const stringScope(m_strings);
        // The parser's memory is taken back from the last load, and given back whether or not
        // this one reads: its tape is never read after the document.
        struct Lease {
            std::unique_ptr<dom::parser> parser = JsonParserCache::Take();
            ~Lease() { JsonParserCache::Give(std::move(parser)); }
        } const lease;
        dom::element document;
        // The parser copies the text into a padded buffer of its own, which it keeps. An empty
        // view may have no address, which the copy must not be given.
        char const* const text = m_text.empty() ? "" : m_text.data();
        if (auto const error = lease.parser->parse(text, m_text.size(), true).get(document)) {
            FailDocument(error);
        }
        ValuePtr result = ParseValue(document, Slot::Entry, nullptr);
        if (root && result->GetStoreType() != StoreType::KeyMap) {
            Fail("the root of a store must be an object (a key map), not a value of type " +
                 FormatType(result->GetTypeInfo()));
        }
        return result;
    }

private:
    // ----- failures

    std::string Pointer() const {
        std::string pointer;
        for (std::string const& segment : m_path) {
            pointer += '/';
            for (char const c : segment) {
                pointer += c == '~' ? "~0" : (c == '/' ? "~1" : std::string(1, c));
            }
        }
        return pointer.empty() ? "the root" : pointer;
    }

    std::string LineAndColumn(std::size_t offset) const {
        offset = std::min(offset, m_text.size());
        std::size_t line = 1;
        std::size_t column = 1;
        for (std::size_t i = 0; i < offset; ++i) {
            auto const byte = static_cast<unsigned char>(m_text.data()[i]);
            if (byte == '\n') {
                ++line;
                column = 1;
            } else if ((byte & 0xC0) != 0x80) {
                ++column;
            }
        }
        return "line " + std::to_string(line) + ", column " + std::to_string(column);
    }

    // "JSON store: <what> at /a/values/3 (element 3, line 1, column 20)".
    [[noreturn]] void Fail(std::string const& what, std::optional<std::size_t> element = {}) {
        if (element) {
            m_path.push_back(std::to_string(*element));
        }
        std::string where = " at " + Pointer() + " (";
        if (element) {
            where += "element " + std::to_string(*element) + ", ";
        }
        where += LineAndColumn(LocatePointer(simdjson::padded_string(m_text), m_path)) + ")";
        ThrowFormatError("JSON store: " + what + where);
    }

    [[noreturn, gnu::cold, gnu::noinline]] void FailSimd(simdjson::error_code error, std::string_view expected,
                                                         std::optional<std::size_t> element = {}) {
        if (error == simdjson::INCORRECT_TYPE) {
            Fail("expected " + std::string(expected), element);
        }
        if (error == simdjson::NUMBER_OUT_OF_RANGE) {
            Fail("number out of range for " + std::string(expected), element);
        }
        Fail(std::string("unreadable value (") + simdjson::error_message(error) + ")", element);
    }

    // The text as a whole is no JSON: find where with the on-demand walk.
    [[noreturn]] void FailDocument(simdjson::error_code error) {
        if (error == simdjson::UTF8_ERROR) {
            try {
                (void)TStringCore::FromUtf8(std::string_view(m_text.data(), m_text.size()));
            } catch (TStringEncodingException const& e) {
                ThrowFormatError("JSON store: text that is not UTF-8 at " + LineAndColumn(e.GetOffset()));
            }
        }
        if (error == simdjson::EMPTY) {
            ThrowFormatError("JSON store: an empty document");
        }
        std::string what;
        simdjson::padded_string const padded(m_text);
        std::size_t const offset = SyntaxLocator(padded).Locate(what);
        if (error == simdjson::DEPTH_ERROR) {
            what = "nesting deeper than " + std::to_string(StoreValueParser::c_maxJsonDepth) + " levels";
        }
        ThrowFormatError("JSON store: malformed JSON (" + what + ") at " + LineAndColumn(offset));
    }

    template <class T, class Result>
    // `expected` is a view, so that the hot path of every element builds no text.
    T Get(Result&& result, std::string_view expected, std::optional<std::size_t> element = {}) {
        T out{};
        if (auto const error = std::forward<Result>(result).get(out)) {
            FailSimd(error, expected, element);
        }
        return out;
    }

    TStringCore Text(std::string_view utf8, std::optional<std::size_t> element = {}) {
        try {
            return TextOfUtf8(utf8);
        } catch (TStringEncodingException const&) {
            Fail("text that is not UTF-8", element);
        }
    }

    RIndirectString String(std::string_view utf8, std::optional<std::size_t> element) {
        try {
            return StringOfUtf8(utf8, m_strings);
        } catch (TStringEncodingException const&) {
            Fail("text that is not UTF-8", element);
        }
    }

    // ----- nesting and paths

    class Nest {
    public:
        explicit Nest(JsonReader& reader) : m_reader(reader) {
            if (++reader.m_depth > StoreValueParser::c_maxJsonDepth) {
                reader.Fail("nesting deeper than " + std::to_string(StoreValueParser::c_maxJsonDepth) +
                            " levels");
            }
        }
        ~Nest() { --m_reader.m_depth; }
        Nest(Nest const&) = delete;
        Nest& operator=(Nest const&) = delete;

    private:
        JsonReader& m_reader;
    };

    class PathScope {
    public:
        PathScope(JsonReader& reader, std::string segment) : m_reader(reader) {
            reader.m_path.push_back(std::move(segment));
        }
        PathScope(JsonReader& reader, std::size_t index) : PathScope(reader, std::to_string(index)) {}
        ~PathScope() { m_reader.m_path.pop_back(); }
        PathScope(PathScope const&) = delete;
        PathScope& operator=(PathScope const&) = delete;

    private:
        JsonReader& m_reader;
    };

    template <class Maker>
    auto DispatchElement(StoreTypeInfo const& type, Maker&& maker) {
        auto const storage = GetStorageType(type.GetStoreType());
        if (!storage) {
            Fail("type " + FormatType(type) + " cannot hold elements");
        }
        return StorageTypeDispatcher(*storage, maker);
    }

    // ----- generic values

    // Any value. In the element slot `special` receives the kind of a null or {"$special": ...}
    // element (and the result is null); elsewhere it is null.
    ValuePtr ParseValue(dom::element value, Slot slot, SpecialKind* special) {
        switch (value.type()) {
            case Type::OBJECT:
                return ParseObject(value, slot, special);
            case Type::ARRAY:
                return ParsePlainArray(value);
            case Type::INT64: {
                std::int64_t const number = value.get_int64().value_unsafe();
                if (number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) {
                    return factory::MakeInt32(static_cast<int>(number));
                }
                return factory::MakeInt64(number);
            }
            case Type::UINT64:
                Fail("number out of range for int64");
            case Type::DOUBLE:
                return factory::MakeDouble(value.get_double().value_unsafe());
            case Type::STRING:
                return factory::MakeString(Text(value.get_string().value_unsafe()));
            case Type::BOOL:
                return factory::MakeBool(value.get_bool().value_unsafe());
            case Type::NULL_VALUE:
                break;
        }
        if (slot == Slot::Element) {
            *special = SpecialKind::Null;
            return nullptr;
        }
        if (slot == Slot::Tuple) {
            return nullptr;
        }
        Fail("null has no type here; write a special as {\"$type\": \"<type>\", \"special\": \"null\"}");
    }

    ValuePtr ParseObject(dom::element value, Slot slot, SpecialKind* special) {
        Nest const nest(*this);
        dom::object const object = value.get_object().value_unsafe();
        dom::element typeValue;
        if (object.at_key("$type").get(typeValue) == simdjson::SUCCESS) {
            std::optional<TypeNode> type;
            {
                PathScope const scope(*this, "$type");
                std::string_view const typeText =
                    Get<std::string_view>(typeValue.get_string(), "a type name");
                std::string error;
                type = ParseTypeText(typeText, error);
                if (!type) {
                    Fail("bad type \"" + std::string(typeText) + "\": " + error);
                }
            }
            return ParseTyped(object, *type, slot);
        }
        dom::element kindValue;
        if (slot == Slot::Element && object.at_key("$special").get(kindValue) == simdjson::SUCCESS) {
            *special = ParseSpecialObject(object);
            return nullptr;
        }
        return ParseEntries(object, false);
    }

    // The entries of a key map, or the columns of a table.
    ValuePtr ParseEntries(dom::object const& object, bool table) {
        StoreValueMap entries;
        for (dom::key_value_pair const field : object) {
            PathScope const scope(*this, std::string(field.key));
            EntryScope const entry(*this, table ? std::wstring_view() : Text(field.key).view());
            auto const declared = table ? m_declared.end() : m_declared.find(m_entryKey);
            ValuePtr value = declared != m_declared.end() ? ParseDeclared(field.value, declared->second)
                                                          : ParseValue(field.value, Slot::Entry, nullptr);
            if (!entries.emplace(Text(field.key), std::move(value)).second) {
                Fail("duplicate key \"" + std::string(field.key) + "\"");
            }
        }
        if (!table) {
            return factory::MakeKeyMap(std::move(entries));
        }
        try {
            return factory::MakeTable(std::move(entries));
        } catch (ZelRuntimeException const& e) {
            Fail("bad table: " + e.GetText().ToUtf8());
        }
    }

    // A bare JSON array: its element type is inferred from the kind of its first ordinary element;
    // a string beside a number or a bool is no guess we make.
    static char const* Family(Type type) {
        switch (type) {
            case Type::BOOL:
                return "bool";
            case Type::STRING:
                return "string";
            default:
                return "number";
        }
    }

    ValuePtr ParsePlainArray(dom::element value) {
        Nest const nest(*this);
        dom::array const array = value.get_array().value_unsafe();
        std::optional<Type> first;
        std::size_t firstIndex = 0;
        bool anyDouble = false;
        bool needsInt64 = false;
        std::size_t index = 0;
        for (dom::element const element : array) {
            Type const type = element.type();
            switch (type) {
                case Type::NULL_VALUE:
                    break;
                case Type::OBJECT: {
                    PathScope const scope(*this, index);
                    (void)ParseSpecialObject(element.get_object().value_unsafe());
                    break;
                }
                case Type::ARRAY:
                    Fail(
                        "a nested array needs a typed form such as {\"$type\": \"array<array<int32>>\", "
                        "\"values\": [...]}",
                        index);
                case Type::UINT64:
                    Fail("number out of range for int64", index);
                case Type::INT64: {
                    std::int64_t const number = element.get_int64().value_unsafe();
                    needsInt64 = needsInt64 || number < std::numeric_limits<int>::min() ||
                                 number > std::numeric_limits<int>::max();
                    break;
                }
                case Type::DOUBLE:
                    anyDouble = true;
                    break;
                case Type::STRING:
                case Type::BOOL:
                    break;
            }
            if (type != Type::NULL_VALUE && type != Type::OBJECT) {
                if (!first) {
                    first = type;
                    firstIndex = index;
                } else if (Family(type) != Family(*first)) {
                    Fail("a " + std::string(Family(type)) + " after a " + Family(*first) + " (element " +
                             std::to_string(firstIndex) +
                             "); elements of mixed kinds need a typed array such as \"array<object>\"",
                         index);
                }
            }
            ++index;
        }
        if (!first) {
            Fail(index == 0
                     ? "an empty array has no type; write {\"$type\": \"array<int32>\", \"values\": []}"
                     : "an array of nothing but specials has no type; write {\"$type\": "
                       "\"array<int32>\", \"values\": [...]}");
        }
        StoreTypeInfo const& type = *first == Type::BOOL     ? StoreTypeInfo::Bool
                                    : *first == Type::STRING ? StoreTypeInfo::String
                                    : anyDouble              ? StoreTypeInfo::Double
                                    : needsInt64             ? StoreTypeInfo::Int64
                                                             : StoreTypeInfo::Int32;
        return DispatchElement(type, [&]<class T>(StorageTag<T>) {
            Column<T> column;
            ParseColumn<T>(value, type, column);
            return factory::MakeArray<T>(type, StoreTypeInfo::Empty, std::move(column.values), nullptr,
                                         std::move(column.specials));
        });
    }

    // ----- specials

    // "null", "error" or a number from 1 to 255.
    SpecialKind ParseSpecialKind(dom::element value) {
        std::string_view text;
        std::int64_t number = 0;
        if (value.get_string().get(text) == simdjson::SUCCESS) {
            if (text == "null") {
                return SpecialKind::Null;
            }
            if (text == "error") {
                return SpecialKind::Error;
            }
        } else if (value.get_int64().get(number) == simdjson::SUCCESS && number >= 1 && number <= 255) {
            return static_cast<SpecialKind>(number);
        }
        Fail("a special kind is \"null\", \"error\" or a number from 1 to 255");
    }

    // {"$special": kind} and nothing else.
    SpecialKind ParseSpecialObject(dom::object const& object) {
        std::optional<SpecialKind> kind;
        for (dom::key_value_pair const field : object) {
            PathScope const scope(*this, std::string(field.key));
            if (field.key != "$special" || kind) {
                Fail(field.key == "$special"
                         ? std::string("duplicate field \"$special\"")
                         : "an element object is a special {\"$special\": \"null\"}, not a field \"" +
                               std::string(field.key) +
                               "\"; other values need a typed array (\"array<keymap>\")");
            }
            kind = ParseSpecialKind(field.value);
        }
        if (!kind) {
            Fail(
                "an element object is a special {\"$special\": \"null\"}; other values need a typed array "
                "(\"array<keymap>\")");
        }
        return *kind;
    }

    // ----- typed values

    // The fields of a typed object but "$type", each once, each a name of `known`.
    template <class Handle>
    void ForEachField(dom::object const& object, std::string const& typeText,
                      std::initializer_list<std::string_view> known, Handle&& handle) {
        std::vector<std::string_view> seen;
        for (dom::key_value_pair const field : object) {
            PathScope const scope(*this, std::string(field.key));
            if (std::find(seen.begin(), seen.end(), field.key) != seen.end()) {
                Fail("duplicate field \"" + std::string(field.key) + "\"");
            }
            seen.push_back(field.key);
            if (field.key == "$type") {
                continue;
            }
            if (std::find(known.begin(), known.end(), field.key) == known.end()) {
                std::string expected;
                for (std::string_view const name : known) {
                    expected += (expected.empty() ? "\"" : ", \"") + std::string(name) + "\"";
                }
                Fail("unknown field \"" + std::string(field.key) + "\" in a value of type " + typeText +
                     (expected.empty() ? std::string() : " (expected " + expected + ")"));
            }
            handle(field.key, field.value);
        }
    }

    static std::string Describe(TypeNode const& type) {
        if (type.kind == TypeNode::Kind::None) {
            return "none";
        }
        if (type.kind == TypeNode::Kind::KeySet) {
            return "keyset";
        }
        return FormatType(type.info);
    }

    ValuePtr ParseTyped(dom::object const& object, TypeNode const& type, Slot slot) {
        std::string const typeText = Describe(type);
        if (type.kind == TypeNode::Kind::None) {
            if (slot == Slot::Entry) {
                Fail("\"none\" (no value) stands only for an element of a tuple or of an array of values");
            }
            ForEachField(object, typeText, {}, [](std::string_view, dom::element) {});
            return nullptr;
        }
        StoreType const storeType = type.info.GetStoreType();
        std::size_t const wantedArgs = type.kind == TypeNode::Kind::KeySet       ? 2
                                       : IsUniformCollectionStoreType(storeType) ? 1
                                                                                 : 0;
        if (type.args.size() > wantedArgs) {
            Fail("type " + typeText + " takes " + std::to_string(wantedArgs) + " type arguments");
        }
        // A special of any type: {"$type": "...", "special": "null"}.
        dom::element specialValue;
        if (object.at_key("special").get(specialValue) == simdjson::SUCCESS) {
            std::optional<SpecialKind> kind;
            ForEachField(object, typeText, {"special"},
                         [&](std::string_view, dom::element value) { kind = ParseSpecialKind(value); });
            return factory::MakeSpecial(type.info, *kind);
        }
        if (type.args.size() < wantedArgs) {
            Fail("type " + typeText + " needs " + std::to_string(wantedArgs) + " type arguments");
        }
        if (type.kind == TypeNode::Kind::KeySet) {
            return ParseKeySet(object, type);
        }
        switch (storeType) {
            case StoreType::Array:
            case StoreType::Set:
                return DispatchElement(type.args[0].info, [&]<class T>(StorageTag<T>) {
                    return ParseCollection<T>(object, type);
                });
            case StoreType::Tuple: {
                std::optional<std::vector<ValuePtr>> elements;
                ForEachField(object, typeText, {"values"}, [&](std::string_view, dom::element value) {
                    Nest const nest(*this);
                    elements.emplace();
                    for (dom::element const element : Get<dom::array>(value.get_array(), "an array")) {
                        PathScope const scope(*this, elements->size());
                        elements->push_back(ParseValue(element, Slot::Tuple, nullptr));
                    }
                });
                if (!elements) {
                    Fail("a tuple needs \"values\"");
                }
                return factory::MakeTuple(std::move(*elements));
            }
            case StoreType::KeyMap:
            case StoreType::Table: {
                bool const table = storeType == StoreType::Table;
                ValuePtr result;
                ForEachField(object, typeText, {table ? "columns" : "entries"},
                             [&](std::string_view, dom::element value) {
                                 Nest const nest(*this);
                                 result =
                                     ParseEntries(Get<dom::object>(value.get_object(), "an object"), table);
                             });
                if (!result) {
                    Fail("a " + typeText + " needs \"" + (table ? "columns" : "entries") + "\"");
                }
                return result;
            }
            case StoreType::Object: {
                ValuePtr held;
                ForEachField(object, typeText, {"value"}, [&](std::string_view, dom::element value) {
                    held = ParseValue(value, Slot::Tuple, nullptr);
                });
                return factory::MakeObject(std::move(held));
            }
            default:
                break;
        }
        // A scalar.
        ValuePtr result;
        DispatchElement(type.info, [&]<class T>(StorageTag<T>) {
            ForEachField(object, typeText, {"value"}, [&](std::string_view, dom::element value) {
                T element{};
                SpecialKind special = SpecialKind::None;
                ParseElement<T>(value, type.info, std::nullopt, element, special);
                if (special != SpecialKind::None) {
                    Fail("a special scalar is written {\"$type\": \"" + typeText +
                         "\", \"special\": \"null\"}");
                }
                result = MakeStoreValueFromStorageType<T>(type.info, element);
            });
            return 0;
        });
        if (!result) {
            Fail("a " + typeText + " scalar needs \"value\" or \"special\"");
        }
        return result;
    }

    // One element of type `type` (storage T): a special (null, {"$special": ...}) or a value.
    template <class T>
    void ParseElement(dom::element value, StoreTypeInfo const& type, std::optional<std::size_t> index, T& out,
                      SpecialKind& special) {
        if constexpr (std::is_same_v<T, ValuePtr>) {
            std::optional<PathScope> scope;
            if (index) {
                scope.emplace(*this, *index);
            }
            out = ParseValue(value, Slot::Element, &special);
            if (out && type.GetStoreType() != StoreType::Object &&
                out->GetStoreType() != type.GetStoreType()) {
                Fail("expected a " + FormatType(type) + ", not a " + FormatType(out->GetTypeInfo()));
            }
        } else {
            Type const jsonType = value.type();
            if (jsonType == Type::NULL_VALUE) {
                special = SpecialKind::Null;
                return;
            }
            if (jsonType == Type::OBJECT) {
                std::optional<PathScope> scope;
                if (index) {
                    scope.emplace(*this, *index);
                }
                special = ParseSpecialObject(value.get_object().value_unsafe());
                return;
            }
            if constexpr (std::is_same_v<T, unsigned char>) {
                out = Get<bool>(value.get_bool(), "true or false", index) ? 1 : 0;
            } else if constexpr (std::is_same_v<T, RIndirectString>) {
                out = String(Get<std::string_view>(value.get_string(), "a string", index), index);
            } else {
                out = ParseNumberElement<T>(value, jsonType, type, index);
            }
        }
    }

    template <class T>
    T ParseNumberElement(dom::element value, Type jsonType, StoreTypeInfo const& type,
                         std::optional<std::size_t> index) {
        switch (type.GetStoreType()) {
            case StoreType::Int32: {
                auto const number = Get<std::int64_t>(value.get_int64(), "an int32", index);
                if (jsonType == Type::DOUBLE || number < std::numeric_limits<int>::min() ||
                    number > std::numeric_limits<int>::max()) {
                    Fail(jsonType == Type::DOUBLE ? "expected an int32" : "number out of range for int32",
                         index);
                }
                return static_cast<T>(static_cast<unsigned int>(static_cast<int>(number)));
            }
            case StoreType::Int64:
                if (jsonType == Type::DOUBLE) {
                    Fail("expected an int64", index);
                }
                return static_cast<T>(Get<std::int64_t>(value.get_int64(), "an int64", index));
            case StoreType::Float:
                return static_cast<T>(ParseFloating<float, unsigned int>(value, jsonType, index));
            case StoreType::Double:
                return static_cast<T>(ParseFloating<double, unsigned long long>(value, jsonType, index));
            case StoreType::Date:
            case StoreType::DateTime: {
                if (jsonType == Type::INT64 || jsonType == Type::UINT64) {
                    return static_cast<T>(
                        Get<std::uint64_t>(value.get_uint64(), "microseconds since 0001-01-01", index));
                }
                auto const text = Get<std::string_view>(value.get_string(), "a date text", index);
                auto const parsed = ZelDateTime::Parse(text);
                if (!parsed) {
                    Fail("\"" + std::string(text) + "\" is no " + FormatType(type) +
                             " (2024-01-31 or 2024-01-31T12:00:00.5)",
                         index);
                }
                return static_cast<T>(parsed->GetValue());
            }
            case StoreType::Color: {
                auto const text = Get<std::string_view>(value.get_string(), "a colour text", index);
                std::uint32_t rgba = 0;
                bool valid = text.size() == 9 && text[0] == '#';
                for (std::size_t i = 1; valid && i < text.size(); ++i) {
                    valid = std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
                }
                if (!valid || std::from_chars(text.data() + 1, text.data() + 9, rgba, 16).ec != std::errc()) {
                    Fail("\"" + std::string(text) + "\" is no colour (#RRGGBBAA)", index);
                }
                return static_cast<T>(rgba);
            }
            default:
                break;
        }
        Fail("type " + FormatType(type) + " cannot hold elements", index);
    }

    // A float or double from a number, or from "nan", "inf", "-inf" or the bits of a NaN "0x...".
    template <class F, class Bits>
    Bits ParseFloating(dom::element value, Type jsonType, std::optional<std::size_t> index) {
        // Views, so that the hot path of every element builds no text.
        std::string_view const name = std::is_same_v<F, float> ? "float" : "double";
        std::string_view const article = std::is_same_v<F, float> ? "a float" : "a double";
        if (jsonType == Type::STRING) {
            std::string_view const text = value.get_string().value_unsafe();
            if (text == "nan") {
                return std::bit_cast<Bits>(std::numeric_limits<F>::quiet_NaN());
            }
            if (text == "inf" || text == "-inf") {
                F const inf = std::numeric_limits<F>::infinity();
                return std::bit_cast<Bits>(text == "inf" ? inf : -inf);
            }
            Bits bits = 0;
            if (text.size() == 2 + 2 * sizeof(Bits) && text.starts_with("0x")) {
                auto const result = std::from_chars(text.data() + 2, text.data() + text.size(), bits, 16);
                if (result.ec == std::errc() && result.ptr == text.data() + text.size() &&
                    std::isnan(std::bit_cast<F>(bits))) {
                    return bits;
                }
            }
            Fail("\"" + std::string(text) + "\" is no " + std::string(name) +
                     " (a number, \"nan\", \"inf\", \"-inf\" or the bits of a NaN as \"0x...\")",
                 index);
        }
        double const number = Get<double>(value.get_double(), article, index);
        if (jsonType == Type::INT64) {
            // An integer must be exact in the floating type; 2^63 is past every int64.
            std::int64_t const integer = value.get_int64().value_unsafe();
            F const converted = static_cast<F>(integer);
            if (!(converted < F(9.2233720368547758e18)) || static_cast<std::int64_t>(converted) != integer) {
                Fail("integer is not exact as " + std::string(article), index);
            }
        } else if (jsonType == Type::UINT64) {
            std::uint64_t const integer = value.get_uint64().value_unsafe();
            F const converted = static_cast<F>(integer);
            if (!(converted < F(1.8446744073709552e19)) || static_cast<std::uint64_t>(converted) != integer) {
                Fail("integer is not exact as " + std::string(article), index);
            }
        }
        if constexpr (std::is_same_v<F, float>) {
            // Past the largest float by half a unit in the last place, a number rounds to infinity.
            double const limit = double(std::numeric_limits<float>::max()) + std::ldexp(1.0, 103);
            if (!(std::fabs(number) < limit)) {
                Fail("number out of range for float", index);
            }
        }
        return std::bit_cast<Bits>(static_cast<F>(number));
    }

    template <class T>
    void ParseColumn(dom::element value, StoreTypeInfo const& type, Column<T>& column) {
        Nest const nest(*this);
        dom::array const array = Get<dom::array>(value.get_array(), "an array");
        StoreType const storeType = type.GetStoreType();
        dom::array::iterator next = array.begin();
        if (column.size() == 0) {
            next = ParseLeadingPlainElements(array, storeType, column);
        }
        column.values->reserve(array.size());
        for (; next != array.end(); ++next) {
            dom::element const element = *next;
            if (PushPlainElement(element, storeType, column)) {
                continue;
            }
            T out{};
            SpecialKind special = SpecialKind::None;
            ParseElement<T>(element, type, column.size(), out, special);
            column.Push(std::move(out), special);
        }
    }

    // The plain elements at the start of a long column (see PlainElement), read in pieces on
    // several threads, each piece up to its first element that is not plain. Returns where the
    // column goes on: its end, or the first such element, from which the general path reads the
    // rest in order, so that every refusal and its message are those of a read in order.
    template <class T>
    dom::array::iterator ParseLeadingPlainElements(dom::array const& array, StoreType storeType,
                                                   Column<T>& column) {
        std::size_t const count = array.size();
        if (!HasPlainElements<T>(storeType) || count < 2 * c_smallestPiece) {
            return array.begin();
        }
        // A piece starts from the mark before its first element: one mark every c_smallestPiece
        // elements, found in one walk over the array's tape.
        std::vector<dom::array::iterator> marks;
        marks.reserve(count / c_smallestPiece + 1);
        std::size_t index = 0;
        for (auto it = array.begin(); it != array.end(); ++it, ++index) {
            if (index % c_smallestPiece == 0) {
                marks.push_back(it);
            }
        }
        auto const at = [&](std::size_t element) {
            dom::array::iterator it = marks[element / c_smallestPiece];
            for (std::size_t k = element % c_smallestPiece; k > 0; --k) {
                ++it;
            }
            return it;
        };
        column.values->resize(count);
        // Each piece notes its end and where it stopped, in the slot of its first element's mark:
        // pieces are at least c_smallestPiece long, so no two share a slot.
        struct PieceEnd {
            std::size_t last = 0;
            std::size_t stop = 0;
        };
        std::vector<PieceEnd> ends(marks.size());
        ReadInPieces(count, [&](std::size_t first, std::size_t last) {
            StringArena& arena = *StringArena::Current();
            PieceEnd& end = ends[first / c_smallestPiece];
            end = PieceEnd{last, last};
            dom::array::iterator it = at(first);
            for (std::size_t i = first; i < last; ++i, ++it) {
                if (!PlainElement(*it, storeType, arena, (*column.values)[i])) {
                    end.stop = i;
                    return;
                }
            }
        });
        // The first element that a piece stopped at, following the pieces in order from the first.
        std::size_t read = 0;
        while (read < count && ends[read / c_smallestPiece].stop == ends[read / c_smallestPiece].last) {
            read = ends[read / c_smallestPiece].last;
        }
        if (read < count) {
            read = ends[read / c_smallestPiece].stop;
        }
        column.values->resize(read);
        return read < count ? at(read) : array.end();
    }

    // A common element straight into the column: see PlainElement.
    template <class T>
    bool PushPlainElement(dom::element element, StoreType storeType, Column<T>& column) {
        if constexpr (HasPlainElements<T>()) {
            T value{};
            if (PlainElement(element, storeType, m_strings, value)) {
                column.PushValue(std::move(value));
                return true;
            }
        }
        return false;
    }

    // Whether a column of storage T and type `storeType` can have plain elements at all.
    template <class T>
    static constexpr bool HasPlainElements(std::optional<StoreType> storeType = std::nullopt) {
        if constexpr (std::is_same_v<T, unsigned int>) {
            return !storeType || *storeType == StoreType::Int32;
        } else if constexpr (std::is_same_v<T, unsigned long long>) {
            return !storeType || *storeType == StoreType::Int64 || *storeType == StoreType::Double;
        } else if constexpr (std::is_same_v<T, RIndirectString>) {
            return !storeType || *storeType == StoreType::String;
        }
        return false;
    }

    // The common elements, read in one step into `out`: an integer in an int32 or int64 column, a
    // number with a fraction or an exponent in a double column, a string in a string column (its
    // text made in `strings`). False for every other element (nulls, specials, integers out of
    // range or in a double column, wrong kinds, text that is not UTF-8), which the general path
    // reads or refuses. Touches nothing of the reader, so pieces of a column call it on any thread.
    template <class T>
    static bool PlainElement(dom::element element, StoreType storeType, StringArena& strings, T& out) {
        if constexpr (std::is_same_v<T, unsigned int>) {
            // get_int64 reads integers only: a number with a fraction or an exponent fails it.
            std::int64_t number = 0;
            if (storeType == StoreType::Int32 && element.get_int64().get(number) == simdjson::SUCCESS &&
                number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) {
                out = static_cast<unsigned int>(static_cast<int>(number));
                return true;
            }
        } else if constexpr (std::is_same_v<T, unsigned long long>) {
            if (storeType == StoreType::Double && element.type() == Type::DOUBLE) {
                out = std::bit_cast<unsigned long long>(element.get_double().value_unsafe());
                return true;
            }
            std::int64_t number = 0;
            if (storeType == StoreType::Int64 && element.get_int64().get(number) == simdjson::SUCCESS) {
                out = static_cast<unsigned long long>(number);
                return true;
            }
        } else if constexpr (std::is_same_v<T, RIndirectString>) {
            std::string_view text;
            if (element.get_string().get(text) == simdjson::SUCCESS) {
                try {
                    out = StringOfUtf8(text, strings);
                    return true;
                } catch (TStringEncodingException const&) {
                    return false;
                }
            }
        }
        return false;
    }

    std::vector<unsigned int> ParseIndices(dom::element value) {
        Nest const nest(*this);
        std::vector<unsigned int> indices;
        dom::array const array = Get<dom::array>(value.get_array(), "an array");
        indices.reserve(array.size());
        for (dom::element const element : array) {
            std::size_t const index = indices.size();
            auto const number = Get<std::uint64_t>(element.get_uint64(), "an index", index);
            if (element.type() == Type::DOUBLE || number > std::numeric_limits<unsigned int>::max()) {
                Fail("an index is an integer from 0 to 4294967294", index);
            }
            indices.push_back(static_cast<unsigned int>(number));
        }
        return indices;
    }

    unsigned int ParseCount(dom::element value) {
        auto const number = Get<std::uint64_t>(value.get_uint64(), "a count");
        if (value.type() == Type::DOUBLE || number > std::numeric_limits<unsigned int>::max()) {
            Fail("a count is an integer from 0 to 4294967295");
        }
        return static_cast<unsigned int>(number);
    }

    void CheckIndices(std::vector<unsigned int> const& indices, std::uint64_t bound, char const* what) {
        for (std::size_t i = 0; i < indices.size(); ++i) {
            if (indices[i] >= bound) {
                PathScope const scope(*this, "indices");
                Fail("index " + std::to_string(indices[i]) + " is past the " + std::to_string(bound) + " " +
                         what,
                     i);
            }
        }
    }

    // An array or set of storage T, in any layout.
    // The set or array of `type` that holds `values`, through `indices` when there are any.
    template <class T>
    ValuePtr CollectionOfValues(TypeNode const& type, Column<T>&& values,
                                std::unique_ptr<std::vector<unsigned int>> indices) {
        StoreTypeInfo const& elementType = type.args[0].info;
        StoreTypeInfo const& childType = type.ChildOfArg(0);
        if (type.info.GetStoreType() == StoreType::Set) {
            if constexpr (std::is_same_v<T, ValuePtr>) {
                if (CountHashedElements(*values.values) > c_maxHashedElements) {
                    Fail("more than " + std::to_string(c_maxHashedElements) +
                         " elements to hash in the members of one set or the keys of one key set");
                }
            }
            std::size_t const given = values.size();
            ValuePtr set = factory::MakeSet<T>(elementType, childType, std::move(values.values),
                                               std::move(values.specials));
            if (set->GetCount() != given) {
                Fail("the members of a set must be distinct: " + std::to_string(given) + " values make " +
                     std::to_string(set->GetCount()) + " members");
            }
            return set;
        }
        if (indices) {
            CheckIndices(*indices, values.size(), "values");
        }
        return factory::MakeArray<T>(elementType, childType, std::move(values.values), std::move(indices),
                                     std::move(values.specials));
    }

    // Whether a plain JSON value of kind `json` is written as a value of `type` is: numbers for
    // the numeric types, text for strings and dates, true and false for bool.
    static bool Fits(Type json, StoreType type) {
        switch (type) {
            case StoreType::Int32:
            case StoreType::Int64:
            case StoreType::Float:
            case StoreType::Double:
                return json == Type::INT64 || json == Type::UINT64 || json == Type::DOUBLE;
            case StoreType::String:
            case StoreType::Date:
            case StoreType::DateTime:
                return json == Type::STRING;
            case StoreType::Bool:
                return json == Type::BOOL;
            default:
                return false;
        }
    }

    // The kind of the first element of a plain JSON array that is not null; null when all are.
    static Type FirstKind(dom::element array) {
        dom::array const elements = array.get_array().value_unsafe();
        for (dom::element const element : elements) {
            if (element.type() != Type::NULL_VALUE) {
                return element.type();
            }
        }
        return Type::NULL_VALUE;
    }

    // A value at a path whose type the program declares. A plain JSON array whose elements are
    // written as that type's elements are, or a plain number, text or bool written as that scalar
    // is, is read as the declared type, exactly: an element that the type cannot hold fails,
    // named. Anything else is read as it stands, and the machine compares its type with the
    // declared one.
    ValuePtr ParseDeclared(dom::element value, TypeNode const& type) {
        StoreType const storeType = type.info.GetStoreType();
        Type const jsonType = value.type();
        if (jsonType == Type::ARRAY && type.kind != TypeNode::Kind::KeySet &&
            (storeType == StoreType::Array || storeType == StoreType::Set) && type.args.size() == 1) {
            Type const first = FirstKind(value);
            if (first == Type::NULL_VALUE || Fits(first, type.args[0].info.GetStoreType())) {
                return DispatchElement(type.args[0].info, [&]<class T>(StorageTag<T>) -> ValuePtr {
                    Column<T> values;
                    ParseColumn<T>(value, type.args[0].info, values);
                    try {
                        return CollectionOfValues<T>(type, std::move(values), nullptr);
                    } catch (ZelRuntimeException const& e) {
                        if (e.GetError() == ZelError::StoreFormatError) {
                            throw;
                        }
                        Fail("bad " + FormatType(type.info) + ": " + e.GetText().ToUtf8());
                    }
                });
            }
        }
        if (type.kind != TypeNode::Kind::KeySet && type.args.empty() && Fits(jsonType, storeType)) {
            return DispatchElement(type.info, [&]<class T>(StorageTag<T>) -> ValuePtr {
                T element{};
                SpecialKind special = SpecialKind::None;
                ParseElement<T>(value, type.info, std::nullopt, element, special);
                return MakeStoreValueFromStorageType<T>(type.info, element);
            });
        }
        return ParseValue(value, Slot::Entry, nullptr);
    }

    // The key of an entry path in m_declared: its segments, each ended by a unit separator.
    static std::wstring EntryKey(KeyPath const& path) {
        std::wstring key;
        for (unsigned int i = 0; i < path.GetCount(); ++i) {
            key += path.GetSegment(i).GetSegment().view();
            key += L'\x1F';
        }
        return key;
    }

    // Adds the key of an entry to m_entryKey while the entry is read; an empty key (a table's
    // column) adds nothing.
    class EntryScope {
    public:
        EntryScope(JsonReader& reader, std::wstring_view key)
            : m_reader(reader), m_size(reader.m_entryKey.size()) {
            if (!key.empty()) {
                m_reader.m_entryKey += key;
                m_reader.m_entryKey += L'\x1F';
            }
        }
        ~EntryScope() { m_reader.m_entryKey.resize(m_size); }
        EntryScope(EntryScope const&) = delete;
        EntryScope& operator=(EntryScope const&) = delete;

    private:
        JsonReader& m_reader;
        std::size_t m_size;
    };

    template <class T>
    ValuePtr ParseCollection(dom::object const& object, TypeNode const& type) {
        StoreTypeInfo const& elementType = type.args[0].info;
        StoreTypeInfo const& childType = type.ChildOfArg(0);
        bool const isSet = type.info.GetStoreType() == StoreType::Set;
        std::string const typeText =
            "\"" + FormatType(type.info) + "<" + FormatType(elementType, childType) + ">\"";
        std::optional<Column<T>> values;
        std::optional<std::vector<unsigned int>> indices;
        std::optional<std::pair<T, SpecialKind>> constant;
        std::optional<unsigned int> count;
        std::optional<std::vector<RunLengthEntry<T>>> runs;
        auto handle = [&](std::string_view name, dom::element value) {
            if (name == "values") {
                values.emplace();
                ParseColumn<T>(value, elementType, *values);
            } else if (name == "indices") {
                indices = ParseIndices(value);
            } else if (name == "constant") {
                constant.emplace(T{}, SpecialKind::None);
                ParseElement<T>(value, elementType, std::nullopt, constant->first, constant->second);
            } else if (name == "count") {
                count = ParseCount(value);
            } else if (name == "runs") {
                runs = ParseRuns<T>(value, elementType);
            }
        };
        if (isSet) {
            ForEachField(object, typeText, {"values"}, handle);
        } else {
            ForEachField(object, typeText, {"values", "indices", "constant", "count", "runs"}, handle);
        }
        if (int(values.has_value()) + int(constant.has_value()) + int(runs.has_value()) != 1) {
            Fail("a " + typeText + " needs exactly one of " +
                 (isSet ? std::string("\"values\"")
                        : "\"values\", \"constant\" (with \"count\") and \"runs\""));
        }
        if (count.has_value() != constant.has_value()) {
            Fail("\"count\" goes with \"constant\", and only there");
        }
        if (indices && constant) {
            Fail("\"indices\" go with \"values\" or \"runs\", not with \"constant\"");
        }
        try {
            auto indexVector =
                indices ? std::make_unique<std::vector<unsigned int>>(std::move(*indices)) : nullptr;
            if (values) {
                return CollectionOfValues<T>(type, std::move(*values), std::move(indexVector));
            }
            if (constant) {
                if (*count > m_options.maxExpandedRows) {
                    Fail(ExpandedRowsText("a constant array", *count, m_options.maxExpandedRows));
                }
                if (constant->second != SpecialKind::None) {
                    constant->first = T{};
                }
                return detail::ArrayValue<T>::MakeConstant(elementType, childType, constant->first,
                                                           constant->second, *count);
            }
            std::uint64_t total = 0;
            for (auto const& run : *runs) {
                total += run.count;
            }
            if (total > std::numeric_limits<unsigned int>::max()) {
                Fail("the runs hold " + std::to_string(total) + " elements, more than 4294967295");
            }
            if (total > m_options.maxExpandedRows) {
                Fail(ExpandedRowsText("a run-length array", total, m_options.maxExpandedRows));
            }
            if (indexVector) {
                CheckIndices(*indexVector, total, "elements of the runs");
            }
            return factory::MakeRunLengthArray<T>(
                elementType, childType, std::make_unique<std::vector<RunLengthEntry<T>>>(std::move(*runs)),
                std::move(indexVector));
        } catch (ZelRuntimeException const& e) {
            if (e.GetError() == ZelError::StoreFormatError) {
                throw;
            }
            Fail("bad " + typeText + ": " + e.GetText().ToUtf8());
        }
    }

    // [{"value": v, "count": n}, {"special": "null", "count": n}, ...]
    template <class T>
    std::vector<RunLengthEntry<T>> ParseRuns(dom::element value, StoreTypeInfo const& elementType) {
        Nest const nest(*this);
        std::vector<RunLengthEntry<T>> runs;
        for (dom::element const runValue : Get<dom::array>(value.get_array(), "an array of runs")) {
            PathScope const scope(*this, runs.size());
            Nest const runNest(*this);
            auto const object = Get<dom::object>(runValue.get_object(), "a run {\"value\": v, \"count\": n}");
            RunLengthEntry<T> run{T{}, SpecialKind::None, 0};
            bool hasValue = false;
            bool hasCount = false;
            ForEachField(object, "run", {"value", "special", "count"},
                         [&](std::string_view name, dom::element field) {
                             if (name == "count") {
                                 hasCount = true;
                                 run.count = ParseCount(field);
                                 return;
                             }
                             if (hasValue) {
                                 Fail("a run has a \"value\" or a \"special\", not both");
                             }
                             hasValue = true;
                             if (name == "value") {
                                 ParseElement<T>(field, elementType, std::nullopt, run.value, run.special);
                             } else {
                                 run.special = ParseSpecialKind(field);
                             }
                         });
            if (!hasValue || !hasCount || run.count == 0) {
                Fail("a run is {\"value\": v, \"count\": n} or {\"special\": kind, \"count\": n} with n > 0");
            }
            runs.push_back(std::move(run));
        }
        return runs;
    }

    // keyset<K,V>: {"keys": [...], "values": [...], "specials": [{"special": kind, "value": v}]}.
    ValuePtr ParseKeySet(dom::object const& object, TypeNode const& type) {
        StoreTypeInfo const& keyType = type.args[0].info;
        StoreTypeInfo const& valueType = type.args[1].info;
        return DispatchElement(keyType, [&]<class K>(StorageTag<K>) {
            return DispatchElement(valueType, [&]<class V>(StorageTag<V>) {
                return ParseTypedKeySet<K, V>(object, keyType, valueType, type.ChildOfArg(1));
            });
        });
    }

    template <class K, class V>
    ValuePtr ParseTypedKeySet(dom::object const& object, StoreTypeInfo const& keyType,
                              StoreTypeInfo const& valueType, StoreTypeInfo const& valueChild) {
        Column<K> keys;
        Column<V> values;
        auto specialMap = std::make_unique<KeySetSpecialMap<V>>();
        ForEachField(object, "keyset", {"keys", "values", "specials"},
                     [&](std::string_view name, dom::element value) {
                         if (name == "keys") {
                             ParseColumn<K>(value, keyType, keys);
                         } else if (name == "values") {
                             ParseColumn<V>(value, valueType, values);
                         } else {
                             ParseKeySetSpecials<V>(value, valueType, *specialMap);
                         }
                     });
        if (keys.size() != values.size()) {
            Fail(std::to_string(keys.size()) + " keys for " + std::to_string(values.size()) +
                 " values; a key set needs one value for each key");
        }
        if constexpr (std::is_same_v<K, ValuePtr>) {
            if (CountHashedElements(*keys.values) > c_maxHashedElements) {
                Fail("more than " + std::to_string(c_maxHashedElements) +
                     " elements to hash in the members of one set or the keys of one key set");
            }
        }
        auto map = MakeKeySetMap<K, V>(keyType);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (keys.SpecialAt(i) != SpecialKind::None) {
                PathScope const scope(*this, "keys");
                Fail("a special key belongs in \"specials\"", i);
            }
            if (values.SpecialAt(i) != SpecialKind::None) {
                PathScope const scope(*this, "values");
                Fail("the values of a key set cannot be special", i);
            }
            if (!map->emplace((*keys.values)[i], (*values.values)[i]).second) {
                PathScope const scope(*this, "keys");
                Fail("duplicate key", i);
            }
        }
        try {
            return factory::MakeKeySet<K, V>(keyType, valueType, valueChild, std::move(map),
                                             std::move(specialMap));
        } catch (ZelRuntimeException const& e) {
            Fail("bad key set: " + e.GetText().ToUtf8());
        }
    }

    template <class V>
    void ParseKeySetSpecials(dom::element value, StoreTypeInfo const& valueType,
                             KeySetSpecialMap<V>& specialMap) {
        Nest const nest(*this);
        std::size_t index = 0;
        for (dom::element const entry : Get<dom::array>(value.get_array(), "an array")) {
            PathScope const scope(*this, index++);
            Nest const entryNest(*this);
            auto const object = Get<dom::object>(entry.get_object(), "{\"special\": kind, \"value\": v}");
            std::optional<SpecialKind> kind;
            std::optional<V> mapped;
            ForEachField(object, "special key", {"special", "value"},
                         [&](std::string_view name, dom::element field) {
                             if (name == "special") {
                                 kind = ParseSpecialKind(field);
                                 return;
                             }
                             SpecialKind special = SpecialKind::None;
                             mapped.emplace();
                             ParseElement<V>(field, valueType, std::nullopt, *mapped, special);
                             if (special != SpecialKind::None) {
                                 Fail("the values of a key set cannot be special");
                             }
                         });
            if (!kind || !mapped) {
                Fail("a special key is {\"special\": kind, \"value\": v}");
            }
            if (!specialMap.emplace(*kind, std::move(*mapped)).second) {
                Fail("duplicate special key " + SpecialKindText(*kind));
            }
        }
    }

    std::string_view m_text;  // the caller's, for as long as the reader lives
    StringArena m_strings;    // the document's strings
    StoreValueParser::ReadOptions m_options;
    std::vector<std::string> m_path;
    // The declared types by entry key, and the key of the key-map entry being read.
    boost::unordered_flat_map<std::wstring, TypeNode> m_declared;
    std::wstring m_entryKey;
    unsigned m_depth = 0;
};

}  // namespace

std::shared_ptr<StoreValue> ReadJsonRoot(std::string_view utf8,
                                         StoreValueParser::ReadOptions const& options) {
    return JsonReader(utf8, options).Read(true);
}

std::shared_ptr<StoreValue> ReadJsonValue(std::string_view utf8,
                                          StoreValueParser::ReadOptions const& options) {
    return JsonReader(utf8, options).Read(false);
}

}  // namespace zel::core::io_detail
