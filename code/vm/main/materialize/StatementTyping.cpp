#include "materialize/StatementTyping.h"

#include "vtl/SpecChecks.h"
#include "zel/core/functions/FunctionTypes.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

namespace {

bool IsFold(OperatorType type) {
    return type == OperatorType::Reduce || type == OperatorType::Scan || type == OperatorType::ScanRight;
}

bool IsCollection(StoreType type) {
    return type == StoreType::Array || type == StoreType::Set;
}

// A declared type and a made one agree when their store types do, and their element types too
// where the declaration names one.
bool Agrees(core::KeySegmentType const& declared, core::KeySegmentType const& made) {
    if (declared.GetMainType().GetStoreType() != made.GetMainType().GetStoreType()) {
        return false;
    }
    return declared.GetChildType().IsEmpty() ||
           declared.GetChildType().GetStoreType() == made.GetChildType().GetStoreType();
}

}  // namespace

std::vector<core::KeySegmentType> FunctionInputTypesOf(core::TransformSpec const& spec,
                                                       core::ITypeLookup const& types) {
    OperatorType const type = spec.GetOperatorType();
    if (spec.GetInputs().empty() || spec.GetFunctionSpec() == nullptr) {
        return {};
    }
    if (type == OperatorType::Map || type == OperatorType::Filter) {
        return {ElementTypeOf(types, spec.GetInputs()[0])};
    }
    if (IsFold(type) && spec.GetValue() != nullptr) {
        return {spec.GetValue()->GetKeySegmentType(), ElementTypeOf(types, spec.GetInputs()[0])};
    }
    return {};
}

core::RegisteredFunctions const* FunctionEntryOf(core::TransformSpec const& spec,
                                                 core::ITypeLookup const& types,
                                                 core::IFunctionLookup const& functions) {
    std::vector<core::KeySegmentType> inputTypes = FunctionInputTypesOf(spec, types);
    if (inputTypes.empty()) {
        return nullptr;
    }
    bool const unary = inputTypes.size() == 1;
    core::FunctionKey const key(spec.GetFunctionSpec()->GetFunctionId(), std::move(inputTypes));
    return unary ? functions.GetUnaryFunctions().FindFunctions(key)
                 : functions.GetBinaryFunctions().FindFunctions(key);
}

std::optional<core::KeySegmentType> ResultTypeOf(core::TransformSpec const& spec,
                                                 core::ITypeLookup const& types,
                                                 core::IFunctionLookup const& functions) {
    OperatorType const type = spec.GetOperatorType();
    if (spec.GetInputs().empty()) {
        return std::nullopt;
    }
    core::KeySegmentType const input = types.GetKeySegmentType(spec.GetInputs()[0]);
    if (type == OperatorType::Copy) {
        return input;
    }
    if (type == OperatorType::Filter) {
        // With the table flag the second input is the table that is filtered whole.
        auto const& flag = spec.GetValue();
        bool const wholeTable = spec.GetInputs().size() > 1 && flag != nullptr &&
                                flag->GetStoreType() == StoreType::Bool && !flag->IsSpecial() &&
                                core::FetchStoreValue<bool>(flag);
        return wholeTable ? types.GetKeySegmentType(spec.GetInputs()[1]) : input;
    }
    core::RegisteredFunctions const* const entry = FunctionEntryOf(spec, types, functions);
    if (entry == nullptr) {
        return std::nullopt;
    }
    core::StoreTypeInfo const result = entry->GetOutputType().GetMainType();
    StoreType const kind = input.GetMainType().GetStoreType();
    if (type == OperatorType::Reduce) {
        return core::KeySegmentType(result);
    }
    if ((type == OperatorType::Map || IsFold(type)) && IsCollection(kind)) {
        // A Set stays a Set.
        return core::KeySegmentType(core::StoreTypeInfo(kind, false), result);
    }
    return std::nullopt;
}

void CheckDeclaredResultType(core::TransformSpec const& spec, core::ITypeLookup const& types,
                             core::IFunctionLookup const& functions) {
    if (spec.GetOutputs().size() != 1 || spec.GetOutputs()[0].IsEmpty()) {
        return;
    }
    core::KeyPath const& output = spec.GetOutputs()[0];
    core::KeySegmentType const declared = types.GetKeySegmentType(output);
    if (!declared.HasType()) {
        return;
    }
    std::optional<core::KeySegmentType> const made = ResultTypeOf(spec, types, functions);
    if (!made || !made->HasType() || Agrees(declared, *made)) {
        return;
    }
    ZEL_FAIL_WITH_TEXT(
        ZelError::OutputTypeMismatch,
        output.ToString() + L" is declared " + TStringCore::FromUtf8(core::FormatKeySegmentType(declared)) +
            L", and the statement makes " + TStringCore::FromUtf8(core::FormatKeySegmentType(*made)));
}

}  // namespace zel::vm
