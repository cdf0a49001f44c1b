// Feeds arbitrary bytes to the binary store reader. A truncated, oversized or corrupt stream must
// fail with a ZelRuntimeException before any allocation it would size; anything else is a
// finding. A store that reads is written and read again, and the second writing must equal the
// first.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

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
        BinaryProtocolReader reader(data, size);
        store = StoreValueParser::MakeDataStore(reader);
    } catch (ZelRuntimeException const&) {
        return 0;
    }
    auto const bytes = BinaryProtocolWriter::WriteStore(*store);
    BinaryProtocolReader again(bytes.data(), bytes.size());
    if (BinaryProtocolWriter::WriteStore(*StoreValueParser::MakeDataStore(again)) != bytes) {
        std::abort();
    }
    std::string const json = JsonStoreWriter::WriteStore(*store);
    if (JsonStoreWriter::WriteStore(*StoreValueParser::MakeDataStore(std::string_view(json))) != json) {
        std::abort();
    }
    return 0;
}
