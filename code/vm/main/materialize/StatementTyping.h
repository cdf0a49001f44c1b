#pragma once

// The types of a statement as the makers choose them: what its function is looked up with, what
// the function returns, and what the statement makes. The build compares the last with the type
// that the program declares for the statement's output.

#include <optional>
#include <vector>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/TypeLookup.h"

namespace zel::vm {

// The input types that a columnar statement's function is looked up with (Map, Filter: the element
// type; Reduce, Scan, ScanRight: the initial value's type, then the element type); empty for other
// operators and for a spec without the inputs, function or value that this needs.
std::vector<core::KeySegmentType> FunctionInputTypesOf(core::TransformSpec const& spec,
                                                       core::ITypeLookup const& types);

// The registered entry that a columnar statement binds, or null when there is none.
core::RegisteredFunctions const* FunctionEntryOf(core::TransformSpec const& spec,
                                                 core::ITypeLookup const& types,
                                                 core::IFunctionLookup const& functions);

// What the statement makes, for the operators whose result follows from their input and function
// types: Copy and Filter keep their input's type (a Filter of a table its table's), Map and the
// scans make a column of the function's result, Reduce the function's result. nullopt otherwise.
std::optional<core::KeySegmentType> ResultTypeOf(core::TransformSpec const& spec,
                                                 core::ITypeLookup const& types,
                                                 core::IFunctionLookup const& functions);

// Fails with OutputTypeMismatch, naming the output and both types, when the program declares a
// type for the statement's one output that differs from what the statement makes. Only the store
// types are compared (and the element types where the declaration names one), not collations.
void CheckDeclaredResultType(core::TransformSpec const& spec, core::ITypeLookup const& types,
                             core::IFunctionLookup const& functions);

}  // namespace zel::vm
