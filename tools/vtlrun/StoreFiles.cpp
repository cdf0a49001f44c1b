#include "StoreFiles.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <system_error>

#include "Failure.h"
#include "zel/core/io/BinaryProtocolReader.h"
#include "zel/core/io/BinaryProtocolWriter.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/utility/ZelException.h"

namespace vtlrun {

namespace {

using zel::core::ZelError;
using zel::core::ZelRuntimeException;

[[noreturn]] void ThrowFileError(std::string const& what, std::filesystem::path const& path, int error) {
    throw ZelRuntimeException(ZelError::InvalidArgument,
                              PathText(path) + TStringCore::FromUtf8(": cannot " + what + ": " +
                                                                     std::generic_category().message(error)));
}

// Closes the file on every path out.
struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace

std::vector<std::uint8_t> ReadFileBytes(std::filesystem::path const& path, char const* what) {
    std::string const action = std::string("read the ") + what;
    errno = 0;
    FilePtr file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        ThrowFileError(action, path, errno);
    }
    std::vector<std::uint8_t> bytes;
    std::uint8_t chunk[1 << 16];
    for (;;) {
        std::size_t const count = std::fread(chunk, 1, sizeof chunk, file.get());
        bytes.insert(bytes.end(), chunk, chunk + count);
        if (count < sizeof chunk) {
            break;
        }
    }
    // A directory opens but does not read (EISDIR).
    if (std::ferror(file.get()) != 0) {
        ThrowFileError(action, path, errno != 0 ? errno : EIO);
    }
    return bytes;
}

std::shared_ptr<zel::core::IDataStore> ReadStoreFile(
    std::filesystem::path const& path, char const* what,
    zel::core::StoreValueParser::ReadOptions const& options) {
    std::vector<std::uint8_t> bytes = ReadFileBytes(path, what);
    try {
        static constexpr char c_binaryMagic[4] = {'V', 'R', 'S', 'T'};
        if (bytes.size() >= 4 && std::memcmp(bytes.data(), c_binaryMagic, 4) == 0) {
            zel::core::BinaryProtocolReader reader(std::move(bytes));
            return zel::core::StoreValueParser::MakeDataStore(reader, options);
        }
        return zel::core::StoreValueParser::MakeDataStore(
            std::string_view(reinterpret_cast<char const*>(bytes.data()), bytes.size()), options);
    } catch (zel::core::ZelException const& e) {
        // The reader's text says where in the document; say which document.
        throw ZelRuntimeException(e.GetError(), PathText(path) + L": " + e.GetText());
    }
}

std::string FormatStoreJson(zel::core::IDataStore const& store) {
    std::string text = zel::core::JsonStoreWriter::WriteStore(store);
    text += '\n';
    return text;
}

void WriteFileBytes(std::filesystem::path const& path, std::string_view bytes, char const* what) {
    std::string const action = std::string("write the ") + what;
    errno = 0;
    FilePtr file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        ThrowFileError(action, path, errno);
    }
    if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        std::fflush(file.get()) != 0) {
        ThrowFileError(action, path, errno != 0 ? errno : EIO);
    }
    // fclose can still report a failed write (a full disk on a network file system).
    if (std::fclose(file.release()) != 0) {
        ThrowFileError(action, path, errno != 0 ? errno : EIO);
    }
}

void WriteStoreFile(zel::core::IDataStore const& store, std::filesystem::path const& path) {
    if (path.extension() == ".bin") {
        std::vector<std::uint8_t> const bytes = zel::core::BinaryProtocolWriter::WriteStore(store);
        WriteFileBytes(path, std::string_view(reinterpret_cast<char const*>(bytes.data()), bytes.size()),
                       "result");
    } else {
        WriteFileBytes(path, FormatStoreJson(store), "result");
    }
}

}  // namespace vtlrun
