#include "materialize/MakeZipTransform.h"

#include "execute/MakeExecutionStrategy.h"
#include "transform/ZipTransform.h"

namespace zel::vm {

std::unique_ptr<Transform> MakeZipTransform(OpZipSpec const& spec, VMOptions const& options) {
    std::vector<core::KeyPath> const& inputs = spec.GetInputs();
    if (inputs.size() == 2) {
        return ZipTransform::Make(inputs[0], inputs[1], spec.GetOutput(),
                                  MakeExecutionStrategy(options, OperatorType::Zip));
    }
    return ZipNTransform::Make(inputs, spec.GetOutput(), MakeExecutionStrategy(options, OperatorType::Zip));
}

}  // namespace zel::vm
