#pragma once

#pragma GCC visibility push(default)

// The registries of functions and the lookup that a host hands to the machine.
//
// A registry maps a FunctionKey (a name and the types of the inputs) to a RegisteredFunctions
// entry: the untyped pointers of one function for those types. The wrappers of ZelFunctions.h cast
// the pointers back; each entry remembers the type of its pointers so that a wrapper of the wrong
// types is refused instead of calling through a mismatched pointer.
//
// Lookup takes the exact key first. A key that misses is tried again with its types reduced to
// their store types (no collation, not optional), so that a column of collated or optional strings
// finds a function registered for plain strings. A multinary registry may also hold a function
// for any input types under a name, tried last.
//
// Registries are filled before the machine runs and only read afterwards; any number of threads
// may read them without a lock.

#include <memory>
#include <string>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/functions/FunctionTypes.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/KeySegmentType.h"

namespace zel::core {

// What is known of a function without its code.
class FunctionInfo {
public:
    FunctionInfo(KeySegmentType const& outputType, bool isCreator, bool isStateful)
        : m_outputType(outputType), m_isCreator(isCreator), m_isStateful(isStateful) {}

    StoreType GetOutputType() const noexcept { return m_outputType.GetMainType().GetStoreType(); }
    KeySegmentType const& GetOutputTypeInfo() const noexcept { return m_outputType; }
    bool IsCreator() const noexcept { return m_isCreator; }
    bool IsStateful() const noexcept { return m_isStateful; }

private:
    KeySegmentType m_outputType;
    bool m_isCreator;
    bool m_isStateful;
};

// One function for one key: its flags and its two untyped pointers, of which at least one is set.
// In the unary and binary registries the pointers are factories of function objects
// (FunctionFactory<IUnaryFunction<In, Out>> and the like); in the multinary registry the regular
// pointer is a plain function (MultinaryFunctionPointerT<R>) and the special one is null.
class RegisteredFunctions {
public:
    using UntypedPointer = void (*)(void);

    // `signature` is the type of the regular pointer, `specialSignature` that of the special one.
    RegisteredFunctions(FunctionKind kind, FunctionKey key, KeySegmentType const& outputType, bool isCreator,
                        bool isStateful, UntypedPointer function, std::type_info const& signature,
                        UntypedPointer specialFunction, std::type_info const& specialSignature);

    TStringCore const& GetFunctionName() const noexcept { return m_key.GetName(); }
    KeySegmentType const& GetOutputType() const noexcept { return m_info.GetOutputTypeInfo(); }
    bool IsCreator() const noexcept { return m_info.IsCreator(); }
    bool IsStateful() const noexcept { return m_info.IsStateful(); }
    bool HasFunction() const noexcept { return m_function != nullptr; }
    UntypedPointer GetFunction() const noexcept { return m_function; }
    UntypedPointer GetSpecialFunction() const noexcept { return m_specialFunction; }

    FunctionKind GetKind() const noexcept { return m_kind; }
    FunctionKey const& GetKey() const noexcept { return m_key; }
    FunctionInfo const& GetInfo() const noexcept { return m_info; }
    // Whether the entry serves any list of input types (a multinary function registered so).
    bool AcceptsAnyInputTypes() const noexcept { return m_anyInputTypes; }
    void SetAcceptsAnyInputTypes(bool any) noexcept { m_anyInputTypes = any; }
    // Whether the function objects write every output slot of a block call (and every special byte
    // in the special form). The objects that FunctionLookup's Register templates build do; a host's
    // own objects may write only the rows they change (the specials they raise, say), so a result
    // buffer for them starts filled: elements at their initial value, specials 0.
    bool WritesEverySlot() const noexcept { return m_writesEverySlot; }
    void SetWritesEverySlot(bool writes) noexcept { m_writesEverySlot = writes; }
    // Whether the function compares its string inputs by code point: such an entry does not serve
    // a key of a collated string, which would otherwise fall back to it and ignore its collation.
    bool IsCollationSensitive() const noexcept { return m_collationSensitive; }
    void SetCollationSensitive(bool sensitive) noexcept { m_collationSensitive = sensitive; }
    std::type_index GetSignature() const noexcept { return m_signature; }
    std::type_index GetSpecialSignature() const noexcept { return m_specialSignature; }

    // "multiply(double) -> double", "log(...)" for a function of any input types.
    std::string FormatSignature() const;

    // Builds an entry from typed pointers, remembering their types.
    template <class Regular, class Special>
    static RegisteredFunctions Make(FunctionKind kind, FunctionKey key, KeySegmentType const& outputType,
                                    bool isCreator, bool isStateful, Regular function,
                                    Special specialFunction) {
        return RegisteredFunctions(kind, std::move(key), outputType, isCreator, isStateful,
                                   reinterpret_cast<UntypedPointer>(function), typeid(Regular),
                                   reinterpret_cast<UntypedPointer>(specialFunction), typeid(Special));
    }

private:
    FunctionKind m_kind;
    FunctionKey m_key;
    FunctionInfo m_info;
    UntypedPointer m_function;
    UntypedPointer m_specialFunction;
    std::type_index m_signature;
    std::type_index m_specialSignature;
    bool m_anyInputTypes = false;
    bool m_writesEverySlot = false;
    bool m_collationSensitive = false;
};

// The entries of one arity. GetFunctions of a key that no entry serves is a ZelRuntimeException
// (FunctionMissing) whose text names the function, the types asked for and the types registered
// under that name.
class FunctionRegistry {
public:
    explicit FunctionRegistry(FunctionKind kind);
    FunctionRegistry(FunctionRegistry const&) = delete;
    FunctionRegistry& operator=(FunctionRegistry const&) = delete;
    // Moving keeps the entries where they are: references to them stay valid.
    FunctionRegistry(FunctionRegistry&&) noexcept = default;
    FunctionRegistry& operator=(FunctionRegistry&&) noexcept = default;
    virtual ~FunctionRegistry();

    FunctionKind GetKind() const noexcept { return m_kind; }

    RegisteredFunctions const& GetFunctions(FunctionKey const& key) const;
    // The entry that serves the key, or null.
    RegisteredFunctions const* FindFunctions(FunctionKey const& key) const;
    // Every entry, in no particular order.
    std::vector<RegisteredFunctions const*> GetAllFunctions() const;
    // The entries under one name.
    std::vector<RegisteredFunctions const*> GetFunctionsNamed(TStringCore const& name) const;

    // Marks the entries of that name with a plain string input (or strings as elements) as
    // comparing by code point: see RegisteredFunctions::IsCollationSensitive.
    void MarkCollationSensitive(TStringCore const& name);

    // Adds an entry; a second entry for the same key (or a second entry of any input types under
    // one name) is a ZelRuntimeException (DuplicateKey) naming the function.
    RegisteredFunctions const& Add(RegisteredFunctions entry);

    // The text of the failure for a key that no entry serves.
    std::string DescribeMissing(FunctionKey const& key) const;

private:
    FunctionKind m_kind;
    std::unordered_map<FunctionKey, std::unique_ptr<RegisteredFunctions>> m_entries;
    std::unordered_map<TStringCore, std::unique_ptr<RegisteredFunctions>> m_anyTypeEntries;
};

class RegistryOfUnaryFunctions : public FunctionRegistry {
public:
    RegistryOfUnaryFunctions() : FunctionRegistry(FunctionKind::Unary) {}
};

class RegistryOfBinaryFunctions : public FunctionRegistry {
public:
    RegistryOfBinaryFunctions() : FunctionRegistry(FunctionKind::Binary) {}
};

class RegistryOfMultinaryFunctions : public FunctionRegistry {
public:
    RegistryOfMultinaryFunctions() : FunctionRegistry(FunctionKind::Multinary) {}
};

// The caller's handle on the registries. The machine calls the first four operations.
class IFunctionLookup {
public:
    virtual ~IFunctionLookup() = default;
    virtual RegistryOfUnaryFunctions const& GetUnaryFunctions() const = 0;
    virtual RegistryOfBinaryFunctions const& GetBinaryFunctions() const = 0;
    virtual RegistryOfMultinaryFunctions const& GetMultinaryFunctions() const = 0;
    // The info of the function of that name for those input types, from whichever registry has it
    // (unary first, then binary, then multinary); FunctionMissing when none has. A name may stand
    // in several registries with different output types: a transform asks GetFunctionInfoIn.
    virtual FunctionInfo const& GetFunctionInfo(TStringCore const& name,
                                                std::vector<KeySegmentType> const& inputTypes) const = 0;

    // The info of the entry that a transform of that arity binds: looked up in the registry of
    // `kind` only, so that it always describes the function that is then called. An unknown key
    // fails in that registry (FunctionMissing).
    FunctionInfo const& GetFunctionInfoIn(FunctionKind kind, TStringCore const& name,
                                          std::vector<KeySegmentType> const& inputTypes) const;
};

namespace detail {

// A logic failure: the entry's pointer is not of the type a wrapper expects.
[[noreturn]] void RefuseFunctionSignature(RegisteredFunctions const& entry, bool special,
                                          std::type_info const& expected);

// The regular or special pointer of the entry as `Pointer`; null when the entry has none.
template <class Pointer>
Pointer CastFunctionPointer(RegisteredFunctions const& entry, bool special) {
    RegisteredFunctions::UntypedPointer const untyped =
        special ? entry.GetSpecialFunction() : entry.GetFunction();
    if (untyped == nullptr) {
        return nullptr;
    }
    if ((special ? entry.GetSpecialSignature() : entry.GetSignature()) != std::type_index(typeid(Pointer))) {
        RefuseFunctionSignature(entry, special, typeid(Pointer));
    }
    return reinterpret_cast<Pointer>(untyped);
}

// Unless the main type of the entry's output is `outputType`, a ZelRuntimeException
// (FunctionTypeMismatch) with the key's name, thrown without a debug report.
void CheckBoundOutputType(RegisteredFunctions const& entry, FunctionKey const& key, StoreType outputType);

// The same failure unless T serves the main type of the entry's output.
[[noreturn]] void RefuseOutputType(FunctionKey const& key);
template <LogicalType T>
void CheckServedOutputType(RegisteredFunctions const& entry, FunctionKey const& key) {
    if (!IsLogicalTypeOf<T>(entry.GetOutputType().GetMainType().GetStoreType())) {
        RefuseOutputType(key);
    }
}

// Whether a multinary function returning R may have `type` as its output type.
template <class R>
bool IsMultinaryOutputType(StoreTypeInfo const& type) {
    if constexpr (std::is_void_v<R>) {
        return type.IsEmpty();
    } else if constexpr (std::is_same_v<R, std::shared_ptr<StoreValue>>) {
        return true;
    } else if constexpr (std::is_same_v<R, ZelDateTime>) {
        return type.GetStoreType() == StoreType::Date || type.GetStoreType() == StoreType::DateTime;
    } else {
        return type.GetStoreType() == LogicalTypeTraits<R>::c_defaultType;
    }
}

// Whether R is the result type that the machine picks for a multinary function of output `type`:
// the seven types of their own, and std::shared_ptr<StoreValue> for every other one.
template <class R>
bool HasMultinaryResultType(StoreTypeInfo const& type) {
    switch (type.GetStoreType()) {
        case StoreType::Bool:
        case StoreType::Int32:
        case StoreType::Int64:
        case StoreType::Float:
        case StoreType::Double:
        case StoreType::Date:
        case StoreType::DateTime:
            return !std::is_same_v<R, std::shared_ptr<StoreValue>>;
        default:
            return std::is_same_v<R, std::shared_ptr<StoreValue>>;
    }
}

}  // namespace detail

}  // namespace zel::core

#pragma GCC visibility pop
