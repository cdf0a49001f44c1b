#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/DataStore.h"

namespace vtlrun {

// The bytes of a file. A file that cannot be read is a ZelRuntimeException (InvalidArgument)
// naming it, `what` ("program", "store") and the reason.
std::vector<std::uint8_t> ReadFileBytes(std::filesystem::path const& path, char const* what);

// A store from a file of either format: the binary protocol when it starts with its magic bytes,
// else JSON. A malformed store is the reader's StoreFormatError with the file name put before the
// reader's text, which says where in the file.
std::shared_ptr<zel::core::IDataStore> ReadStoreFile(std::filesystem::path const& path, char const* what,
                                                     zel::core::StoreValueParser::ReadOptions const& options);

// The result as vtlrun prints it: the JSON writer's one line and a line feed.
std::string FormatStoreJson(zel::core::IDataStore const& store);

// Writes the bytes to the file, replacing it. A file that cannot be written is a
// ZelRuntimeException (InvalidArgument) naming it, `what` ("result", "trace") and the reason.
void WriteFileBytes(std::filesystem::path const& path, std::string_view bytes, char const* what);

// Writes the store to the file: the binary protocol when its name ends in ".bin", else as
// FormatStoreJson. A file that cannot be written is a ZelRuntimeException (InvalidArgument).
void WriteStoreFile(zel::core::IDataStore const& store, std::filesystem::path const& path);

}  // namespace vtlrun
