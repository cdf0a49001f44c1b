#pragma once

// What the operator spec views share: the shape checks that several of them make, and the typing
// of an input for a bound function.
//
// The checks are macros, not functions, so that a failure is reported from the view's own source
// line with the condition written against the view's own m_spec, as the view's table of checks
// lists it. They expect a member `TransformSpec const& m_spec` in scope.

#include <vector>

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

// The condition texts name these unqualified.
using core::OperatorType;
using core::StoreType;
using core::ZelError;

// The type that a function bound to a column sees for `input`: the element type when the lookup
// says that the input holds an Array or a Set, the input's own type otherwise.
core::KeySegmentType ElementTypeOf(core::ITypeLookup const& types, core::KeyPath const& input);

// The one output, or the empty path for a spec that has none (a block or call that returns nothing).
inline core::KeyPath const& OutputOrEmpty(core::TransformSpec const& spec) {
    return spec.GetOutputs().empty() ? core::KeyPath::Empty() : spec.GetOutputs()[0];
}

// The output list of a block or call: the one output, or none for the empty path.
inline std::vector<core::KeyPath> OutputsOf(core::KeyPath const& output) {
    return output.IsEmpty() ? std::vector<core::KeyPath>() : std::vector<core::KeyPath>{output};
}

}  // namespace zel::vm

// `comparison` is the right-hand side of the test on the input count, e.g. `== 1` or `>= 2`.
#define VTL_CHECK_INPUT_COUNT(comparison, code) \
    ZEL_CHECK_EXACT((m_spec.GetInputs()).size() comparison, ZelError::SpecError##code)

#define VTL_CHECK_ONE_OUTPUT() ZEL_CHECK_EXACT((m_spec.GetOutputs()).size() == 1, ZelError::SpecError219)

#define VTL_CHECK_ONE_INPUT_ONE_OUTPUT() \
    VTL_CHECK_INPUT_COUNT(== 1, 222);    \
    VTL_CHECK_ONE_OUTPUT()

// When and Else are branches: they read and write nothing of their own.
#define VTL_CHECK_NO_INPUTS_NO_OUTPUTS()                                       \
    ZEL_CHECK_EXACT((m_spec.GetInputs()).size() == 0, ZelError::SpecError217); \
    ZEL_CHECK_EXACT((m_spec.GetOutputs()).size() == 0, ZelError::SpecError218)

#define VTL_CHECK_FUNCTION() ZEL_CHECK_NOT_NULL(m_spec.GetFunctionSpec(), ZelError::SpecError243)
#define VTL_CHECK_NO_FUNCTION() ZEL_CHECK_NULL(m_spec.GetFunctionSpec(), ZelError::SpecError244)

// A value that must be there and be a scalar of `type` (a StoreType enumerator).
#define VTL_CHECK_VALUE_OF_TYPE(type, code)                           \
    ZEL_CHECK_NOT_NULL(m_spec.GetValue(), ZelError::SpecError##code); \
    ZEL_CHECK(m_spec.GetValue()->GetStoreType() == StoreType::type, ZelError::SpecError##code)
