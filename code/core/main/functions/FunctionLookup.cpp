#include "zel/core/functions/FunctionLookup.h"

#include <algorithm>
#include <tuple>

#include "zel/core/utility/ZelCheck.h"

namespace zel::core {

FunctionLookup::FunctionLookup() = default;

FunctionLookup::FunctionLookup(FunctionLookup&&) noexcept = default;

FunctionLookup& FunctionLookup::operator=(FunctionLookup&&) noexcept = default;

FunctionLookup::~FunctionLookup() = default;

FunctionInfo const* FunctionLookup::FindFunctionInfo(TStringCore const& name,
                                                     std::vector<KeySegmentType> const& inputTypes) const {
    FunctionKey const key(name, inputTypes);
    for (FunctionRegistry const* registry :
         {static_cast<FunctionRegistry const*>(&m_unary), static_cast<FunctionRegistry const*>(&m_binary),
          static_cast<FunctionRegistry const*>(&m_multinary)}) {
        if (RegisteredFunctions const* entry = registry->FindFunctions(key)) {
            return &entry->GetInfo();
        }
    }
    return nullptr;
}

FunctionInfo const& FunctionLookup::GetFunctionInfo(TStringCore const& name,
                                                    std::vector<KeySegmentType> const& inputTypes) const {
    if (FunctionInfo const* info = FindFunctionInfo(name, inputTypes)) {
        return *info;
    }
    FunctionKey const key(name, inputTypes);
    std::string text = "no function " + name.ToUtf8() + "(" + FormatKeySegmentTypes(inputTypes) + ")";
    std::string registered;
    for (FunctionRegistry const* registry :
         {static_cast<FunctionRegistry const*>(&m_unary), static_cast<FunctionRegistry const*>(&m_binary),
          static_cast<FunctionRegistry const*>(&m_multinary)}) {
        for (RegisteredFunctions const* entry : registry->GetFunctionsNamed(name)) {
            registered += registered.empty() ? " " : ", ";
            registered +=
                entry->FormatSignature() + " (" + std::string(FunctionKindName(registry->GetKind())) + ")";
        }
    }
    text += registered.empty() ? "; none is registered under that name"
                               : "; registered under that name:" + registered;
    ZEL_FAIL_WITH_TEXT(ZelError::FunctionMissing, TStringCore::FromUtf8(text));
}

FunctionRegistry& FunctionLookup::RegistryOf(FunctionKind kind) {
    switch (kind) {
        case FunctionKind::Unary:
            return m_unary;
        case FunctionKind::Binary:
            return m_binary;
        case FunctionKind::Multinary:
            break;
    }
    return m_multinary;
}

void FunctionLookup::MarkCollationSensitive(TStringCore const& name) {
    m_unary.MarkCollationSensitive(name);
    m_binary.MarkCollationSensitive(name);
}

RegisteredFunctions const& FunctionLookup::Register(RegisteredFunctions entry) {
    return RegistryOf(entry.GetKind()).Add(std::move(entry));
}

std::vector<FunctionListing> FunctionLookup::ListFunctions() const {
    std::vector<FunctionListing> listing;
    for (FunctionRegistry const* registry :
         {static_cast<FunctionRegistry const*>(&m_unary), static_cast<FunctionRegistry const*>(&m_binary),
          static_cast<FunctionRegistry const*>(&m_multinary)}) {
        for (RegisteredFunctions const* entry : registry->GetAllFunctions()) {
            listing.push_back({entry->GetFunctionName(), entry->GetKind(), entry->GetKey().GetInputTypes(),
                               entry->GetOutputType(), entry->AcceptsAnyInputTypes(), entry->IsCreator(),
                               entry->IsStateful(), entry->GetFunction() != nullptr,
                               entry->GetSpecialFunction() != nullptr});
        }
    }
    std::sort(listing.begin(), listing.end(), [](FunctionListing const& a, FunctionListing const& b) {
        return std::forward_as_tuple(a.name, a.kind, FormatKeySegmentTypes(a.inputTypes)) <
               std::forward_as_tuple(b.name, b.kind, FormatKeySegmentTypes(b.inputTypes));
    });
    return listing;
}

std::string FunctionListing::Format() const {
    std::string text = name.ToUtf8() + "(" +
                       (anyInputTypes ? std::string("...") : FormatKeySegmentTypes(inputTypes)) + ") -> " +
                       (outputType.HasType() ? FormatKeySegmentType(outputType) : std::string("nothing"));
    text += "  " + std::string(FunctionKindName(kind));
    if (isCreator) {
        text += " creator";
    }
    if (isStateful) {
        text += " stateful";
    }
    if (!hasRegular) {
        text += " special-only";
    }
    return text;
}

std::string FunctionLookup::FormatFunctionList() const {
    std::string text;
    for (FunctionListing const& function : ListFunctions()) {
        text += function.Format() + "\n";
    }
    return text;
}

namespace detail {

void CheckRegisteredType(TStringCore const& name, KeySegmentType const& type, bool served) {
    if (!served) {
        ZEL_FAIL_LOGIC_WITH_TEXT(
            ZelError::InvalidArgument,
            TStringCore::FromUtf8("function " + name.ToUtf8() + " cannot be registered for type " +
                                  FormatKeySegmentType(type) + ": its C++ type does not serve that type"));
    }
}

void CheckRegisteredArity(TStringCore const& name, std::size_t declared, std::size_t arity) {
    if (declared != arity) {
        ZEL_FAIL_LOGIC_WITH_TEXT(
            ZelError::InvalidArgument,
            TStringCore::FromUtf8("function " + name.ToUtf8() + " takes " + std::to_string(arity) +
                                  " input(s) and was registered with " + std::to_string(declared) +
                                  " type(s)"));
    }
}

}  // namespace detail
}  // namespace zel::core
