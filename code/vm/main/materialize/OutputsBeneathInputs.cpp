#include "materialize/OutputsBeneathInputs.h"

#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/utility/ZelLog.h"
#include "zel/core/vtl/VtlPrinter.h"

namespace zel::vm {

void WarnOfOutputsBeneathInputs(std::vector<core::TransformSpec> const& specs, core::IDataStore const& store) {
    if (!core::GetZelLogger().AcceptsLogLevel(core::ZelLogLevel::Warning)) {
        return;
    }
    auto const root = store.GetRoot();
    for (core::TransformSpec const& spec : specs) {
        for (core::KeyPath const& output : spec.GetOutputs()) {
            if (output.GetCount() < 2) {
                continue;
            }
            TStringCore const& top = output.GetSegments()[0]->GetSegment();
            if (root->GetEntries().find(top) == root->GetEntries().end()) {
                continue;
            }
            core::ZelLog(core::ZelLogLevel::Warning,
                         L"the statement \"" + core::TransformToString(spec) + L"\" writes " +
                             output.ToString() + L" beneath the input " + top +
                             L", which the result holds whole: the written value is not in the result. "
                             L"Write it under a name that is not an input's, or write the whole of " +
                             top + L".");
        }
    }
}

}  // namespace zel::vm
