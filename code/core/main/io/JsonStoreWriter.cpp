#include "zel/core/io/JsonStoreWriter.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "io/StoreFormatCommon.h"
#include "store/ScalarValue.h"
#include "store/array/ElementOps.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/IStoreTuple.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::core::JsonStoreWriter {

namespace {

using io_detail::FormatType;
using ValuePtr = std::shared_ptr<StoreValue>;

class JsonWriter {
public:
    std::string Take() { return std::move(m_out); }

    void WriteRoot(StoreValue const& root) {
        if (root.GetStoreType() != StoreType::KeyMap || root.IsSpecial()) {
            Fail("the root of a store must be a key map");
        }
        WriteValue(root);
    }

    // A value in the form a key map entry takes: plain JSON where the reader infers the same
    // value back, the typed form {"$type": ...} everywhere else.
    void WriteValue(StoreValue const& value) {
        if (value.IsSpecial()) {
            m_out += "{\"$type\":\"";
            m_out += FormatType(value.GetTypeInfo());
            m_out += "\",\"special\":";
            m_out += io_detail::SpecialKindText(value.GetSpecialKind());
            m_out += '}';
            return;
        }
        StoreTypeInfo const& type = value.GetTypeInfo();
        switch (type.GetStoreType()) {
            case StoreType::Bool:
                m_out += Storage<unsigned char>(value) != 0 ? "true" : "false";
                return;
            case StoreType::Int32:
                WriteInteger(static_cast<int>(Storage<unsigned int>(value)));
                return;
            case StoreType::Int64: {
                long long const number = static_cast<long long>(Storage<unsigned long long>(value));
                if (number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) {
                    WriteTypedScalar<unsigned long long>(type, static_cast<unsigned long long>(number));
                } else {
                    WriteInteger(number);
                }
                return;
            }
            case StoreType::Double: {
                double const number = BitsToDouble(Storage<unsigned long long>(value));
                if (std::isfinite(number)) {
                    WriteFloating(number);
                } else {
                    WriteTypedScalar<unsigned long long>(type, DoubleToBits(number));
                }
                return;
            }
            case StoreType::String:
                if (type.GetCollation().IsBinary()) {
                    WriteString(Storage<RIndirectString>(value).View());
                } else {
                    WriteTypedScalar<RIndirectString>(type, Storage<RIndirectString>(value));
                }
                return;
            case StoreType::Float:
            case StoreType::Color:
                WriteTypedScalar<unsigned int>(type, Storage<unsigned int>(value));
                return;
            case StoreType::Date:
            case StoreType::DateTime:
                WriteTypedScalar<unsigned long long>(type, Storage<unsigned long long>(value));
                return;
            case StoreType::Object:
                WriteObject(value);
                return;
            case StoreType::Array:
            case StoreType::Set:
                WriteCollection(value);
                return;
            case StoreType::Tuple:
                WriteTuple(value.AsTuple());
                return;
            case StoreType::KeyMap:
                WriteKeyMap(value.AsKeyMap());
                return;
            case StoreType::Table:
                m_out += "{\"$type\":\"table\",\"columns\":";
                WriteEntries(value.AsKeyMap());
                m_out += '}';
                return;
            case StoreType::Empty:
                break;
        }
        Fail("a value of type " + FormatType(type) + " cannot be written");
    }

private:
    [[noreturn]] void Fail(std::string const& what) const { m_path.Fail(what); }

    using PathScope = io_detail::WriterPath::Scope;

    // A non-owning pointer to a value the caller holds, for the casts of shared pointers.
    static std::shared_ptr<StoreValue const> Share(StoreValue const& value) {
        return std::shared_ptr<StoreValue const>(std::shared_ptr<void>(), &value);
    }

    // The storage form of a scalar.
    template <class S>
    S const& Storage(StoreValue const& value) {
        if (auto const* scalar = dynamic_cast<ScalarStorage<S> const*>(&value)) {
            return scalar->GetStorageValue();
        }
        Fail("a scalar of a kind the writer does not know cannot be written");
    }

    template <class I>
    void WriteInteger(I number) {
        char buffer[32];
        m_out.append(buffer, std::to_chars(buffer, buffer + sizeof(buffer), number).ptr);
    }

    // The shortest text that reads back to the same number, always with a fraction or an exponent
    // so that it reads as a floating number again ("1.0", "-0.0"). A float's shortest text may
    // read back wrongly through a double; then the double's shortest text of the float is written.
    template <class F>
    void WriteFloating(F number) {
        char buffer[64];
        char* end = std::to_chars(buffer, buffer + sizeof(buffer), number).ptr;
        if constexpr (std::is_same_v<F, float>) {
            double parsed = 0;
            std::from_chars(buffer, end, parsed);
            if (static_cast<float>(parsed) != number) {
                end = std::to_chars(buffer, buffer + sizeof(buffer), static_cast<double>(number)).ptr;
            }
        }
        m_out.append(buffer, end);
        if (std::find_if(buffer, end, [](char c) { return c == '.' || c == 'e'; }) == end) {
            m_out += ".0";
        }
    }

    template <class F, class Bits>
    void WriteFloatingElement(Bits bits) {
        F const number = std::bit_cast<F>(bits);
        if (std::isfinite(number)) {
            WriteFloating(number);
        } else if (std::isinf(number)) {
            m_out += number > 0 ? "\"inf\"" : "\"-inf\"";
        } else if (bits == std::bit_cast<Bits>(std::numeric_limits<F>::quiet_NaN())) {
            m_out += "\"nan\"";
        } else {
            char buffer[32];
            char* const end = std::to_chars(buffer, buffer + sizeof(buffer), bits, 16).ptr;
            m_out += "\"0x";
            m_out.append(2 * sizeof(Bits) - static_cast<std::size_t>(end - buffer), '0');
            m_out.append(buffer, end);
            m_out += '"';
        }
    }

    // A JSON string in UTF-8; a character that is no Unicode scalar value cannot be written.
    void WriteString(std::wstring_view text) {
        m_out += '"';
        for (wchar_t const wide : text) {
            auto const c = static_cast<std::uint32_t>(wide);
            switch (c) {
                case '"':
                    m_out += "\\\"";
                    continue;
                case '\\':
                    m_out += "\\\\";
                    continue;
                case '\n':
                    m_out += "\\n";
                    continue;
                case '\r':
                    m_out += "\\r";
                    continue;
                case '\t':
                    m_out += "\\t";
                    continue;
                default:
                    break;
            }
            if (c < 0x20) {
                char buffer[8];
                std::snprintf(buffer, sizeof(buffer), "\\u%04x", static_cast<unsigned>(c));
                m_out += buffer;
            } else if (c < 0x80) {
                m_out += static_cast<char>(c);
            } else if (c < 0x800) {
                m_out += static_cast<char>(0xC0 | (c >> 6));
                m_out += static_cast<char>(0x80 | (c & 0x3F));
            } else if (c < 0x10000) {
                if (c >= 0xD800 && c <= 0xDFFF) {
                    Fail("a string holds a surrogate code unit, which is no Unicode scalar value");
                }
                m_out += static_cast<char>(0xE0 | (c >> 12));
                m_out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
                m_out += static_cast<char>(0x80 | (c & 0x3F));
            } else if (c < 0x110000) {
                m_out += static_cast<char>(0xF0 | (c >> 18));
                m_out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
                m_out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
                m_out += static_cast<char>(0x80 | (c & 0x3F));
            } else {
                Fail("a string holds a character past U+10FFFF");
            }
        }
        m_out += '"';
    }

    template <class T>
    void WriteTypedScalar(StoreTypeInfo const& type, T const& value) {
        m_out += "{\"$type\":\"";
        m_out += FormatType(type);
        m_out += "\",\"value\":";
        WriteElement<T>(type, value, SpecialKind::None);
        m_out += '}';
    }

    void WriteSpecialElement(SpecialKind special) {
        if (special == SpecialKind::Null) {
            m_out += "null";
        } else {
            m_out += "{\"$special\":";
            m_out += io_detail::SpecialKindText(special);
            m_out += '}';
        }
    }

    // One element of an array, set or key set of `type`.
    template <class T>
    void WriteElement(StoreTypeInfo const& type, T const& value, SpecialKind special) {
        if (special != SpecialKind::None) {
            WriteSpecialElement(special);
            return;
        }
        if constexpr (std::is_same_v<T, unsigned char>) {
            m_out += value != 0 ? "true" : "false";
        } else if constexpr (std::is_same_v<T, RIndirectString>) {
            WriteString(value.View());
        } else if constexpr (std::is_same_v<T, ValuePtr>) {
            if (!value) {
                m_out += "{\"$type\":\"none\"}";
            } else {
                WriteValue(*value);
            }
        } else {
            switch (type.GetStoreType()) {
                case StoreType::Int32:
                    WriteInteger(static_cast<int>(value));
                    return;
                case StoreType::Int64:
                    WriteInteger(static_cast<long long>(value));
                    return;
                case StoreType::Float:
                    WriteFloatingElement<float>(static_cast<unsigned int>(value));
                    return;
                case StoreType::Double:
                    WriteFloatingElement<double>(static_cast<unsigned long long>(value));
                    return;
                case StoreType::Date:
                case StoreType::DateTime: {
                    ZelDateTime const time(value);
                    if (time.IsValid()) {
                        m_out += '"';
                        m_out += time.ToIsoString(type.GetStoreType() == StoreType::Date);
                        m_out += '"';
                    } else {
                        WriteInteger(static_cast<unsigned long long>(value));
                    }
                    return;
                }
                case StoreType::Color: {
                    char buffer[16];
                    std::snprintf(buffer, sizeof(buffer), "\"#%08X\"", static_cast<unsigned>(value));
                    m_out += buffer;
                    return;
                }
                default:
                    Fail("elements of type " + FormatType(type) + " cannot be written");
            }
        }
    }

    // A JSON array of `count` elements from `values` (and `specials`, when present).
    template <class T>
    void WriteColumn(StoreTypeInfo const& type, T const* values, SpecialKind const* specials,
                     std::size_t count) {
        m_out += '[';
        for (std::size_t i = 0; i < count; ++i) {
            if (i > 0) {
                m_out += ',';
            }
            if constexpr (std::is_same_v<T, ValuePtr>) {
                PathScope const scope(m_path, std::to_string(i));
                WriteElement<T>(type, values[i], specials ? specials[i] : SpecialKind::None);
            } else {
                WriteElement<T>(type, values[i], specials ? specials[i] : SpecialKind::None);
            }
        }
        m_out += ']';
    }

    void WriteIndices(ArrayPart<unsigned int> const& indices) {
        m_out += ",\"indices\":[";
        for (unsigned int i = 0; i < indices.size(); ++i) {
            if (i > 0) {
                m_out += ',';
            }
            WriteInteger(indices.View().data()[i]);
        }
        m_out += ']';
    }

    void WriteCollection(StoreValue const& value) {
        StoreTypeInfo const& elementType = value.GetValueTypeInfo();
        auto const storage = GetStorageType(elementType.GetStoreType());
        if (!storage) {
            Fail("an array of " + FormatType(elementType) + " cannot be written");
        }
        StorageTypeDispatcher(*storage, [&]<class T>(StorageTag<T>) {
            auto const array = io_detail::ArrayOf<T>(Share(value));
            if (!array) {
                Fail("an array of a kind the writer does not know cannot be written");
            }
            WriteArray<T>(value.GetStoreType() == StoreType::Set, *array);
        });
    }

    template <class T>
    void WriteArray(bool isSet, detail::ArrayValue<T> const& array) {
        ArrayParts<T> const& parts = array.GetParts();
        m_out += "{\"$type\":\"";
        m_out += isSet ? "set<" : "array<";
        m_out += FormatType(parts.elementType, array.GetChildTypeInfo());
        m_out += ">\",";
        SpecialKind const* const specials =
            parts.specials.IsPresent() ? parts.specials.View().data() : nullptr;
        switch (array.GetLayout()) {
            case ArrayLayout::Flat:
            case ArrayLayout::Indexed: {
                PathScope const scope(m_path, "values");
                m_out += "\"values\":";
                WriteColumn<T>(parts.elementType, parts.values.View().data(), specials, parts.values.size());
                break;
            }
            case ArrayLayout::Constant: {
                PathScope const scope(m_path, "constant");
                m_out += "\"constant\":";
                WriteElement<T>(parts.elementType, parts.values.View().data()[0],
                                specials ? specials[0] : SpecialKind::None);
                m_out += ",\"count\":";
                WriteInteger(array.GetCount());
                break;
            }
            case ArrayLayout::RunLength: {
                m_out += "\"runs\":[";
                for (unsigned int i = 0; i < parts.runs.size(); ++i) {
                    PathScope const scope(m_path, "runs/" + std::to_string(i));
                    RunLengthEntry<T> const& run = parts.runs.View().data()[i];
                    m_out += i > 0 ? ",{" : "{";
                    if (run.special != SpecialKind::None) {
                        m_out += "\"special\":";
                        m_out += io_detail::SpecialKindText(run.special);
                    } else {
                        m_out += "\"value\":";
                        WriteElement<T>(parts.elementType, run.value, SpecialKind::None);
                    }
                    m_out += ",\"count\":";
                    WriteInteger(run.count);
                    m_out += '}';
                }
                m_out += ']';
                break;
            }
        }
        if (parts.indices.IsPresent()) {
            WriteIndices(parts.indices);
        }
        m_out += '}';
    }

    void WriteTuple(IStoreTuple const& tuple) {
        m_out += "{\"$type\":\"tuple\",\"values\":[";
        auto const& elements = tuple.GetElements();
        for (std::size_t i = 0; i < elements.size(); ++i) {
            PathScope const scope(m_path, std::to_string(i));
            if (i > 0) {
                m_out += ',';
            }
            if (elements[i]) {
                WriteValue(*elements[i]);
            } else {
                m_out += "null";
            }
        }
        m_out += "]}";
    }

    // Plain, unless a name starts with '$': such a map could read back as a typed value or a
    // special, so it takes the typed form.
    void WriteKeyMap(IStoreKeyMap const& map) {
        bool const plain =
            std::none_of(map.GetEntries().begin(), map.GetEntries().end(),
                         [](auto const& entry) { return entry.first.view().starts_with(L'$'); });
        if (!plain) {
            m_out += "{\"$type\":\"keymap\",\"entries\":";
        }
        WriteEntries(map);
        if (!plain) {
            m_out += '}';
        }
    }

    void WriteEntries(IStoreKeyMap const& map) {
        m_out += '{';
        bool first = true;
        for (TStringCore const& name : map.GetSortedNames()) {
            PathScope const scope(m_path, name.ToUtf8());
            if (!first) {
                m_out += ',';
            }
            first = false;
            WriteString(name.view());
            m_out += ':';
            WriteValue(*map.Find(name));
        }
        m_out += '}';
    }

    void WriteObject(StoreValue const& value) {
        if (auto const* object = dynamic_cast<ScalarValue<StoreType::Object> const*>(&value)) {
            m_out += "{\"$type\":\"object\"";
            if (ValuePtr const& held = object->GetValue()) {
                PathScope const scope(m_path, "value");
                m_out += ",\"value\":";
                WriteValue(*held);
            }
            m_out += '}';
            return;
        }
        if (auto const* keySet = dynamic_cast<IStoreKeySet const*>(&value)) {
            StorageTypeDispatcher(keySet->GetKeyStorageType(), [&]<class K>(StorageTag<K>) {
                StorageTypeDispatcher(keySet->GetValueStorageType(), [&]<class V>(StorageTag<V>) {
                    WriteKeySet<K, V>(AsTypedKeySet<K, V>(value));
                });
            });
            return;
        }
        Fail("an object of a kind the writer does not know cannot be written");
    }

    // Keys in key order (strings under the key type's collation), then the special keys by kind.
    template <class K, class V>
    void WriteKeySet(KeySetValue<K, V> const& keySet) {
        StoreTypeInfo const& keyType = keySet.GetKeyTypeInfo();
        StoreTypeInfo const& valueType = keySet.GetEntryValueTypeInfo();
        std::vector<std::pair<K, V>> entries(keySet.GetMap().begin(), keySet.GetMap().end());
        detail::ElementOps<K> const ops(keyType);
        std::sort(entries.begin(), entries.end(),
                  [&](auto const& a, auto const& b) { return ops.Compare(a.first, b.first) < 0; });
        std::vector<K> keys;
        std::vector<V> values;
        for (auto& [key, mapped] : entries) {
            keys.push_back(key);
            values.push_back(mapped);
        }
        m_out += "{\"$type\":\"keyset<";
        m_out += FormatType(keyType);
        m_out += ',';
        m_out += FormatType(valueType, keySet.GetEntryValueChildTypeInfo());
        m_out += ">\",\"keys\":";
        {
            PathScope const scope(m_path, "keys");
            WriteColumn<K>(keyType, keys.data(), nullptr, keys.size());
        }
        m_out += ",\"values\":";
        {
            PathScope const scope(m_path, "values");
            WriteColumn<V>(valueType, values.data(), nullptr, values.size());
        }
        if (keySet.GetSpecialKeyCount() > 0) {
            PathScope const scope(m_path, "specials");
            m_out += ",\"specials\":[";
            bool first = true;
            for (unsigned kind = 1; kind < 256; ++kind) {
                if (V const* mapped = keySet.FindSpecial(static_cast<SpecialKind>(kind))) {
                    m_out += first ? "{\"special\":" : ",{\"special\":";
                    first = false;
                    m_out += io_detail::SpecialKindText(static_cast<SpecialKind>(kind));
                    m_out += ",\"value\":";
                    WriteElement<V>(valueType, *mapped, SpecialKind::None);
                    m_out += '}';
                }
            }
            m_out += ']';
        }
        m_out += '}';
    }

    std::string m_out;
    io_detail::WriterPath m_path{"JSON store writer"};
};

}  // namespace

std::string WriteStore(IDataStore const& store) {
    JsonWriter writer;
    writer.WriteRoot(*store.GetRootValue());
    return writer.Take();
}

std::string WriteValue(StoreValue const& value) {
    JsonWriter writer;
    writer.WriteValue(value);
    return writer.Take();
}

TStringCore WriteStoreText(IDataStore const& store) {
    return TStringCore::FromUtf8(WriteStore(store));
}

}  // namespace zel::core::JsonStoreWriter
