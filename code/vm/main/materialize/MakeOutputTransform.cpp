#include "materialize/MakeOutputTransform.h"

#include <utility>

#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/spec/FunctionSpec.h"

namespace zel::vm {

std::unique_ptr<OutputTransform> MakeOutputTransform(OpOutputSpec const& spec,
                                                     core::IFunctionLookup const& functions,
                                                     core::ITypeLookup const& types) {
    core::FunctionSpec const& functionSpec = *spec.GetFunctionSpec();
    core::FunctionKey const key(functionSpec.GetFunctionId(),
                                core::GetFunctionInputTypes(functionSpec, types));
    auto const function = core::ZelMultinaryFunction<void>::Bind(functions, key);
    OutputTransform::Function call = [function](core::CreatorArguments const& arguments) {
        function(arguments);
    };
    return std::make_unique<OutputTransform>(function.GetName(), std::move(call),
                                             std::make_unique<CreatorValues>(functionSpec));
}

}  // namespace zel::vm
