// The arithmetic of Int32 and Int64 columns: wrapping, with an Error for division by zero.

#include "functions/builtin/ArithmeticTemplates.h"

namespace zel::core::builtin {

void RegisterIntegerArithmetic(FunctionLookup& lookup) {
    RegisterNumber<int>(lookup);
    RegisterNumber<long long>(lookup);
}

}  // namespace zel::core::builtin
