#pragma once

#include <memory>
#include <string_view>

#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/StoreValue.h"

namespace zel::core::io_detail {

// The root key map of a JSON store document.
std::shared_ptr<StoreValue> ReadJsonRoot(std::string_view utf8, StoreValueParser::ReadOptions const& options);
// One value of a JSON document, read as a key map entry is.
std::shared_ptr<StoreValue> ReadJsonValue(std::string_view utf8,
                                          StoreValueParser::ReadOptions const& options);

}  // namespace zel::core::io_detail
