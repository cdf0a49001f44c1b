#pragma once

// A failure of one statement of a program, told in the program's terms: where the statement
// stands ("line L, column C:" and the line with a caret, when it was read from a program),
// its operator, and one sentence on what is wrong, with the text of the failure beside it. The
// exception keeps its kind and its code, so that a host that catches by code sees no change, and
// the check that failed has made its one debug report already.

#include <string>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

// The lookups of the build, which let a sentence name the types of a statement; null at run time.
struct StatementLookups {
    core::ITypeLookup const* types = nullptr;
    core::IFunctionLookup const* functions = nullptr;
};

// The sentence for `error` raised by `spec`: what the code means for this statement. Empty for a
// code without a sentence of its own, where the failure's text says it.
std::wstring ExplainFailure(core::ZelError error, core::TransformSpec const& spec,
                            StatementLookups const& lookups);

// Whether a failure's text already points at a statement (it starts "line L, column C:").
bool PointsAtStatement(core::ZelException const& failure);

// Throws `failure` again, as the same kind of exception with the same code, with a text that names
// `spec`'s statement. A failure that already points at a statement (a child's) is thrown as it is.
[[noreturn]] void RethrowAtStatement(core::ZelException const& failure, core::TransformSpec const& spec,
                                     StatementLookups const& lookups);

}  // namespace zel::vm
