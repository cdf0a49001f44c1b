// Feeds arbitrary bytes to the JSON store reader. Malformed text must fail with a
// ZelRuntimeException; anything else (a crash, a sanitizer report, another exception) is a
// finding. A store that reads is written and read again, in JSON and in the binary protocol, and
// each second writing must equal the first: what the writers print, the readers take back.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "zel/core/io/BinaryProtocolWriter.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/utility/ZelDebugReport.h"
#include "zel/core/utility/ZelException.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace zel::core;
    static ScopedZelDebugReportHandler const quiet([](ZelDebugReport const&) {});
    std::shared_ptr<IDataStore> store;
    try {
        store = StoreValueParser::MakeDataStore(std::string_view(reinterpret_cast<char const*>(data), size));
    } catch (ZelRuntimeException const&) {
        return 0;
    }
    std::string const json = JsonStoreWriter::WriteStore(*store);
    if (JsonStoreWriter::WriteStore(*StoreValueParser::MakeDataStore(std::string_view(json))) != json) {
        std::abort();
    }
    auto const bytes = BinaryProtocolWriter::WriteStore(*store);
    BinaryProtocolReader reader(bytes.data(), bytes.size());
    if (BinaryProtocolWriter::WriteStore(*StoreValueParser::MakeDataStore(reader)) != bytes) {
        std::abort();
    }
    return 0;
}
