#include "zel/vm/materialize/MakeTransform.h"

#include "materialize/MakeCaseTransform.h"
#include "materialize/MakeCreateKeySetTransform.h"
#include "materialize/MakeJoinTransform.h"
#include "materialize/MakeOutputTransform.h"
#include "materialize/MakePartitionTransform.h"
#include "materialize/MakeSetValueMultiTransform.h"
#include "materialize/MakeSetValueTransform.h"
#include "materialize/MakeZipTransform.h"
#include "materialize/MakeZipWithTransform.h"
#include "transform/ConcatTransform.h"
#include "transform/ConstantTransform.h"
#include "transform/CopyTransform.h"
#include "transform/CreateTableTransform.h"
#include "transform/DistinctTransform.h"
#include "transform/IndexTransform.h"
#include "transform/InternalCreateKeyMapTransform.h"
#include "transform/MultiSortTransform.h"
#include "transform/ReturnTransform.h"
#include "transform/flatdata/MakeAggregateTransform.h"
#include "transform/flatdata/MakeFilterTransform.h"
#include "transform/flatdata/MakeMapTransform.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/vtl/OpApplyByPartitionSpec.h"
#include "zel/vm/vtl/OpCaseSpec.h"
#include "zel/vm/vtl/OpConcatSpec.h"
#include "zel/vm/vtl/OpConstantSpec.h"
#include "zel/vm/vtl/OpCopySpec.h"
#include "zel/vm/vtl/OpCreateKeySetSpec.h"
#include "zel/vm/vtl/OpCreateTableSpec.h"
#include "zel/vm/vtl/OpDistinctSpec.h"
#include "zel/vm/vtl/OpFilterSpec.h"
#include "zel/vm/vtl/OpGroupBySpec.h"
#include "zel/vm/vtl/OpIndexSpec.h"
#include "zel/vm/vtl/OpInnerJoinSpec.h"
#include "zel/vm/vtl/OpInternalCreateKeyMapSpec.h"
#include "zel/vm/vtl/OpLeftOuterJoinSpec.h"
#include "zel/vm/vtl/OpMapSpec.h"
#include "zel/vm/vtl/OpMultiSortSpec.h"
#include "zel/vm/vtl/OpOutputSpec.h"
#include "zel/vm/vtl/OpReduceSpec.h"
#include "zel/vm/vtl/OpReturnSpec.h"
#include "zel/vm/vtl/OpScanRightSpec.h"
#include "zel/vm/vtl/OpScanSpec.h"
#include "zel/vm/vtl/OpSetValueMultiSpec.h"
#include "zel/vm/vtl/OpSetValueSpec.h"
#include "zel/vm/vtl/OpZipSpec.h"
#include "zel/vm/vtl/OpZipWithSpec.h"

namespace zel::vm {

using core::ZelError;

std::unique_ptr<Transform> MakeTransform(core::TransformSpec const& spec,
                                         core::IFunctionLookup const& functions,
                                         core::ITypeLookup const& types, VMOptions const& options) {
    switch (spec.GetOperatorType()) {
        case OperatorType::ApplyByPartition:
            return MakePartitionTransform(OpApplyByPartitionSpec(spec), OperatorType::ApplyByPartition,
                                          functions, types, options);
        case OperatorType::Block:
            ZEL_FAIL(ZelError::OperatorNotMaterialised);
        case OperatorType::Call:
            ZEL_FAIL(ZelError::OperatorNotMaterialised);
        case OperatorType::Case:
            return MakeCaseTransform(OpCaseSpec(spec), functions, types, options);
        case OperatorType::Concat:
            return ConcatTransform::Make(OpConcatSpec(spec));
        case OperatorType::Constant:
            return ConstantTransform::Make(OpConstantSpec(spec), types);
        case OperatorType::Copy:
            return CopyTransform::Make(OpCopySpec(spec));
        case OperatorType::CreateKeySet:
            return MakeCreateKeySetTransform(OpCreateKeySetSpec(spec), types);
        case OperatorType::CreateTable:
            return CreateTableTransform::Make(OpCreateTableSpec(spec));
        case OperatorType::Distinct:
            return DistinctTransform::Make(OpDistinctSpec(spec));
        case OperatorType::Else:
            ZEL_FAIL(ZelError::OperatorNotMaterialised);
        case OperatorType::Filter:
            return MakeFilterTransform(OpFilterSpec(spec), functions, types, options);
        case OperatorType::GroupBy:
            return MakePartitionTransform(OpGroupBySpec(spec), OperatorType::GroupBy, functions, types,
                                          options);
        case OperatorType::Index:
            return IndexTransform::Make(OpIndexSpec(spec));
        case OperatorType::InnerJoin:
            return MakeInnerJoinTransform(OpInnerJoinSpec(spec));
        case OperatorType::LeftOuterJoin:
            return MakeLeftOuterJoinTransform(OpLeftOuterJoinSpec(spec));
        case OperatorType::Map:
            return MakeMapTransform(OpMapSpec(spec), functions, types, options);
        case OperatorType::MultiSort:
            return MultiSortTransform::Make(OpMultiSortSpec(spec));
        case OperatorType::NoOp:
            ZEL_FAIL(ZelError::SpecError216);
        case OperatorType::Output:
            return MakeOutputTransform(OpOutputSpec(spec), functions, types);
        case OperatorType::Reduce:
            return MakeAggregateTransform(OpReduceSpec(spec), functions, types, options);
        case OperatorType::Return:
            return ReturnTransform::Make(OpReturnSpec(spec));
        case OperatorType::Scan:
            return MakeAggregateTransform(OpScanSpec(spec), functions, types, options);
        case OperatorType::ScanRight:
            return MakeAggregateTransform(OpScanRightSpec(spec), functions, types, options);
        case OperatorType::SetValue:
            return MakeSetValueTransform(OpSetValueSpec(spec), functions, types);
        case OperatorType::SetValueMulti:
            return MakeSetValueMultiTransform(OpSetValueMultiSpec(spec), functions, types);
        case OperatorType::When:
            ZEL_FAIL(ZelError::OperatorNotMaterialised);
        case OperatorType::Zip:
            return MakeZipTransform(OpZipSpec(spec), options);
        case OperatorType::ZipWith:
            return MakeZipWithTransform(OpZipWithSpec(spec), functions, types, options);
        case OperatorType::InternalCreateKeyMap:
            return InternalCreateKeyMapTransform::Make(OpInternalCreateKeyMapSpec(spec));
        default:
            // Input and Slice have views but never run as transforms; they share the error of an
            // operator number the machine does not know.
            break;
    }
    ZEL_FAIL(ZelError::UnknownOperator);
}

}  // namespace zel::vm
