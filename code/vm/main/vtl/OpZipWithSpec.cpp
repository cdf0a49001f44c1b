#include "zel/vm/vtl/OpZipWithSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpZipWithSpec::OpZipWithSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_INPUT_COUNT(== 2, 224);
    VTL_CHECK_ONE_OUTPUT();
    VTL_CHECK_FUNCTION();
}

std::vector<core::KeySegmentType> OpZipWithSpec::GetFunctionInputTypes(core::ITypeLookup const& types) const {
    return {ElementTypeOf(types, GetInput1()), ElementTypeOf(types, GetInput2())};
}

core::TransformSpec OpZipWithSpec::Create(core::KeyPath const& input1, core::KeyPath const& input2,
                                          std::shared_ptr<core::FunctionSpec> const& function,
                                          core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::ZipWith, {input1, input2}, {output}, function, {}, nullptr);
}

}  // namespace zel::vm
