// The comparisons of Int32, Int64, Float and Double columns.

#include "functions/builtin/ComparisonTemplates.h"

namespace zel::core::builtin {

void RegisterNumberComparisons(FunctionLookup& lookup) {
    RegisterOrdered<int>(lookup);
    RegisterOrdered<long long>(lookup);
    RegisterOrdered<float>(lookup);
    RegisterOrdered<double>(lookup);
}

}  // namespace zel::core::builtin
