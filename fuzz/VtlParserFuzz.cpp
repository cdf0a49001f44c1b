// Feeds arbitrary bytes to the VTL parser as a UTF-8 program. A malformed program must fail with
// the system's own exceptions; anything else (a crash, a sanitizer report, another exception)
// is a finding. A program that parses is printed and parsed again, which must succeed.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/utility/ZelDebugReport.h"
#include "zel/core/utility/ZelException.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/core/vtl/VtlPrinter.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    // Malformed programs are the normal case here: keep their debug reports quiet.
    static zel::core::ScopedZelDebugReportHandler const quiet([](zel::core::ZelDebugReport const&) {});
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    std::vector<zel::core::TransformSpec> specs;
    std::vector<zel::core::GraphEdge> edges;
    zel::core::OutputKeySet outputKeys;
    try {
        zel::core::ParseVtlPayload(text, specs, edges, outputKeys);
    } catch (zel::core::ZelException const&) {
        return 0;
    } catch (TStringEncodingException const&) {
        return 0;
    }
    std::vector<zel::core::TransformSpec> again;
    std::vector<zel::core::GraphEdge> againEdges;
    zel::core::OutputKeySet againKeys;
    zel::core::ParseVtlPayload(zel::core::ProgramToString(specs, &edges, outputKeys), again, againEdges,
                               againKeys);
    return 0;
}
