#include "io/StoreFormatCommon.h"

#include "zel/core/store/Collation.h"
#include "zel/core/store/StringArena.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/IStoreTuple.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelException.h"

namespace zel::core::io_detail {

std::string ExpandedRowsText(std::string_view layout, std::uint64_t rows, std::uint32_t bound) {
    return std::string(layout) + " of " + std::to_string(rows) + " rows, more than the " +
           std::to_string(bound) + " rows a value may expand to (ReadOptions::maxExpandedRows)";
}

void ThrowFormatError(std::string const& text) {
    TStringCore message;
    try {
        message = TStringCore::FromUtf8(text);
    } catch (TStringEncodingException const&) {
        std::string ascii = text;
        for (char& c : ascii) {
            c = static_cast<unsigned char>(c) < 0x80 ? c : '?';
        }
        message = TStringCore::FromUtf8(ascii);
    }
    ZEL_FAIL_WITH_TEXT(ZelError::StoreFormatError, message);
}

void WriterPath::Fail(std::string const& what) const {
    std::string path;
    for (std::string const& segment : m_segments) {
        path += "/" + segment;
    }
    ThrowFormatError(std::string(m_writerName) + ": " + what + " at " + (path.empty() ? "the root" : path));
}

TStringCore TextOfUtf8(std::string_view utf8) {
    if (IsAscii(utf8)) {
        return TStringCore(utf8.begin(), utf8.end(), nullptr);
    }
    return TStringCore::FromUtf8(utf8);
}

RIndirectString StringOfNonAsciiUtf8(std::string_view utf8) {
    return RIndirectString(TStringCore::FromUtf8(utf8));
}

namespace {

void CountHashed(StoreValue const* value, std::uint64_t& count) {
    if (value == nullptr || count > c_maxHashedElements) {
        return;
    }
    ++count;
    if (value->IsSpecial()) {
        return;
    }
    switch (value->GetStoreType()) {
        case StoreType::Array:
        case StoreType::Set:
            count += value->GetCount();
            if (value->GetValueTypeInfo().GetStoreType() != StoreType::Object &&
                !IsCollectionStoreType(value->GetValueTypeInfo().GetStoreType())) {
                return;
            }
            // The distinct element values, each once however often the layout repeats it.
            if (auto const array =
                    std::dynamic_pointer_cast<detail::ArrayValue<std::shared_ptr<StoreValue>> const>(
                        std::shared_ptr<StoreValue const>(std::shared_ptr<void>(), value))) {
                auto const& parts = array->GetParts();
                for (auto const& element : parts.values.View()) {
                    CountHashed(element.get(), count);
                }
                for (auto const& run : parts.runs.View()) {
                    CountHashed(run.value.get(), count);
                }
            }
            return;
        case StoreType::Tuple:
            for (auto const& element : value->AsTuple().GetElements()) {
                CountHashed(element.get(), count);
            }
            return;
        case StoreType::KeyMap:
        case StoreType::Table:
            for (auto const& [name, member] : value->AsKeyMap().GetEntries()) {
                CountHashed(member.get(), count);
            }
            return;
        default:
            return;
    }
}

}  // namespace

std::uint64_t CountHashedElements(std::vector<std::shared_ptr<StoreValue>> const& values) {
    std::uint64_t count = 0;
    for (auto const& value : values) {
        CountHashed(value.get(), count);
    }
    return count;
}

namespace {

class TypeTextParser {
public:
    TypeTextParser(std::string_view text, std::string& error) : m_text(text), m_error(error) {}

    std::optional<TypeNode> ParseWhole() {
        std::optional<TypeNode> node = Parse(0);
        if (node && m_pos != m_text.size()) {
            std::string what = "unexpected '";
            what.append(1, m_text[m_pos]).append("'");
            return Error(what);
        }
        return node;
    }

private:
    static constexpr unsigned c_maxDepth = 8;

    std::optional<TypeNode> Error(std::string what) {
        m_error = what + " at character " + std::to_string(m_pos + 1);
        return std::nullopt;
    }

    std::optional<TypeNode> Parse(unsigned depth) {
        if (depth > c_maxDepth) {
            return Error("type nested deeper than " + std::to_string(c_maxDepth) + " levels");
        }
        std::size_t const start = m_pos;
        while (m_pos < m_text.size() && ((m_text[m_pos] >= 'a' && m_text[m_pos] <= 'z') ||
                                         (m_text[m_pos] >= '0' && m_text[m_pos] <= '9'))) {
            ++m_pos;
        }
        std::string_view const name = m_text.substr(start, m_pos - start);
        TypeNode node;
        if (name == "keyset") {
            node.kind = TypeNode::Kind::KeySet;
            node.info = StoreTypeInfo::Object;
        } else if (name == "none") {
            node.kind = TypeNode::Kind::None;
        } else if (auto const type = ParseStoreTypeName(name)) {
            node.info = StoreTypeInfo(*type, false);
        } else {
            m_pos = start;
            return Error(name.empty() ? "expected a type name"
                                      : "unknown type \"" + std::string(name) + "\"");
        }
        if (m_pos < m_text.size() && m_text[m_pos] == '(') {
            if (node.info.GetStoreType() != StoreType::String || node.kind != TypeNode::Kind::Plain) {
                return Error("only a string type takes a collation");
            }
            std::size_t const close = m_text.find(')', m_pos);
            if (close == std::string_view::npos) {
                return Error("unterminated collation");
            }
            std::string const collation(m_text.substr(m_pos + 1, close - m_pos - 1));
            try {
                node.info = StoreTypeInfo(StoreType::String, false,
                                          Collation::Named(TStringCore::FromUtf8(collation)));
            } catch (ZelRuntimeException const&) {
                return Error("unknown collation \"" + collation + "\"");
            }
            m_pos = close + 1;
        }
        if (m_pos < m_text.size() && m_text[m_pos] == '<') {
            do {
                ++m_pos;
                std::optional<TypeNode> arg = Parse(depth + 1);
                if (!arg) {
                    return std::nullopt;
                }
                node.args.push_back(std::move(*arg));
            } while (m_pos < m_text.size() && m_text[m_pos] == ',');
            if (m_pos >= m_text.size() || m_text[m_pos] != '>') {
                return Error("expected '>'");
            }
            ++m_pos;
        }
        return node;
    }

    std::string_view m_text;
    std::string& m_error;
    std::size_t m_pos = 0;
};

}  // namespace

std::optional<TypeNode> ParseTypeText(std::string_view text, std::string& error) {
    return TypeTextParser(text, error).ParseWhole();
}

std::string FormatType(StoreTypeInfo const& type) {
    std::string text(StoreTypeName(type.GetStoreType()));
    if (type.GetStoreType() == StoreType::String && !type.GetCollation().IsBinary()) {
        text.append("(").append(type.GetCollation().GetName().ToUtf8()).append(")");
    }
    return text;
}

std::string FormatType(StoreTypeInfo const& type, StoreTypeInfo const& child) {
    std::string text = FormatType(type);
    if (!child.IsEmpty()) {
        text.append("<").append(FormatType(child)).append(">");
    }
    return text;
}

std::string SpecialKindText(SpecialKind kind) {
    switch (kind) {
        case SpecialKind::Null:
            return "\"null\"";
        case SpecialKind::Error:
            return "\"error\"";
        default:
            return std::to_string(static_cast<unsigned>(kind));
    }
}

}  // namespace zel::core::io_detail
