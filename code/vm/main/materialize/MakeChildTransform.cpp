#include "materialize/MakeChildTransform.h"

#include "execute/StatementTransform.h"
#include "materialize/StatementFailure.h"
#include "zel/core/utility/ZelException.h"
#include "zel/vm/materialize/MakeTransform.h"

namespace zel::vm {

std::unique_ptr<Transform> MakeChildTransform(core::TransformSpec const& spec,
                                              core::IFunctionLookup const& functions,
                                              core::ITypeLookup const& types, VMOptions const& options) {
    std::unique_ptr<Transform> transform;
    try {
        transform = MakeTransform(spec, functions, types, options);
    } catch (core::ZelException const& failure) {
        RethrowAtStatement(failure, spec, {&types, &functions});
    }
    return MakeStatementTransform(std::move(transform), spec);
}

}  // namespace zel::vm
