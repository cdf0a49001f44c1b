#pragma once

#pragma GCC visibility push(default)

// The built-in function library: arithmetic, comparison, logic, specials, casts, strings, dates,
// tuples, key-set lookup, aggregation, multinary conditions and scalars, and the log output.
// docs/functions.md describes them and lists every one as PrintBuiltinFunctions() writes it.

#include <memory>
#include <string>

#include "zel/core/functions/FunctionLookup.h"

namespace zel::core {

// Adds every built-in function to `lookup`. A host that registered a function under a name and
// input types of the library gets a DuplicateKey failure naming it.
void RegisterBuiltinFunctions(FunctionLookup& lookup);

// A lookup with the built-in functions and nothing else.
std::unique_ptr<FunctionLookup> MakeBuiltinFunctionLookup();

// The registered built-ins, one function a line, ordered by name, kind and input types.
std::string PrintBuiltinFunctions();

}  // namespace zel::core

#pragma GCC visibility pop
