#pragma once

#pragma GCC visibility push(default)

// The lookup a host builds: empty, then filled with its own functions and, if it likes, the
// built-in library. Registration happens before the lookup is handed to the machine.
//
//   FunctionLookup lookup;
//   lookup.RegisterUnary(L"negate", [](double x) { return -x; });                     // plain
//   lookup.RegisterUnary(L"multiply", [](double factor, double x) { return factor * x; });  // creator
//   lookup.RegisterUnary(L"running_count", [](long long& n, double) { return ++n; });   // stateful
//   lookup.RegisterUnary(L"is_null", [](double, SpecialKind s) {                        // special
//       return std::pair{s == SpecialKind::Null, SpecialKind::None};
//   });
//   lookup.RegisterBinary(L"add", [](double a, double b) { return a + b; });
//   lookup.RegisterMultinary(L"log", {}, [](CreatorArguments const& args) { ... });  // any types
//   lookup.RegisterUnary<&MyFunction>(L"mine");                                       // plain function
//
// The input and output types of the registry key come from the C++ types (ZelDateTime as
// DateTime, std::shared_ptr<StoreValue> as Object) unless FunctionTypes names them, which it must
// for a Date, a Tuple or a collated string. A named type must be served by the C++ type.

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "zel/core/functions/FunctionTemplates.h"
#include "zel/core/functions/RegisteredFunctions.h"

namespace zel::core {

// The types a function is registered under; an empty list or a segment without a type takes the
// default of the C++ type.
struct FunctionTypes {
    std::vector<KeySegmentType> inputs;
    KeySegmentType output;
};

// One registered function, for listings and docs.
struct FunctionListing {
    TStringCore name;
    FunctionKind kind;
    std::vector<KeySegmentType> inputTypes;
    KeySegmentType outputType;
    bool anyInputTypes = false;
    bool isCreator = false;
    bool isStateful = false;
    bool hasRegular = false;
    bool hasSpecial = false;

    // "multiply(double) -> double  unary creator", one line per function.
    std::string Format() const;
};

template <class F>
concept RegistrableCallable = std::is_class_v<F> && !std::is_same_v<std::decay_t<F>, FunctionTypes>;

class FunctionLookup : public IFunctionLookup {
public:
    FunctionLookup();
    FunctionLookup(FunctionLookup const&) = delete;
    FunctionLookup& operator=(FunctionLookup const&) = delete;
    FunctionLookup(FunctionLookup&&) noexcept;
    FunctionLookup& operator=(FunctionLookup&&) noexcept;
    ~FunctionLookup() override;

    RegistryOfUnaryFunctions const& GetUnaryFunctions() const override { return m_unary; }
    RegistryOfBinaryFunctions const& GetBinaryFunctions() const override { return m_binary; }
    RegistryOfMultinaryFunctions const& GetMultinaryFunctions() const override { return m_multinary; }
    FunctionInfo const& GetFunctionInfo(TStringCore const& name,
                                        std::vector<KeySegmentType> const& inputTypes) const override;
    // The info, or null when no registry has the function.
    FunctionInfo const* FindFunctionInfo(TStringCore const& name,
                                         std::vector<KeySegmentType> const& inputTypes) const;

    // A unary function from one callable; its signature says the form (see FunctionTemplates.h).
    template <RegistrableCallable F>
    RegisteredFunctions const& RegisterUnary(TStringCore const& name, F function,
                                             FunctionTypes const& types = {});
    // A unary function with a regular and a special callable of the same types and arguments.
    template <RegistrableCallable F, RegistrableCallable G>
    RegisteredFunctions const& RegisterUnary(TStringCore const& name, F regular, G special,
                                             FunctionTypes const& types = {});
    // A plain C++ function.
    template <auto Pointer>
    RegisteredFunctions const& RegisterUnary(TStringCore const& name, FunctionTypes const& types = {}) {
        return RegisterUnary(name, FunctionPointer<Pointer>{}, types);
    }

    template <RegistrableCallable F>
    RegisteredFunctions const& RegisterBinary(TStringCore const& name, F function,
                                              FunctionTypes const& types = {});
    template <RegistrableCallable F, RegistrableCallable G>
    RegisteredFunctions const& RegisterBinary(TStringCore const& name, F regular, G special,
                                              FunctionTypes const& types = {});
    template <auto Pointer>
    RegisteredFunctions const& RegisterBinary(TStringCore const& name, FunctionTypes const& types = {}) {
        return RegisterBinary(name, FunctionPointer<Pointer>{}, types);
    }

    // A multinary function: R f(CreatorArguments&), or void f(CreatorArguments const&) for one
    // called for its effect. An empty `inputTypes` registers it for any input types. The output
    // type defaults to that of R, Empty for void.
    template <RegistrableCallable F>
    RegisteredFunctions const& RegisterMultinary(TStringCore const& name,
                                                 std::vector<KeySegmentType> const& inputTypes, F function,
                                                 KeySegmentType const& outputType = {});

    // Marks the unary and binary entries of that name over plain strings as comparing by code
    // point: a collated string column then finds only a form registered for its collation, and a
    // clear FunctionMissing where there is none, never the code point form.
    void MarkCollationSensitive(TStringCore const& name);

    // Adds a ready entry to the registry of its kind.
    RegisteredFunctions const& Register(RegisteredFunctions entry);

    // Every registered function, ordered by name, kind and input types.
    std::vector<FunctionListing> ListFunctions() const;
    // The listing as text, one function a line.
    std::string FormatFunctionList() const;

private:
    FunctionRegistry& RegistryOf(FunctionKind kind);

    template <class Form, std::size_t Arity>
    static std::vector<KeySegmentType> InputTypesOf(FunctionTypes const& types);
    template <class Out>
    static KeySegmentType OutputTypeOf(KeySegmentType const& declared);

    RegistryOfUnaryFunctions m_unary;
    RegistryOfBinaryFunctions m_binary;
    RegistryOfMultinaryFunctions m_multinary;
};

namespace detail {
// Fails (a logic failure naming the function) unless the C++ type serves the declared type.
void CheckRegisteredType(TStringCore const& name, KeySegmentType const& type, bool served);
void CheckRegisteredArity(TStringCore const& name, std::size_t declared, std::size_t arity);
}  // namespace detail

template <class Form, std::size_t Arity>
std::vector<KeySegmentType> FunctionLookup::InputTypesOf(FunctionTypes const& types) {
    std::vector<KeySegmentType> inputs = types.inputs;
    if (inputs.empty()) {
        inputs.emplace_back(StoreTypeInfo(LogicalTypeTraits<typename Form::In1>::c_defaultType, false));
        if constexpr (Arity == 2) {
            inputs.emplace_back(StoreTypeInfo(LogicalTypeTraits<typename Form::In2>::c_defaultType, false));
        }
    }
    return inputs;
}

template <class Out>
KeySegmentType FunctionLookup::OutputTypeOf(KeySegmentType const& declared) {
    if (declared.HasType()) {
        return declared;
    }
    if constexpr (std::is_void_v<Out>) {
        return KeySegmentType();
    } else {
        return KeySegmentType(StoreTypeInfo(LogicalTypeTraits<Out>::c_defaultType, false));
    }
}

namespace detail {

template <class Form, std::size_t Arity>
void CheckRegisteredTypes(TStringCore const& name, std::vector<KeySegmentType> const& inputs,
                          KeySegmentType const& output) {
    CheckRegisteredArity(name, inputs.size(), Arity);
    CheckRegisteredType(name, inputs[0],
                        IsLogicalTypeOf<typename Form::In1>(inputs[0].GetMainType().GetStoreType()));
    if constexpr (Arity == 2) {
        CheckRegisteredType(name, inputs[1],
                            IsLogicalTypeOf<typename Form::In2>(inputs[1].GetMainType().GetStoreType()));
    }
    CheckRegisteredType(name, output,
                        IsLogicalTypeOf<typename Form::Out>(output.GetMainType().GetStoreType()));
}

// The regular and special factories of one or two callables, as an entry of `Arity` inputs.
template <std::size_t Arity, class F, class G>
RegisteredFunctions MakeEntry(TStringCore const& name, std::vector<KeySegmentType> const& inputs,
                              KeySegmentType const& output) {
    using FormF = FunctionForm<F, Arity>;
    using FormG = FunctionForm<G, Arity>;
    static_assert(std::is_same_v<typename FormF::In1, typename FormG::In1> &&
                      std::is_same_v<typename FormF::In2, typename FormG::In2> &&
                      std::is_same_v<typename FormF::Out, typename FormG::Out>,
                  "the regular and the special form must have the same input and output types");
    static_assert(std::is_same_v<typename FormF::Arguments, typename FormG::Arguments>,
                  "the regular and the special form must take the same creator arguments");
    static_assert(FormF::c_stateful == FormG::c_stateful, "both forms are stateful or neither is");
    CheckRegisteredTypes<FormF, Arity>(name, inputs, output);
    auto const kind = Arity == 1 ? FunctionKind::Unary : FunctionKind::Binary;
    RegisteredFunctions entry = RegisteredFunctions::Make(
        kind, FunctionKey(name, inputs), output, FormF::c_creator, FormF::c_stateful,
        Factories<F, Arity>::RegularFactory(), Factories<G, Arity>::SpecialFactory());
    // The objects of FunctionTemplates.h assign every output slot of a block in every form.
    entry.SetWritesEverySlot(true);
    return entry;
}

}  // namespace detail

template <RegistrableCallable F>
RegisteredFunctions const& FunctionLookup::RegisterUnary(TStringCore const& name, F,
                                                         FunctionTypes const& types) {
    using Form = detail::FunctionForm<F, 1>;
    return Register(detail::MakeEntry<1, F, F>(name, InputTypesOf<Form, 1>(types),
                                               OutputTypeOf<typename Form::Out>(types.output)));
}

template <RegistrableCallable F, RegistrableCallable G>
RegisteredFunctions const& FunctionLookup::RegisterUnary(TStringCore const& name, F, G,
                                                         FunctionTypes const& types) {
    using FormF = detail::FunctionForm<F, 1>;
    using FormG = detail::FunctionForm<G, 1>;
    static_assert(!FormF::c_special && FormG::c_special, "give the regular form first, then the special one");
    return Register(detail::MakeEntry<1, F, G>(name, InputTypesOf<FormF, 1>(types),
                                               OutputTypeOf<typename FormF::Out>(types.output)));
}

template <RegistrableCallable F>
RegisteredFunctions const& FunctionLookup::RegisterBinary(TStringCore const& name, F,
                                                          FunctionTypes const& types) {
    using Form = detail::FunctionForm<F, 2>;
    return Register(detail::MakeEntry<2, F, F>(name, InputTypesOf<Form, 2>(types),
                                               OutputTypeOf<typename Form::Out>(types.output)));
}

template <RegistrableCallable F, RegistrableCallable G>
RegisteredFunctions const& FunctionLookup::RegisterBinary(TStringCore const& name, F, G,
                                                          FunctionTypes const& types) {
    using FormF = detail::FunctionForm<F, 2>;
    using FormG = detail::FunctionForm<G, 2>;
    static_assert(!FormF::c_special && FormG::c_special, "give the regular form first, then the special one");
    return Register(detail::MakeEntry<2, F, G>(name, InputTypesOf<FormF, 2>(types),
                                               OutputTypeOf<typename FormF::Out>(types.output)));
}

template <RegistrableCallable F>
RegisteredFunctions const& FunctionLookup::RegisterMultinary(TStringCore const& name,
                                                             std::vector<KeySegmentType> const& inputTypes, F,
                                                             KeySegmentType const& outputType) {
    static_assert(std::is_empty_v<F> && std::is_default_constructible_v<F>,
                  "register a plain function (through FunctionPointer) or a captureless lambda");
    using Params = typename detail::CallableSignature<F>::Params;
    static_assert(std::tuple_size_v<Params> == 1, "a multinary function takes the vector of its arguments");
    using R = typename detail::CallableSignature<F>::Result;
    static_assert(std::is_void_v<R> ||
                      (LogicalType<R> && !std::is_same_v<R, RIndirectString> && !std::is_same_v<R, ZelColor>),
                  "a multinary function returns void, bool, int, long long, float, double, ZelDateTime or "
                  "std::shared_ptr<StoreValue> (which serves every other output type)");
    KeySegmentType const output = OutputTypeOf<R>(outputType);
    if constexpr (std::is_void_v<R>) {
        detail::CheckRegisteredType(name, output, !output.HasType());
    } else {
        detail::CheckRegisteredType(name, output,
                                    detail::IsMultinaryOutputType<R>(output.GetMainType()) &&
                                        detail::HasMultinaryResultType<R>(output.GetMainType()));
    }
    MultinaryFunctionPointerT<R> const pointer = &detail::MultinaryThunk<F, R>::Call;
    RegisteredFunctions entry =
        RegisteredFunctions::Make(FunctionKind::Multinary, FunctionKey(name, inputTypes), output, false,
                                  false, pointer, static_cast<RegisteredFunctions::UntypedPointer>(nullptr));
    entry.SetAcceptsAnyInputTypes(inputTypes.empty());
    return Register(std::move(entry));
}

}  // namespace zel::core

#pragma GCC visibility pop
