#include "zel/core/functions/RegisteredFunctions.h"

#include <algorithm>

#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelException.h"

namespace zel::core {

RegisteredFunctions::RegisteredFunctions(FunctionKind kind, FunctionKey key, KeySegmentType const& outputType,
                                         bool isCreator, bool isStateful, UntypedPointer function,
                                         std::type_info const& signature, UntypedPointer specialFunction,
                                         std::type_info const& specialSignature)
    : m_kind(kind),
      m_key(std::move(key)),
      m_info(outputType, isCreator, isStateful),
      m_function(function),
      m_specialFunction(specialFunction),
      m_signature(signature),
      m_specialSignature(specialSignature) {}

std::string RegisteredFunctions::FormatSignature() const {
    std::string text = GetFunctionName().ToUtf8() + "(";
    text += m_anyInputTypes ? "..." : FormatKeySegmentTypes(m_key.GetInputTypes());
    text += ") -> ";
    text += GetOutputType().HasType() ? FormatKeySegmentType(GetOutputType()) : "nothing";
    return text;
}

namespace {

// The key with its types reduced to their store types: no collation, not optional.
StoreTypeInfo PlainTypeInfo(StoreTypeInfo const& info) {
    return info.IsEmpty() ? StoreTypeInfo() : StoreTypeInfo(info.GetStoreType(), false);
}

bool IsCollatedString(StoreTypeInfo const& info) {
    return info.GetStoreType() == StoreType::String && !info.GetCollation().IsBinary();
}

bool IsPlainString(StoreTypeInfo const& info) {
    return info.GetStoreType() == StoreType::String && info.GetCollation().IsBinary();
}

// Some input of the key is a string, or holds strings, under a collation other than binary.
bool HasCollatedString(FunctionKey const& key) {
    return std::any_of(
        key.GetInputTypes().begin(), key.GetInputTypes().end(), [](KeySegmentType const& type) {
            return IsCollatedString(type.GetMainType()) || IsCollatedString(type.GetChildType());
        });
}

FunctionKey PlainKey(FunctionKey const& key) {
    std::vector<KeySegmentType> types;
    types.reserve(key.GetInputTypes().size());
    for (KeySegmentType const& type : key.GetInputTypes()) {
        types.emplace_back(PlainTypeInfo(type.GetMainType()), PlainTypeInfo(type.GetChildType()));
    }
    return FunctionKey(key.GetName(), types);
}

}  // namespace

FunctionRegistry::FunctionRegistry(FunctionKind kind) : m_kind(kind) {}

FunctionRegistry::~FunctionRegistry() = default;

RegisteredFunctions const* FunctionRegistry::FindFunctions(FunctionKey const& key) const {
    if (auto const found = m_entries.find(key); found != m_entries.end()) {
        return found->second.get();
    }
    if (auto const found = m_entries.find(PlainKey(key)); found != m_entries.end()) {
        if (found->second->IsCollationSensitive() && HasCollatedString(key)) {
            return nullptr;
        }
        return found->second.get();
    }
    if (auto const found = m_anyTypeEntries.find(key.GetName()); found != m_anyTypeEntries.end()) {
        return found->second.get();
    }
    return nullptr;
}

RegisteredFunctions const& FunctionRegistry::GetFunctions(FunctionKey const& key) const {
    if (RegisteredFunctions const* entry = FindFunctions(key)) {
        return *entry;
    }
    ZEL_FAIL_WITH_TEXT(ZelError::FunctionMissing, TStringCore::FromUtf8(DescribeMissing(key)));
}

std::string FunctionRegistry::DescribeMissing(FunctionKey const& key) const {
    std::string text = "no " + std::string(FunctionKindName(m_kind)) + " function " + key.GetName().ToUtf8() +
                       "(" + FormatKeySegmentTypes(key.GetInputTypes()) + ")";
    if (auto const plain = m_entries.find(PlainKey(key));
        plain != m_entries.end() && plain->second->IsCollationSensitive() && HasCollatedString(key)) {
        text += "; the form for plain strings compares by code point and would ignore the collation";
    }
    std::vector<RegisteredFunctions const*> const named = GetFunctionsNamed(key.GetName());
    if (named.empty()) {
        return text + "; none is registered under that name";
    }
    text += "; registered under that name:";
    for (std::size_t i = 0; i < named.size(); ++i) {
        text += (i == 0 ? " " : ", ");
        text += named[i]->FormatSignature();
    }
    return text;
}

void FunctionRegistry::MarkCollationSensitive(TStringCore const& name) {
    for (auto& [key, entry] : m_entries) {
        if (key.GetName() == name && std::any_of(key.GetInputTypes().begin(), key.GetInputTypes().end(),
                                                 [](KeySegmentType const& type) {
                                                     return IsPlainString(type.GetMainType()) ||
                                                            IsPlainString(type.GetChildType());
                                                 })) {
            entry->SetCollationSensitive(true);
        }
    }
}

std::vector<RegisteredFunctions const*> FunctionRegistry::GetAllFunctions() const {
    std::vector<RegisteredFunctions const*> all;
    all.reserve(m_entries.size() + m_anyTypeEntries.size());
    for (auto const& [key, entry] : m_entries) {
        all.push_back(entry.get());
    }
    for (auto const& [name, entry] : m_anyTypeEntries) {
        all.push_back(entry.get());
    }
    return all;
}

std::vector<RegisteredFunctions const*> FunctionRegistry::GetFunctionsNamed(TStringCore const& name) const {
    std::vector<RegisteredFunctions const*> named;
    for (RegisteredFunctions const* entry : GetAllFunctions()) {
        if (entry->GetFunctionName() == name) {
            named.push_back(entry);
        }
    }
    // A stable order for messages: by the text of the signature.
    std::sort(named.begin(), named.end(), [](RegisteredFunctions const* a, RegisteredFunctions const* b) {
        return a->FormatSignature() < b->FormatSignature();
    });
    return named;
}

RegisteredFunctions const& FunctionRegistry::Add(RegisteredFunctions entry) {
    ZEL_CHECK_LOGIC(entry.GetKind() == m_kind, ZelError::InvalidArgument);
    ZEL_CHECK(entry.GetFunction() != nullptr || entry.GetSpecialFunction() != nullptr,
              ZelError::FunctionMissing);
    auto owned = std::make_unique<RegisteredFunctions>(std::move(entry));
    bool inserted = false;
    RegisteredFunctions const* added = owned.get();
    if (owned->AcceptsAnyInputTypes()) {
        inserted = m_anyTypeEntries.try_emplace(owned->GetFunctionName(), std::move(owned)).second;
    } else {
        FunctionKey const key = owned->GetKey();
        inserted = m_entries.try_emplace(key, std::move(owned)).second;
    }
    if (!inserted) {
        ZEL_FAIL_WITH_TEXT(
            ZelError::DuplicateKey,
            TStringCore::FromUtf8("the " + std::string(FunctionKindName(m_kind)) + " function " +
                                  added->FormatSignature() + " is registered already"));
    }
    return *added;
}

FunctionInfo const& IFunctionLookup::GetFunctionInfoIn(FunctionKind kind, TStringCore const& name,
                                                       std::vector<KeySegmentType> const& inputTypes) const {
    FunctionKey const key(name, inputTypes);
    switch (kind) {
        case FunctionKind::Unary:
            return GetUnaryFunctions().GetFunctions(key).GetInfo();
        case FunctionKind::Binary:
            return GetBinaryFunctions().GetFunctions(key).GetInfo();
        case FunctionKind::Multinary:
            break;
    }
    return GetMultinaryFunctions().GetFunctions(key).GetInfo();
}

}  // namespace zel::core

namespace zel::core::detail {

void RefuseFunctionSignature(RegisteredFunctions const& entry, bool special, std::type_info const& expected) {
    std::string const registered = special ? entry.GetSpecialSignature().name() : entry.GetSignature().name();
    ZEL_FAIL_LOGIC_WITH_TEXT(ZelError::FunctionTypeMismatch,
                             TStringCore::FromUtf8("the " + std::string(special ? "special" : "regular") +
                                                   " pointer of " + entry.FormatSignature() + " is a " +
                                                   registered + ", not the expected " + expected.name()));
}

void CheckBoundOutputType(RegisteredFunctions const& entry, FunctionKey const& key, StoreType outputType) {
    if (entry.GetOutputType().GetMainType().GetStoreType() != outputType) {
        throw ZelRuntimeException(ZelError::FunctionTypeMismatch, key.GetName());
    }
}

void RefuseOutputType(FunctionKey const& key) {
    throw ZelRuntimeException(ZelError::FunctionTypeMismatch, key.GetName());
}

}  // namespace zel::core::detail
