#include "zel/core/io/BinaryProtocolWriter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <string>

#include "io/BinaryProtocol.h"
#include "io/StoreFormatCommon.h"
#include "store/ScalarValue.h"
#include "store/array/ElementOps.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/IStoreTuple.h"
#include "zel/core/store/KeySet.h"

namespace zel::core::BinaryProtocolWriter {

namespace {

using io_detail::FormatType;
using ValuePtr = std::shared_ptr<StoreValue>;

// Columns of at least this many bytes go to a sink straight from their own memory.
constexpr std::size_t c_directColumnBytes = std::size_t{1} << 16;

class BinaryWriter {
public:
    BinaryWriter() = default;
    explicit BinaryWriter(ByteSink const& sink) : m_sink(&sink) {}

    std::vector<std::uint8_t> Take() { return std::move(m_out); }

    // Hands what is buffered to the sink.
    void Flush() {
        if (m_sink != nullptr && !m_out.empty()) {
            (*m_sink)(std::span<std::uint8_t const>(m_out.data(), m_out.size()));
            m_flushed += m_out.size();
            m_out.clear();
        }
    }

    void WriteStore(StoreValue const& root) {
        if (root.GetStoreType() != StoreType::KeyMap || root.IsSpecial()) {
            Fail("the root of a store must be a key map");
        }
        m_out.insert(m_out.end(), io_detail::c_binaryMagic, io_detail::c_binaryMagic + 4);
        Put<std::uint16_t>(io_detail::c_binaryVersion);
        Put<std::uint16_t>(0);
        WriteValue(&root);
    }

private:
    [[noreturn]] void Fail(std::string const& what) const { m_path.Fail(what); }

    using PathScope = io_detail::WriterPath::Scope;

    template <class U>
    void Put(U value) {
        if constexpr (std::endian::native == std::endian::big) {
            value = io_detail::ByteSwap(value);
        }
        std::size_t const at = m_out.size();
        m_out.resize(at + sizeof(U));
        std::memcpy(m_out.data() + at, &value, sizeof(U));
    }

    // Pads to a multiple of `width` bytes from the start of the store, wherever the bytes went.
    void Align(std::size_t width) {
        std::size_t const offset = m_flushed + m_out.size();
        m_out.resize(m_out.size() + (width - offset % width) % width, 0);
    }

    std::uint32_t Length(std::size_t length) {
        if (length > std::numeric_limits<std::uint32_t>::max()) {
            Fail("more than 4 GiB in one string or column");
        }
        return static_cast<std::uint32_t>(length);
    }

    void PutText(std::string const& utf8) {
        Put<std::uint32_t>(Length(utf8.size()));
        m_out.insert(m_out.end(), utf8.begin(), utf8.end());
    }

    // UTF-8 of a text; a character that is no Unicode scalar value cannot be written.
    std::string Utf8(TStringCore const& text) {
        for (wchar_t const c : text) {
            auto const code = static_cast<std::uint32_t>(c);
            if ((code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) {
                Fail("a string holds a character that is no Unicode scalar value");
            }
        }
        return text.ToUtf8();
    }

    void WriteType(StoreTypeInfo const& type) {
        m_out.push_back(static_cast<std::uint8_t>(type.GetStoreType()));
        if (type.GetStoreType() == StoreType::String) {
            PutText(type.GetCollation().IsBinary() ? std::string() : type.GetCollation().GetName().ToUtf8());
        }
    }

    template <class S>
    S const& Storage(StoreValue const& value) {
        if (auto const* scalar = dynamic_cast<ScalarStorage<S> const*>(&value)) {
            return scalar->GetStorageValue();
        }
        Fail("a scalar of a kind the writer does not know cannot be written");
    }

    // A value, or for null the type Empty ("no value").
    void WriteValue(StoreValue const* value) {
        if (value == nullptr) {
            m_out.push_back(static_cast<std::uint8_t>(StoreType::Empty));
            return;
        }
        StoreTypeInfo const& type = value->GetTypeInfo();
        if (type.IsEmpty() || StoreTypeName(type.GetStoreType()).empty()) {
            Fail("a value without a type cannot be written");
        }
        WriteType(type);
        m_out.push_back(static_cast<std::uint8_t>(value->GetSpecialKind()));
        if (value->IsSpecial()) {
            return;
        }
        switch (type.GetStoreType()) {
            case StoreType::Bool:
                m_out.push_back(Storage<unsigned char>(*value));
                return;
            case StoreType::Int32:
            case StoreType::Float:
            case StoreType::Color:
                Put<std::uint32_t>(Storage<unsigned int>(*value));
                return;
            case StoreType::Int64:
            case StoreType::Double:
            case StoreType::Date:
            case StoreType::DateTime:
                Put<std::uint64_t>(Storage<unsigned long long>(*value));
                return;
            case StoreType::String:
                PutText(Utf8(Storage<RIndirectString>(*value).Get()));
                return;
            case StoreType::Object:
                WriteObject(*value);
                return;
            case StoreType::Array:
            case StoreType::Set:
                WriteCollection(*value);
                return;
            case StoreType::Tuple: {
                auto const& elements = value->AsTuple().GetElements();
                Put<std::uint32_t>(Length(elements.size()));
                for (std::size_t i = 0; i < elements.size(); ++i) {
                    PathScope const scope(m_path, std::to_string(i));
                    WriteValue(elements[i].get());
                }
                return;
            }
            case StoreType::KeyMap:
            case StoreType::Table: {
                IStoreKeyMap const& map = value->AsKeyMap();
                Put<std::uint32_t>(map.GetEntryCount());
                for (TStringCore const& name : map.GetSortedNames()) {
                    PathScope const scope(m_path, name.ToUtf8());
                    PutText(Utf8(name));
                    WriteValue(map.Find(name).get());
                }
                return;
            }
            case StoreType::Empty:
                break;
        }
        Fail("a value of type " + FormatType(type) + " cannot be written");
    }

    void WriteObject(StoreValue const& value) {
        if (auto const* object = dynamic_cast<ScalarValue<StoreType::Object> const*>(&value)) {
            ValuePtr const held = object->GetValue();
            m_out.push_back(held ? 1 : 0);
            if (held) {
                PathScope const scope(m_path, "value");
                WriteValue(held.get());
            }
            return;
        }
        if (auto const* keySet = dynamic_cast<IStoreKeySet const*>(&value)) {
            m_out.push_back(2);
            StorageTypeDispatcher(keySet->GetKeyStorageType(), [&]<class K>(StorageTag<K>) {
                StorageTypeDispatcher(keySet->GetValueStorageType(), [&]<class V>(StorageTag<V>) {
                    WriteKeySet<K, V>(AsTypedKeySet<K, V>(value));
                });
            });
            return;
        }
        Fail("an object of a kind the writer does not know cannot be written");
    }

    // `count` elements: a raw little-endian buffer for the fixed widths, offsets and UTF-8 bytes for
    // strings, one value each for values.
    template <class T>
    void WriteColumn(T const* values, std::size_t count) {
        if constexpr (std::is_same_v<T, RIndirectString>) {
            Align(4);
            std::size_t const offsetsAt = m_out.size();
            m_out.resize(offsetsAt + (count + 1) * 4);
            std::uint32_t offset = 0;
            auto putOffset = [&](std::size_t i) {
                std::uint32_t little = offset;
                if constexpr (std::endian::native == std::endian::big) {
                    little = io_detail::ByteSwap(little);
                }
                std::memcpy(m_out.data() + offsetsAt + 4 * i, &little, 4);
            };
            putOffset(0);
            for (std::size_t i = 0; i < count; ++i) {
                std::string const utf8 = Utf8(values[i].Get());
                offset = Length(std::uint64_t(offset) + utf8.size());
                m_out.insert(m_out.end(), utf8.begin(), utf8.end());
                putOffset(i + 1);
            }
        } else if constexpr (std::is_same_v<T, ValuePtr>) {
            for (std::size_t i = 0; i < count; ++i) {
                PathScope const scope(m_path, std::to_string(i));
                WriteValue(values[i].get());
            }
        } else {
            Align(sizeof(T));
            if constexpr (std::endian::native == std::endian::little) {
                if (m_sink != nullptr && count * sizeof(T) >= c_directColumnBytes) {
                    Flush();
                    (*m_sink)(std::span<std::uint8_t const>(reinterpret_cast<std::uint8_t const*>(values),
                                                            count * sizeof(T)));
                    m_flushed += count * sizeof(T);
                    return;
                }
            }
            std::size_t const at = m_out.size();
            m_out.resize(at + count * sizeof(T));
            if constexpr (std::endian::native == std::endian::big) {
                for (std::size_t i = 0; i < count; ++i) {
                    T const swapped = io_detail::ByteSwap(values[i]);
                    std::memcpy(m_out.data() + at + i * sizeof(T), &swapped, sizeof(T));
                }
            } else if (count > 0) {
                std::memcpy(m_out.data() + at, values, count * sizeof(T));
            }
        }
    }

    void WriteSpecials(ArrayPart<SpecialKind> const& specials) {
        m_out.push_back(specials.IsPresent() ? 1 : 0);
        if (specials.IsPresent()) {
            auto const* bytes = reinterpret_cast<std::uint8_t const*>(specials.View().data());
            m_out.insert(m_out.end(), bytes, bytes + specials.size());
        }
    }

    void WriteIndices(ArrayPart<unsigned int> const& indices) {
        Put<std::uint32_t>(indices.size());
        WriteColumn<unsigned int>(indices.View().data(), indices.size());
    }

    void WriteCollection(StoreValue const& value) {
        StoreTypeInfo const& elementType = value.GetValueTypeInfo();
        auto const storage = GetStorageType(elementType.GetStoreType());
        if (!storage) {
            Fail("an array of " + FormatType(elementType) + " cannot be written");
        }
        StorageTypeDispatcher(*storage, [&]<class T>(StorageTag<T>) {
            auto const array =
                io_detail::ArrayOf<T>(std::shared_ptr<StoreValue const>(std::shared_ptr<void>(), &value));
            if (!array) {
                Fail("an array of a kind the writer does not know cannot be written");
            }
            WriteArray<T>(value.GetStoreType() == StoreType::Set, *array);
        });
    }

    template <class T>
    void WriteArray(bool isSet, detail::ArrayValue<T> const& array) {
        ArrayParts<T> const& parts = array.GetParts();
        WriteType(parts.elementType);
        WriteType(array.GetChildTypeInfo());
        ArrayLayout const layout = array.GetLayout();
        if (!isSet) {
            m_out.push_back(static_cast<std::uint8_t>(layout));
        }
        switch (layout) {
            case ArrayLayout::Flat:
            case ArrayLayout::Indexed:
                Put<std::uint32_t>(parts.values.size());
                WriteColumn<T>(parts.values.View().data(), parts.values.size());
                WriteSpecials(parts.specials);
                if (layout == ArrayLayout::Indexed) {
                    WriteIndices(parts.indices);
                }
                return;
            case ArrayLayout::Constant: {
                Put<std::uint32_t>(array.GetCount());
                SpecialKind const special =
                    parts.specials.IsPresent() ? parts.specials.View().data()[0] : SpecialKind::None;
                m_out.push_back(static_cast<std::uint8_t>(special));
                if (special == SpecialKind::None) {
                    WriteColumn<T>(parts.values.View().data(), 1);
                }
                return;
            }
            case ArrayLayout::RunLength: {
                auto const runs = parts.runs.View();
                Put<std::uint32_t>(runs.size());
                std::vector<T> values;
                std::vector<unsigned int> counts;
                values.reserve(runs.size());
                counts.reserve(runs.size());
                for (RunLengthEntry<T> const& run : runs) {
                    values.push_back(run.value);
                    counts.push_back(run.count);
                }
                WriteColumn<T>(values.data(), values.size());
                for (RunLengthEntry<T> const& run : runs) {
                    m_out.push_back(static_cast<std::uint8_t>(run.special));
                }
                WriteColumn<unsigned int>(counts.data(), counts.size());
                m_out.push_back(parts.indices.IsPresent() ? 1 : 0);
                if (parts.indices.IsPresent()) {
                    WriteIndices(parts.indices);
                }
                return;
            }
        }
    }

    template <class K, class V>
    void WriteKeySet(KeySetValue<K, V> const& keySet) {
        WriteType(keySet.GetKeyTypeInfo());
        WriteType(keySet.GetEntryValueTypeInfo());
        WriteType(keySet.GetEntryValueChildTypeInfo());
        std::vector<std::pair<K, V>> entries(keySet.GetMap().begin(), keySet.GetMap().end());
        detail::ElementOps<K> const ops(keySet.GetKeyTypeInfo());
        std::sort(entries.begin(), entries.end(),
                  [&](auto const& a, auto const& b) { return ops.Compare(a.first, b.first) < 0; });
        std::vector<K> keys;
        std::vector<V> values;
        for (auto& [key, mapped] : entries) {
            keys.push_back(key);
            values.push_back(mapped);
        }
        Put<std::uint32_t>(Length(keys.size()));
        WriteColumn<K>(keys.data(), keys.size());
        WriteColumn<V>(values.data(), values.size());
        std::vector<std::uint8_t> kinds;
        std::vector<V> specialValues;
        for (unsigned kind = 1; kind < 256; ++kind) {
            if (V const* mapped = keySet.FindSpecial(static_cast<SpecialKind>(kind))) {
                kinds.push_back(static_cast<std::uint8_t>(kind));
                specialValues.push_back(*mapped);
            }
        }
        Put<std::uint32_t>(Length(kinds.size()));
        m_out.insert(m_out.end(), kinds.begin(), kinds.end());
        WriteColumn<V>(specialValues.data(), specialValues.size());
    }

    std::vector<std::uint8_t> m_out;
    ByteSink const* m_sink = nullptr;
    std::size_t m_flushed = 0;  // bytes already handed to the sink
    io_detail::WriterPath m_path{"binary store writer"};
};

}  // namespace

std::vector<std::uint8_t> WriteStore(IDataStore const& store) {
    return WriteRoot(*store.GetRootValue());
}

std::vector<std::uint8_t> WriteRoot(StoreValue const& root) {
    BinaryWriter writer;
    writer.WriteStore(root);
    return writer.Take();
}

void WriteStore(IDataStore const& store, ByteSink const& sink) {
    BinaryWriter writer(sink);
    writer.WriteStore(*store.GetRootValue());
    writer.Flush();
}

}  // namespace zel::core::BinaryProtocolWriter
