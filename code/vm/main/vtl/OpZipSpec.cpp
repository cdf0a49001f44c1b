#include "zel/vm/vtl/OpZipSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpZipSpec::OpZipSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_INPUT_COUNT(>= 2, 225);
    VTL_CHECK_ONE_OUTPUT();
}

core::TransformSpec OpZipSpec::Create(std::vector<core::KeyPath> const& inputs, core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Zip, inputs, output, nullptr);
}

core::TransformSpec OpZipSpec::Create(core::KeyPath const& first, core::KeyPath const& second,
                                      core::KeyPath const& output) {
    return Create(std::vector<core::KeyPath>{first, second}, output);
}

}  // namespace zel::vm
