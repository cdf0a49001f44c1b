#include "zel/core/io/BinaryProtocolReader.h"

#include <bit>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "io/BinaryProtocol.h"
#include "io/ReadInPieces.h"
#include "io/StoreFormatCommon.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/StringArena.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelException.h"

namespace zel::core {

BinaryProtocolReader::BinaryProtocolReader(void const* data, std::size_t size) noexcept
    : m_data(static_cast<std::uint8_t const*>(data)), m_size(data != nullptr ? size : 0) {}

BinaryProtocolReader::BinaryProtocolReader(std::vector<std::uint8_t> bytes) noexcept
    : m_owned(std::move(bytes)), m_data(m_owned.data()), m_size(m_owned.size()) {}

void BinaryProtocolReader::FailAt(std::size_t offset, std::string_view what) const {
    io_detail::ThrowFormatError("binary store: " + std::string(what) + " at byte offset " +
                                std::to_string(offset));
}

void BinaryProtocolReader::Fail(std::string_view what) const {
    FailAt(m_offset, what);
}

void BinaryProtocolReader::Require(std::uint64_t count, std::size_t itemBytes, std::string_view what) const {
    if (itemBytes != 0 && count > GetRemaining() / itemBytes) {
        Fail(std::string(what) + ": " + std::to_string(count) + " items of " + std::to_string(itemBytes) +
             " bytes do not fit in the " + std::to_string(GetRemaining()) + " bytes left");
    }
}

std::span<std::uint8_t const> BinaryProtocolReader::ReadBytes(std::size_t count, std::string_view what) {
    if (count > GetRemaining()) {
        Fail("truncated " + std::string(what) + ": " + std::to_string(count) + " bytes wanted, " +
             std::to_string(GetRemaining()) + " left");
    }
    std::span<std::uint8_t const> const bytes(m_data + m_offset, count);
    m_offset += count;
    return bytes;
}

namespace {

// Where an element of a column cannot be read, and why.
struct StringFailure {
    std::size_t at;
    std::string what;
};

template <class U>
U ReadLittleEndian(std::span<std::uint8_t const> bytes) {
    U value = 0;
    std::memcpy(&value, bytes.data(), sizeof(U));
    if constexpr (std::endian::native == std::endian::big) {
        value = io_detail::ByteSwap(value);
    }
    return value;
}

}  // namespace

std::uint8_t BinaryProtocolReader::ReadUInt8(std::string_view what) {
    return ReadBytes(1, what)[0];
}
std::uint16_t BinaryProtocolReader::ReadUInt16(std::string_view what) {
    return ReadLittleEndian<std::uint16_t>(ReadBytes(2, what));
}
std::uint32_t BinaryProtocolReader::ReadUInt32(std::string_view what) {
    return ReadLittleEndian<std::uint32_t>(ReadBytes(4, what));
}
std::uint64_t BinaryProtocolReader::ReadUInt64(std::string_view what) {
    return ReadLittleEndian<std::uint64_t>(ReadBytes(8, what));
}

void BinaryProtocolReader::Align(std::size_t width, std::string_view what) {
    std::size_t const padding = (width - m_offset % width) % width;
    for (std::uint8_t const byte : ReadBytes(padding, what)) {
        if (byte != 0) {
            FailAt(m_offset - padding, "padding before " + std::string(what) + " is not zero");
        }
    }
}

namespace io_detail {

namespace {

using ValuePtr = std::shared_ptr<StoreValue>;

class BinaryReader {
public:
    BinaryReader(BinaryProtocolReader& in, StoreValueParser::ReadOptions const& options)
        : m(in), m_options(options) {}

    ValuePtr ReadStore() {
        auto const magic = m.ReadBytes(4, "magic");
        if (std::memcmp(magic.data(), c_binaryMagic, 4) != 0) {
            m.FailAt(m.GetOffset() - 4, "no binary store (the magic bytes are not \"VRST\")");
        }
        std::uint16_t const version = m.ReadUInt16("version");
        if (version != c_binaryVersion) {
            m.FailAt(m.GetOffset() - 2, "version " + std::to_string(version) +
                                            " is not supported (this reader reads " +
                                            std::to_string(c_binaryVersion) + ")");
        }
        if (std::uint16_t const flags = m.ReadUInt16("flags"); flags != 0) {
            m.FailAt(m.GetOffset() - 2, "unknown flags " + std::to_string(flags));
        }
        std::size_t const rootAt = m.GetOffset();
        ValuePtr root = ReadValue(false);
        if (!root || root->GetStoreType() != StoreType::KeyMap || root->IsSpecial()) {
            m.FailAt(rootAt, "the root of a store must be a key map");
        }
        if (!m.AtEnd()) {
            m.Fail(std::to_string(m.GetRemaining()) + " bytes after the end of the store");
        }
        return root;
    }

private:
    class Nest {
    public:
        explicit Nest(BinaryReader& reader) : m_reader(reader) {
            if (++reader.m_depth > StoreValueParser::c_maxBinaryDepth) {
                reader.m.Fail("values nested deeper than " +
                              std::to_string(StoreValueParser::c_maxBinaryDepth) + " levels");
            }
        }
        ~Nest() { --m_reader.m_depth; }
        Nest(Nest const&) = delete;
        Nest& operator=(Nest const&) = delete;

    private:
        BinaryReader& m_reader;
    };

    TStringCore ReadText(std::size_t length, std::string_view what) {
        std::size_t const at = m.GetOffset();
        auto const bytes = m.ReadBytes(length, what);
        try {
            return TextOfUtf8(std::string_view(reinterpret_cast<char const*>(bytes.data()), bytes.size()));
        } catch (TStringEncodingException const& e) {
            m.FailAt(at + e.GetOffset(), std::string(what) + " is not UTF-8");
        }
    }

    // A type: its byte, and for a string the collation name (empty for binary). Empty (255) stands
    // for "no value" where a value may be missing.
    StoreTypeInfo ReadType(std::string_view what) {
        std::size_t const at = m.GetOffset();
        auto const byte = m.ReadUInt8(what);
        auto const type = static_cast<StoreType>(byte);
        if (type == StoreType::Empty) {
            return StoreTypeInfo::Empty;
        }
        if (StoreTypeName(type).empty()) {
            m.FailAt(at, "unknown type " + std::to_string(byte) + " for " + std::string(what));
        }
        if (type != StoreType::String) {
            return StoreTypeInfo(type, false);
        }
        std::size_t const collationAt = m.GetOffset();
        TStringCore const collation = ReadText(m.ReadUInt32("collation length"), "collation name");
        if (collation.isEmpty()) {
            return StoreTypeInfo::String;
        }
        try {
            return StoreTypeInfo(StoreType::String, false, Collation::Named(collation));
        } catch (ZelRuntimeException const&) {
            m.FailAt(collationAt, "unknown collation \"" + collation.ToUtf8() + "\"");
        }
    }

    StoreTypeInfo ReadElementType(std::string_view what) {
        std::size_t const at = m.GetOffset();
        StoreTypeInfo type = ReadType(what);
        if (type.IsEmpty()) {
            m.FailAt(at, std::string(what) + " cannot be empty");
        }
        return type;
    }

    template <class Maker>
    auto Dispatch(StoreTypeInfo const& type, std::size_t at, Maker&& maker) {
        auto const storage = GetStorageType(type.GetStoreType());
        if (!storage) {
            m.FailAt(at, "type " + FormatType(type) + " cannot hold elements");
        }
        return StorageTypeDispatcher(*storage, maker);
    }

    // A value; null for "no value", which only a tuple element, an object and an element of an array
    // of values may be (`nullable`).
    ValuePtr ReadValue(bool nullable) {
        std::size_t const at = m.GetOffset();
        StoreTypeInfo const type = ReadType("value type");
        if (type.IsEmpty()) {
            if (!nullable) {
                m.FailAt(at, "a missing value where a value is needed");
            }
            return nullptr;
        }
        Nest const nest(*this);
        auto const special = static_cast<SpecialKind>(m.ReadUInt8("special kind"));
        if (special != SpecialKind::None) {
            return factory::MakeSpecial(type, special);
        }
        switch (type.GetStoreType()) {
            case StoreType::Object:
                return ReadObject();
            case StoreType::Array:
                return ReadArray(false);
            case StoreType::Set:
                return ReadArray(true);
            case StoreType::Tuple: {
                std::uint32_t const count = m.ReadUInt32("tuple count");
                m.Require(count, 1, "tuple elements");
                std::vector<ValuePtr> elements;
                elements.reserve(count);
                for (std::uint32_t i = 0; i < count; ++i) {
                    elements.push_back(ReadValue(true));
                }
                return factory::MakeTuple(std::move(elements));
            }
            case StoreType::KeyMap:
            case StoreType::Table:
                return ReadEntries(type.GetStoreType() == StoreType::Table, at);
            default:
                break;
        }
        return Dispatch(type, at, [&]<class T>(StorageTag<T>) {
            T value{};
            ReadScalar<T>(type, value);
            return MakeStoreValueFromStorageType<T>(type, std::move(value));
        });
    }

    template <class T>
    void ReadScalar(StoreTypeInfo const& type, T& out) {
        if constexpr (std::is_same_v<T, RIndirectString>) {
            out = RIndirectString(ReadText(m.ReadUInt32("string length"), "string").view());
        } else if constexpr (std::is_same_v<T, unsigned char>) {
            std::size_t const at = m.GetOffset();
            out = m.ReadUInt8("bool");
            if (out > 1) {
                m.FailAt(at, "a bool is 0 or 1, not " + std::to_string(out));
            }
        } else if constexpr (std::is_same_v<T, unsigned int>) {
            out = m.ReadUInt32(StoreTypeName(type.GetStoreType()));
        } else if constexpr (std::is_same_v<T, unsigned long long>) {
            out = m.ReadUInt64(StoreTypeName(type.GetStoreType()));
        } else {
            out = ReadValue(true);
        }
    }

    ValuePtr ReadObject() {
        std::size_t const at = m.GetOffset();
        switch (m.ReadUInt8("object form")) {
            case 0:
                return factory::MakeObject(nullptr);
            case 1:
                return factory::MakeObject(ReadValue(false));
            case 2:
                return ReadKeySet();
            default:
                m.FailAt(at, "unknown object form (0 nothing, 1 a value, 2 a key set)");
        }
    }

    ValuePtr ReadEntries(bool table, std::size_t at) {
        std::uint32_t const count = m.ReadUInt32(table ? "column count" : "entry count");
        // Each entry takes at least a name length and a type byte.
        m.Require(count, 5, table ? "columns" : "entries");
        StoreValueMap entries;
        for (std::uint32_t i = 0; i < count; ++i) {
            std::size_t const nameAt = m.GetOffset();
            TStringCore name = ReadText(m.ReadUInt32("name length"), "name");
            m_names.push_back(name.ToUtf8());
            ValuePtr value = ReadValue(false);
            m_names.pop_back();
            if (!entries.emplace(std::move(name), std::move(value)).second) {
                m.FailAt(nameAt, "duplicate name");
            }
        }
        if (!table) {
            return factory::MakeKeyMap(std::move(entries));
        }
        try {
            return factory::MakeTable(std::move(entries));
        } catch (ZelRuntimeException const& e) {
            m.FailAt(at, "bad table: " + e.GetText().ToUtf8());
        }
    }

    // `count` strings, as offsets and UTF-8 bytes, into `values` (a vector of RIndirectString).
    template <class Vector>
    void ReadStrings(Vector& values, std::uint32_t count) {
        m.Align(4, "string offsets");
        m.Require(std::uint64_t(count) + 1, 4, "string offsets");
        std::size_t const offsetsAt = m.GetOffset();
        auto const offsetBytes = m.ReadBytes((std::size_t(count) + 1) * 4, "string offsets");
        auto offset = [&](std::size_t i) {
            return ReadLittleEndian<std::uint32_t>(offsetBytes.subspan(i * 4, 4));
        };
        if (offset(0) != 0) {
            m.FailAt(offsetsAt, "the first string offset is not 0");
        }
        std::size_t const bytesAt = m.GetOffset();
        auto const bytes = m.ReadBytes(offset(count), "string bytes");
        // Each text is found through its own offsets, so pieces of a long column are read on
        // several threads; the first failure of the column is the one reported.
        values.resize(count);
        // One slot per piece: a piece is at least c_smallestPiece long, so the first element
        // of each falls in a slot of its own, and the slots are in the order of the pieces.
        std::vector<std::optional<StringFailure>> failures(count / io_detail::c_smallestPiece + 1);
        io_detail::ReadInPieces(count, [&](std::size_t first, std::size_t last) {
            StringArena& arena = *StringArena::Current();
            for (std::size_t i = first; i < last; ++i) {
                std::uint32_t const begin = offset(i);
                std::uint32_t const end = offset(i + 1);
                if (end < begin || end > bytes.size()) {
                    failures[first / io_detail::c_smallestPiece] = StringFailure{
                        offsetsAt + 4 * (i + 1),
                        "string offsets go backwards or past the bytes at element " + std::to_string(i)};
                    return;
                }
                try {
                    values[i] = StringOfUtf8(
                        std::string_view(reinterpret_cast<char const*>(bytes.data()) + begin, end - begin),
                        arena);
                } catch (TStringEncodingException const& e) {
                    failures[first / io_detail::c_smallestPiece] =
                        StringFailure{bytesAt + begin + e.GetOffset(), "string " + std::to_string(i) + " is not UTF-8"};
                    return;
                }
            }
        });
        for (auto const& failure : failures) {
            if (failure) {
                m.FailAt(failure->at, failure->what);
            }
        }
    }

    // `count` elements of storage T: raw little-endian buffers for the fixed widths, offsets and
    // UTF-8 bytes for strings, one value each for values.
    template <class T>
    std::unique_ptr<std::vector<T>> ReadColumn(std::uint32_t count, StoreTypeInfo const& type) {
        auto values = std::make_unique<std::vector<T>>();
        if constexpr (std::is_same_v<T, RIndirectString>) {
            ReadStrings(*values, count);
        } else if constexpr (std::is_same_v<T, ValuePtr>) {
            m.Require(count, 1, "elements");
            values->reserve(count);
            for (std::uint32_t i = 0; i < count; ++i) {
                std::size_t const at = m.GetOffset();
                ValuePtr element = ReadValue(true);
                if (element && type.GetStoreType() != StoreType::Object &&
                    element->GetStoreType() != type.GetStoreType()) {
                    m.FailAt(at, "element " + std::to_string(i) + " is a " +
                                     FormatType(element->GetTypeInfo()) + " in a column of " +
                                     FormatType(type));
                }
                values->push_back(std::move(element));
            }
        } else {
            CopyFixedWidth(*values, count);
        }
        return values;
    }

    template <class Vector>
    void CopyFixedWidth(Vector& values, std::uint32_t count) {
        using T = typename Vector::value_type;
        m.Align(sizeof(T), "elements");
        m.Require(count, sizeof(T), "elements");
        std::size_t const at = m.GetOffset();
        auto const bytes = m.ReadBytes(std::size_t(count) * sizeof(T), "elements");
        values.resize(count);
        // A long column is copied in pieces on several threads: one thread rarely fills the bus.
        if (count > 0) {
            io_detail::ReadInPieces(count, [&](std::size_t first, std::size_t last) {
                std::memcpy(values.data() + first, bytes.data() + first * sizeof(T), (last - first) * sizeof(T));
            });
        }
        if constexpr (std::endian::native == std::endian::big) {
            for (T& value : values) {
                value = ByteSwap(value);
            }
        }
        if constexpr (std::is_same_v<T, unsigned char>) {
            for (std::uint32_t i = 0; i < count; ++i) {
                if (values[i] > 1) {
                    m.FailAt(at + i, "a bool is 0 or 1");
                }
            }
        }
    }

    // A flag byte, then one kind for each of `count` elements when it is 1.
    template <class Vector = std::vector<SpecialKind>>
    std::unique_ptr<Vector> ReadSpecials(std::uint32_t count) {
        std::size_t const at = m.GetOffset();
        std::uint8_t const flag = m.ReadUInt8("specials flag");
        if (flag == 0) {
            return nullptr;
        }
        if (flag != 1) {
            m.FailAt(at, "the specials flag is 0 or 1");
        }
        auto const bytes = m.ReadBytes(count, "specials");
        auto specials = std::make_unique<Vector>(count);
        if (count > 0) {
            std::memcpy(specials->data(), bytes.data(), count);
        }
        return specials;
    }

    std::unique_ptr<std::vector<unsigned int>> ReadIndices(std::uint64_t bound, std::string_view what) {
        std::uint32_t const count = m.ReadUInt32("index count");
        auto indices = ReadColumn<unsigned int>(count, StoreTypeInfo::Int32);
        std::size_t const at = m.GetOffset() - std::size_t(count) * 4;
        for (std::uint32_t i = 0; i < count; ++i) {
            if ((*indices)[i] >= bound) {
                m.FailAt(at + 4 * i, "index " + std::to_string((*indices)[i]) + " is past the " +
                                         std::to_string(bound) + " " + std::string(what));
            }
        }
        return indices;
    }

    ValuePtr ReadArray(bool isSet) {
        std::size_t const at = m.GetOffset();
        StoreTypeInfo const elementType = ReadElementType("element type");
        StoreTypeInfo const childType = ReadType("child type");
        return Dispatch(elementType, at, [&]<class T>(StorageTag<T>) {
            try {
                return ReadArrayOf<T>(isSet, elementType, childType);
            } catch (ZelRuntimeException const& e) {
                if (e.GetError() == ZelError::StoreFormatError) {
                    throw;
                }
                m.FailAt(at, "bad array: " + e.GetText().ToUtf8());
            }
        });
    }

    template <class T>
    ValuePtr ReadArrayOf(bool isSet, StoreTypeInfo const& elementType, StoreTypeInfo const& childType) {
        if (isSet) {
            std::size_t const at = m.GetOffset();
            std::uint32_t const count = m.ReadUInt32("member count");
            auto values = ReadColumn<T>(count, elementType);
            auto specials = ReadSpecials(count);
            if constexpr (std::is_same_v<T, ValuePtr>) {
                if (CountHashedElements(*values) > c_maxHashedElements) {
                    m.FailAt(at,
                             "more than " + std::to_string(c_maxHashedElements) +
                                 " elements to hash in the members of one set or the keys of one key set");
                }
            }
            ValuePtr set =
                factory::MakeSet<T>(elementType, childType, std::move(values), std::move(specials));
            if (set->GetCount() != count) {
                m.FailAt(at, "the members of a set are not distinct");
            }
            return set;
        }
        std::size_t const layoutAt = m.GetOffset();
        switch (static_cast<ArrayLayout>(m.ReadUInt8("layout"))) {
            case ArrayLayout::Flat: {
                std::uint32_t const count = m.ReadUInt32("element count");
                if constexpr (std::is_trivially_copyable_v<T> || std::is_same_v<T, RIndirectString>) {
                    // Fixed widths land in their final buffer in one copy, and the handles of
                    // strings go straight into theirs: buffers from the pool of column buffers,
                    // already in place when a freed column's buffer serves again.
                    auto values = std::make_unique<HugePageVector<T>>();
                    if constexpr (std::is_same_v<T, RIndirectString>) {
                        ReadStrings(*values, count);
                    } else {
                        CopyFixedWidth(*values, count);
                    }
                    auto specials = ReadSpecials<HugePageVector<SpecialKind>>(count);
                    return factory::MakeArray<T>(elementType, childType, std::move(values),
                                                 std::move(specials));
                } else {
                    auto values = ReadColumn<T>(count, elementType);
                    auto specials = ReadSpecials(count);
                    return factory::MakeArray<T>(elementType, childType, std::move(values), nullptr,
                                                 std::move(specials));
                }
            }
            case ArrayLayout::Indexed: {
                std::uint32_t const count = m.ReadUInt32("value count");
                auto values = ReadColumn<T>(count, elementType);
                auto specials = ReadSpecials(count);
                auto indices = ReadIndices(count, "values");
                return factory::MakeArray<T>(elementType, childType, std::move(values), std::move(indices),
                                             std::move(specials));
            }
            case ArrayLayout::Constant: {
                std::uint32_t const count = m.ReadUInt32("element count");
                CheckExpandedRows(m.GetOffset() - 4, "a constant array", count);
                auto const special = static_cast<SpecialKind>(m.ReadUInt8("special kind"));
                T value{};
                if (special == SpecialKind::None) {
                    value = std::move(ReadColumn<T>(1, elementType)->front());
                }
                return detail::ArrayValue<T>::MakeConstant(elementType, childType, value, special, count);
            }
            case ArrayLayout::RunLength: {
                std::uint32_t const runCount = m.ReadUInt32("run count");
                m.Require(runCount, 1 + 4 + (std::is_same_v<T, unsigned char> ? 1 : 0), "runs");
                auto values = ReadColumn<T>(runCount, elementType);
                auto const kinds = m.ReadBytes(runCount, "run specials");
                auto counts = ReadColumn<unsigned int>(runCount, StoreTypeInfo::Int32);
                std::size_t const countsAt = m.GetOffset() - std::size_t(runCount) * 4;
                auto runs = std::make_unique<std::vector<RunLengthEntry<T>>>();
                runs->reserve(runCount);
                std::uint64_t total = 0;
                for (std::uint32_t i = 0; i < runCount; ++i) {
                    if ((*counts)[i] == 0) {
                        m.FailAt(countsAt + 4 * i, "run " + std::to_string(i) + " is empty");
                    }
                    total += (*counts)[i];
                    runs->push_back(
                        {std::move((*values)[i]), static_cast<SpecialKind>(kinds[i]), (*counts)[i]});
                }
                if (total > std::numeric_limits<unsigned int>::max()) {
                    m.FailAt(countsAt, "the runs hold more than 4294967295 elements");
                }
                CheckExpandedRows(countsAt, "a run-length array", total);
                std::size_t const flagAt = m.GetOffset();
                std::uint8_t const hasIndices = m.ReadUInt8("indices flag");
                if (hasIndices > 1) {
                    m.FailAt(flagAt, "the indices flag is 0 or 1");
                }
                auto indices = hasIndices ? ReadIndices(total, "elements of the runs") : nullptr;
                return factory::MakeRunLengthArray<T>(elementType, childType, std::move(runs),
                                                      std::move(indices));
            }
        }
        m.FailAt(layoutAt, "unknown array layout (0 flat, 1 indexed, 2 constant, 3 run-length)");
    }

    ValuePtr ReadKeySet() {
        std::size_t const at = m.GetOffset();
        StoreTypeInfo const keyType = ReadElementType("key type");
        StoreTypeInfo const valueType = ReadElementType("value type");
        StoreTypeInfo const valueChild = ReadType("value child type");
        return Dispatch(keyType, at, [&]<class K>(StorageTag<K>) {
            return Dispatch(valueType, at, [&]<class V>(StorageTag<V>) {
                std::uint32_t const count = m.ReadUInt32("key count");
                std::size_t const keysAt = m.GetOffset();
                auto keys = ReadColumn<K>(count, keyType);
                auto values = ReadColumn<V>(count, valueType);
                if constexpr (std::is_same_v<K, ValuePtr>) {
                    if (CountHashedElements(*keys) > c_maxHashedElements) {
                        m.FailAt(
                            keysAt,
                            "more than " + std::to_string(c_maxHashedElements) +
                                " elements to hash in the members of one set or the keys of one key set");
                    }
                }
                auto map = MakeKeySetMap<K, V>(keyType);
                for (std::uint32_t i = 0; i < count; ++i) {
                    if (!map->emplace(std::move((*keys)[i]), std::move((*values)[i])).second) {
                        m.FailAt(keysAt, "key " + std::to_string(i) + " repeats an earlier key");
                    }
                }
                std::uint32_t const specialCount = m.ReadUInt32("special key count");
                std::size_t const kindsAt = m.GetOffset();
                auto const kinds = m.ReadBytes(specialCount, "special keys");
                auto specialValues = ReadColumn<V>(specialCount, valueType);
                auto specialMap = std::make_unique<KeySetSpecialMap<V>>();
                for (std::uint32_t i = 0; i < specialCount; ++i) {
                    auto const kind = static_cast<SpecialKind>(kinds[i]);
                    if (kind == SpecialKind::None ||
                        !specialMap->emplace(kind, std::move((*specialValues)[i])).second) {
                        m.FailAt(kindsAt + i,
                                 "special key " + std::to_string(i) + " is 0 or repeats an earlier one");
                    }
                }
                try {
                    return factory::MakeKeySet<K, V>(keyType, valueType, valueChild, std::move(map),
                                                     std::move(specialMap));
                } catch (ZelRuntimeException const& e) {
                    m.FailAt(at, "bad key set: " + e.GetText().ToUtf8());
                }
            });
        });
    }

    // Fails at `at` when an array declares more rows than the options allow, naming the value by
    // the entries that lead to it.
    void CheckExpandedRows(std::size_t at, std::string_view layout, std::uint64_t rows) const {
        if (rows > m_options.maxExpandedRows) {
            std::string path;
            for (std::string const& name : m_names) {
                path += "/" + name;
            }
            m.FailAt(at, ExpandedRowsText(layout, rows, m_options.maxExpandedRows) + " at " +
                             (path.empty() ? std::string("the root") : path));
        }
    }

    BinaryProtocolReader& m;
    StoreValueParser::ReadOptions m_options;
    std::vector<std::string> m_names;  // the entries read into, root first
    unsigned m_depth = 0;
};

}  // namespace

std::shared_ptr<StoreValue> ReadBinaryRoot(BinaryProtocolReader& reader,
                                           StoreValueParser::ReadOptions const& options) {
    // The strings of the store are packed into one arena's chunks.
    StringArena strings;
    StringArena::Scope const stringScope(strings);
    return BinaryReader(reader, options).ReadStore();
}

}  // namespace io_detail

}  // namespace zel::core
