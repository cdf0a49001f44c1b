// add, subtract, multiply, divide, modulo, negate, abs, sqrt, power, floor, ceil, round, min, max:
// the unary forms take the constant operand as a creator argument, the binary forms two columns or
// an accumulator and a column. The floating-point types and the mixed columns; the integers are in
// ArithmeticIntegers.cpp.

#include "functions/builtin/ArithmeticTemplates.h"

namespace zel::core::builtin {

void RegisterArithmeticFunctions(FunctionLookup& lookup) {
    RegisterIntegerArithmetic(lookup);
    RegisterNumber<float>(lookup);
    RegisterNumber<double>(lookup);
    RegisterMixed<float>(lookup);
    RegisterMixed<double>(lookup);
}

}  // namespace zel::core::builtin
