#include "zel/core/io/StoreValueParser.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "io/BinaryProtocol.h"
#include "io/JsonStoreReader.h"
#include "io/StoreFormatCommon.h"

namespace zel::core::StoreValueParser {

std::shared_ptr<IDataStore> MakeDataStore(TStringCore const& text, ReadOptions const& options) {
    return MakeDataStore(std::string_view(text.ToUtf8()), options);
}

std::shared_ptr<IDataStore> MakeDataStore(std::string_view utf8, ReadOptions const& options) {
    return factory::MakeDataStore(io_detail::ReadJsonRoot(utf8, options));
}

std::shared_ptr<IDataStore> MakeDataStore(BinaryProtocolReader& reader, ReadOptions const& options) {
    return factory::MakeDataStore(io_detail::ReadBinaryRoot(reader, options));
}

std::shared_ptr<IDataStore> MakeDataStoreFromFile(std::filesystem::path const& path,
                                                  ReadOptions const& options) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::uint8_t> bytes;
    if (file) {
        // A regular file is read in one call into a buffer of its size; whatever follows (a pipe,
        // a file that grew meanwhile) is read on to its end.
        std::error_code sizeError;
        if (auto const size = std::filesystem::file_size(path, sizeError); !sizeError && size > 0) {
            bytes.resize(static_cast<std::size_t>(size));
            file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
            bytes.resize(static_cast<std::size_t>(file.gcount()));
        }
        if (file) {
            bytes.insert(bytes.end(), std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    }
    if (!file && !file.eof()) {
        io_detail::ThrowFormatError("cannot read the store file " + path.string());
    }
    if (bytes.size() >= 4 && std::memcmp(bytes.data(), io_detail::c_binaryMagic, 4) == 0) {
        BinaryProtocolReader reader(std::move(bytes));
        return MakeDataStore(reader, options);
    }
    return MakeDataStore(std::string_view(reinterpret_cast<char const*>(bytes.data()), bytes.size()),
                         options);
}

std::shared_ptr<StoreValue> MakeValue(std::string_view utf8, ReadOptions const& options) {
    return io_detail::ReadJsonValue(utf8, options);
}

}  // namespace zel::core::StoreValueParser
