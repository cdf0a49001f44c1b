#include "StoreFiles.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <span>
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
    // A regular file is read in one call into a buffer of its size; a pipe or a file that grows
    // meanwhile is read on in chunks until its end.
    std::error_code sizeError;
    if (auto const size = std::filesystem::file_size(path, sizeError); !sizeError) {
        bytes.resize(static_cast<std::size_t>(size));
        bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    }
    if (bytes.empty() || std::feof(file.get()) == 0) {
        std::uint8_t chunk[1 << 16];
        for (;;) {
            std::size_t const count = std::fread(chunk, 1, sizeof chunk, file.get());
            bytes.insert(bytes.end(), chunk, chunk + count);
            if (count < sizeof chunk) {
                break;
            }
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

namespace {

// Opens `path` for writing, hands `write` a sink for the bytes and closes the file; a failure on
// the way (of the file or of `write`) removes the file, so that no half-written one is left.
void WriteFileWith(std::filesystem::path const& path, char const* what,
                   std::function<void(zel::core::BinaryProtocolWriter::ByteSink const&)> const& write) {
    std::string const action = std::string("write the ") + what;
    errno = 0;
    FilePtr file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        ThrowFileError(action, path, errno);
    }
    try {
        write([&](std::span<std::uint8_t const> bytes) {
            if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
                ThrowFileError(action, path, errno != 0 ? errno : EIO);
            }
        });
        if (std::fflush(file.get()) != 0) {
            ThrowFileError(action, path, errno != 0 ? errno : EIO);
        }
        // fclose can still report a failed write (a full disk on a network file system).
        if (std::fclose(file.release()) != 0) {
            ThrowFileError(action, path, errno != 0 ? errno : EIO);
        }
    } catch (...) {
        file.reset();
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
        throw;
    }
}

}  // namespace

void WriteFileBytes(std::filesystem::path const& path, std::string_view bytes, char const* what) {
    WriteFileWith(path, what, [&](zel::core::BinaryProtocolWriter::ByteSink const& sink) {
        sink(
            std::span<std::uint8_t const>(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size()));
    });
}

void WriteStoreFile(zel::core::IDataStore const& store, std::filesystem::path const& path) {
    if (path.extension() == ".bin") {
        // Columns go to the file from their own memory, with no image of the whole store between.
        WriteFileWith(path, "result", [&](zel::core::BinaryProtocolWriter::ByteSink const& sink) {
            zel::core::BinaryProtocolWriter::WriteStore(store, sink);
        });
    } else {
        WriteFileBytes(path, FormatStoreJson(store), "result");
    }
}

}  // namespace vtlrun
