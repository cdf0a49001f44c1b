#include "zel/core/functions/BuiltinFunctions.h"

#include "functions/builtin/BuiltinFamilies.h"

namespace zel::core {

void RegisterBuiltinFunctions(FunctionLookup& lookup) {
    builtin::RegisterArithmeticFunctions(lookup);
    builtin::RegisterComparisonFunctions(lookup);
    builtin::RegisterLogicFunctions(lookup);
    builtin::RegisterNullFunctions(lookup);
    builtin::RegisterNumericCasts(lookup);
    builtin::RegisterTextCasts(lookup);
    builtin::RegisterStringFunctions(lookup);
    builtin::RegisterDateFunctions(lookup);
    builtin::RegisterTupleFunctions(lookup);
    builtin::RegisterLookupFunctions(lookup);
    builtin::RegisterAggregationFunctions(lookup);
    builtin::RegisterMultinaryFunctions(lookup);
    builtin::RegisterOutputFunctions(lookup);
}

std::unique_ptr<FunctionLookup> MakeBuiltinFunctionLookup() {
    auto lookup = std::make_unique<FunctionLookup>();
    RegisterBuiltinFunctions(*lookup);
    return lookup;
}

std::string PrintBuiltinFunctions() {
    return MakeBuiltinFunctionLookup()->FormatFunctionList();
}

}  // namespace zel::core
