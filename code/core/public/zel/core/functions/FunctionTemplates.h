#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

// The templates that turn a plain function or a captureless lambda into function objects and
// their factories. FunctionLookup's Register operations use them; a host rarely names them.
//
// The signature of the callable says its form. With N the arity (1 or 2):
//
//   plain      Out f(In...)                                   N inputs
//   creator    Out f(Arg..., In...)                           the leading Arg are creator arguments
//   stateful   Out f(State&, [Arg...,] In...)                 a leading non-const reference is state
//   special    std::pair<Out, SpecialKind> f([State&,] [Arg...,] In, SpecialKind ...)
//                                                             each input followed by its special
//
// A creator's arguments are converted from the resolved store values once, when the object is
// made: numbers convert between the numeric types, std::shared_ptr<StoreValue> takes the value as
// it is, and every other type reads the value with FetchStoreValue. A stateful function's state is
// value-initialised in each object, so each run starts afresh.
//
// A plain form also gives a special form that propagates specials: a row with a special input
// gives that special (the first input's before the second's) and the default value, and the
// callable is not called for it.
//
// The block calls are loops over raw pointers with the callable inlined and its creator arguments
// and state held in locals, so that the compiler can vectorise them.

#include <cstddef>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "zel/core/functions/FunctionObjects.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core {

// Makes a function pointer known at compile time into a callable type, for the templates below.
template <auto Pointer>
struct FunctionPointer {
    template <class... Args>
    decltype(auto) operator()(Args&&... args) const {
        return Pointer(std::forward<Args>(args)...);
    }
};

namespace detail {

// ---- Signatures ----------------------------------------------------------------------------------

template <class R, class... P>
struct SignatureOf {
    using Result = R;
    using Params = std::tuple<P...>;
};

template <class F>
struct CallableSignature : CallableSignature<decltype(&F::operator())> {};
template <class R, class... P>
struct CallableSignature<R (*)(P...)> : SignatureOf<R, P...> {};
template <class R, class... P>
struct CallableSignature<R (*)(P...) noexcept> : SignatureOf<R, P...> {};
template <class C, class R, class... P>
struct CallableSignature<R (C::*)(P...) const> : SignatureOf<R, P...> {};
template <class C, class R, class... P>
struct CallableSignature<R (C::*)(P...) const noexcept> : SignatureOf<R, P...> {};
template <auto Pointer>
struct CallableSignature<FunctionPointer<Pointer>> : CallableSignature<decltype(Pointer)> {};

template <class T>
struct SpecialResult : std::false_type {
    using Value = T;
};
template <class T>
struct SpecialResult<std::pair<T, SpecialKind>> : std::true_type {
    using Value = T;
};

template <class Tuple, std::size_t First, class Indices>
struct TupleSliceImpl;
template <class Tuple, std::size_t First, std::size_t... I>
struct TupleSliceImpl<Tuple, First, std::index_sequence<I...>> {
    using type = std::tuple<std::decay_t<std::tuple_element_t<First + I, Tuple>>...>;
};
template <class Tuple, std::size_t First, std::size_t Count>
using TupleSlice = typename TupleSliceImpl<Tuple, First, std::make_index_sequence<Count>>::type;

struct NoState {};

// The form of callable F taken as a function of `Arity` inputs.
template <class F, std::size_t Arity>
struct FunctionForm {
    using Signature = CallableSignature<F>;
    using Params = typename Signature::Params;
    static constexpr std::size_t c_paramCount = std::tuple_size_v<Params>;

    static constexpr bool c_special = SpecialResult<typename Signature::Result>::value;
    using Out = typename SpecialResult<typename Signature::Result>::Value;

    static constexpr bool c_stateful = [] {
        if constexpr (c_paramCount == 0) {
            return false;
        } else {
            using First = std::tuple_element_t<0, Params>;
            return std::is_lvalue_reference_v<First> && !std::is_const_v<std::remove_reference_t<First>>;
        }
    }();
    static constexpr std::size_t c_stateCount = c_stateful ? 1 : 0;
    static constexpr std::size_t c_inputStride = c_special ? 2 : 1;
    static_assert(c_paramCount >= c_stateCount + Arity * c_inputStride,
                  "the callable takes fewer parameters than the form needs");
    static constexpr std::size_t c_creatorCount = c_paramCount - c_stateCount - Arity * c_inputStride;
    static constexpr bool c_creator = c_creatorCount > 0;
    static constexpr std::size_t c_firstInput = c_stateCount + c_creatorCount;

    using State =
        std::conditional_t<c_stateful, std::remove_reference_t<std::tuple_element_t<0, Params>>, NoState>;
    using Arguments = TupleSlice<Params, c_stateCount, c_creatorCount>;
    using In1 = std::decay_t<std::tuple_element_t<c_firstInput, Params>>;
    using In2 =
        std::decay_t<std::tuple_element_t<(Arity > 1 ? c_firstInput + c_inputStride : c_firstInput), Params>>;

    static_assert(LogicalType<In1> && LogicalType<In2> && LogicalType<Out>,
                  "inputs and output must be logical types: bool, int, long long, float, double, "
                  "RIndirectString, ZelDateTime, ZelColor or std::shared_ptr<StoreValue>");
    static_assert(std::is_empty_v<F> && std::is_default_constructible_v<F>,
                  "register a plain function (through FunctionPointer) or a captureless lambda");
};

// ---- Creator arguments ---------------------------------------------------------------------------

// Reads one creator argument as T (see the top of this file).
template <class T>
VOR_PUBLIC T ConvertCreatorArgument(std::shared_ptr<StoreValue> const& value);

template <>
VOR_PUBLIC bool ConvertCreatorArgument<bool>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC int ConvertCreatorArgument<int>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC long long ConvertCreatorArgument<long long>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC float ConvertCreatorArgument<float>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC double ConvertCreatorArgument<double>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC RIndirectString ConvertCreatorArgument<RIndirectString>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC TStringCore ConvertCreatorArgument<TStringCore>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC ZelDateTime ConvertCreatorArgument<ZelDateTime>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC ZelColor ConvertCreatorArgument<ZelColor>(std::shared_ptr<StoreValue> const& value);
template <>
VOR_PUBLIC std::shared_ptr<StoreValue> ConvertCreatorArgument<std::shared_ptr<StoreValue>>(
    std::shared_ptr<StoreValue> const& value);

// Fails unless a creator of `expected` arguments got a list of that length.
void CheckCreatorArguments(CreatorArguments const* arguments, std::size_t expected);

template <class Arguments, std::size_t... I>
Arguments ConvertCreatorArguments(CreatorArguments const& arguments, std::index_sequence<I...>) {
    return Arguments(ConvertCreatorArgument<std::tuple_element_t<I, Arguments>>(arguments[I])...);
}

template <class Form>
typename Form::Arguments MakeArguments(CreatorArguments const* arguments) {
    if constexpr (Form::c_creator) {
        CheckCreatorArguments(arguments, Form::c_creatorCount);
        return ConvertCreatorArguments<typename Form::Arguments>(
            *arguments, std::make_index_sequence<Form::c_creatorCount>());
    } else {
        return {};
    }
}

// A block call's output must be as long as its inputs.
void CheckBlockLengths(std::size_t inputLength, std::size_t outputLength);
// A function whose first input is not of its output type cannot accumulate.
[[noreturn]] void RefuseAccumulate();

// ---- Calling the callable ------------------------------------------------------------------------

// Calls F with the state (when stateful), the creator arguments and the inputs.
template <class F, class Form, class... Inputs>
inline auto Invoke(typename Form::State& state, typename Form::Arguments const& arguments,
                   Inputs&&... inputs) {
    return std::apply(
        [&](auto const&... args) {
            if constexpr (Form::c_stateful) {
                return F{}(state, args..., std::forward<Inputs>(inputs)...);
            } else {
                (void)state;
                return F{}(args..., std::forward<Inputs>(inputs)...);
            }
        },
        arguments);
}

// The part that every function object holds: creator arguments and state.
template <class Form>
class FunctionObjectBase {
protected:
    explicit FunctionObjectBase(CreatorArguments const* arguments)
        : m_arguments(MakeArguments<Form>(arguments)) {}

    // The state for the length of a block call, held in a local so that the loop's stores cannot
    // alias it, and put back after. A function without state touches no member here, so that
    // threads may share its object.
    typename Form::State TakeState() {
        if constexpr (Form::c_stateful) {
            return std::move(m_state);
        } else {
            return {};
        }
    }
    void PutState(typename Form::State&& state) {
        if constexpr (Form::c_stateful) {
            m_state = std::move(state);
        } else {
            (void)state;
        }
    }

    typename Form::Arguments m_arguments;
    [[no_unique_address]] typename Form::State m_state{};
};

// ---- Unary ---------------------------------------------------------------------------------------

// The regular form of a plain callable.
template <class F, class Form, class In = typename Form::In1, class Out = typename Form::Out>
class UnaryRegular final : public IUnaryFunction<In, Out>, FunctionObjectBase<Form> {
public:
    explicit UnaryRegular(CreatorArguments const* arguments) : FunctionObjectBase<Form>(arguments) {}

    Out Call(FunctionArg<In> value) override {
        return Invoke<F, Form>(this->m_state, this->m_arguments, value);
    }

    void CallBlock(std::span<In const> values, std::span<Out> out) override {
        CheckBlockLengths(values.size(), out.size());
        auto const arguments = this->m_arguments;
        auto state = this->TakeState();
        In const* source = values.data();
        Out* target = out.data();
        std::size_t const count = values.size();
        for (std::size_t i = 0; i < count; ++i) {
            target[i] = Invoke<F, Form>(state, arguments, source[i]);
        }
        this->PutState(std::move(state));
    }
};

// The special form of a plain callable: propagates specials.
template <class F, class Form, class In = typename Form::In1, class Out = typename Form::Out>
class UnaryPropagating final : public IUnarySpecialFunction<In, Out>, FunctionObjectBase<Form> {
public:
    explicit UnaryPropagating(CreatorArguments const* arguments) : FunctionObjectBase<Form>(arguments) {}

    std::pair<Out, SpecialKind> Call(FunctionArg<In> value, SpecialKind special) override {
        if (special != SpecialKind::None) {
            return {Out{}, special};
        }
        return {Invoke<F, Form>(this->m_state, this->m_arguments, value), SpecialKind::None};
    }

    void CallBlock(std::span<In const> values, std::span<SpecialKind const> specials, std::span<Out> out,
                   std::span<SpecialKind> outSpecials) override {
        CheckBlockLengths(values.size(), specials.size());
        CheckBlockLengths(values.size(), out.size());
        CheckBlockLengths(values.size(), outSpecials.size());
        auto const arguments = this->m_arguments;
        auto state = this->TakeState();
        std::size_t const count = values.size();
        for (std::size_t i = 0; i < count; ++i) {
            SpecialKind const special = specials[i];
            if (special == SpecialKind::None) {
                out[i] = Invoke<F, Form>(state, arguments, values[i]);
            } else {
                out[i] = Out{};
            }
            outSpecials[i] = special;
        }
        this->PutState(std::move(state));
    }
};

// The special form of a callable that takes and returns specials itself.
template <class F, class Form, class In = typename Form::In1, class Out = typename Form::Out>
class UnarySpecial final : public IUnarySpecialFunction<In, Out>, FunctionObjectBase<Form> {
public:
    explicit UnarySpecial(CreatorArguments const* arguments) : FunctionObjectBase<Form>(arguments) {}

    std::pair<Out, SpecialKind> Call(FunctionArg<In> value, SpecialKind special) override {
        return Invoke<F, Form>(this->m_state, this->m_arguments, value, special);
    }

    void CallBlock(std::span<In const> values, std::span<SpecialKind const> specials, std::span<Out> out,
                   std::span<SpecialKind> outSpecials) override {
        CheckBlockLengths(values.size(), specials.size());
        CheckBlockLengths(values.size(), out.size());
        CheckBlockLengths(values.size(), outSpecials.size());
        auto const arguments = this->m_arguments;
        auto state = this->TakeState();
        std::size_t const count = values.size();
        for (std::size_t i = 0; i < count; ++i) {
            auto result = Invoke<F, Form>(state, arguments, values[i], specials[i]);
            out[i] = std::move(result.first);
            outSpecials[i] = result.second;
        }
        this->PutState(std::move(state));
    }
};

// ---- Binary --------------------------------------------------------------------------------------

template <class F, class Form, class A = typename Form::In1, class B = typename Form::In2,
          class C = typename Form::Out>
class BinaryRegular final : public IBinaryFunction<A, B, C>, FunctionObjectBase<Form> {
public:
    explicit BinaryRegular(CreatorArguments const* arguments) : FunctionObjectBase<Form>(arguments) {}

    C Call(FunctionArg<A> first, FunctionArg<B> second) override {
        return Invoke<F, Form>(this->m_state, this->m_arguments, first, second);
    }

    void CallBlock(std::span<A const> first, std::span<B const> second, std::span<C> out) override {
        CheckBlockLengths(first.size(), second.size());
        CheckBlockLengths(first.size(), out.size());
        auto const arguments = this->m_arguments;
        auto state = this->TakeState();
        A const* left = first.data();
        B const* right = second.data();
        C* target = out.data();
        std::size_t const count = first.size();
        for (std::size_t i = 0; i < count; ++i) {
            target[i] = Invoke<F, Form>(state, arguments, left[i], right[i]);
        }
        this->PutState(std::move(state));
    }

    void CallAccumulate(C& accumulator, std::span<B const> values, std::span<C> out, bool reverse) override {
        if constexpr (std::is_same_v<A, C>) {
            if (!out.empty()) {
                CheckBlockLengths(values.size(), out.size());
            }
            auto const arguments = this->m_arguments;
            auto state = this->TakeState();
            C acc = std::move(accumulator);
            B const* source = values.data();
            std::size_t const count = values.size();
            if (out.empty()) {
                if (reverse) {
                    for (std::size_t i = count; i-- > 0;) {
                        acc = Invoke<F, Form>(state, arguments, acc, source[i]);
                    }
                } else {
                    for (std::size_t i = 0; i < count; ++i) {
                        acc = Invoke<F, Form>(state, arguments, acc, source[i]);
                    }
                }
            } else {
                C* target = out.data();
                if (reverse) {
                    for (std::size_t i = count; i-- > 0;) {
                        acc = Invoke<F, Form>(state, arguments, acc, source[i]);
                        target[i] = acc;
                    }
                } else {
                    for (std::size_t i = 0; i < count; ++i) {
                        acc = Invoke<F, Form>(state, arguments, acc, source[i]);
                        target[i] = acc;
                    }
                }
            }
            accumulator = std::move(acc);
            this->PutState(std::move(state));
        } else {
            (void)accumulator, (void)values, (void)out, (void)reverse;
            RefuseAccumulate();
        }
    }
};

// How a binary special form of a plain callable or of a special callable computes one row.
template <class F, class Form, bool Propagating>
struct BinarySpecialRow {
    template <class A, class B>
    static std::pair<typename Form::Out, SpecialKind> Apply(typename Form::State& state,
                                                            typename Form::Arguments const& arguments,
                                                            A const& a, SpecialKind aSpecial, B const& b,
                                                            SpecialKind bSpecial) {
        if constexpr (Propagating) {
            if (aSpecial != SpecialKind::None) {
                return {typename Form::Out{}, aSpecial};
            }
            if (bSpecial != SpecialKind::None) {
                return {typename Form::Out{}, bSpecial};
            }
            return {Invoke<F, Form>(state, arguments, a, b), SpecialKind::None};
        } else {
            return Invoke<F, Form>(state, arguments, a, aSpecial, b, bSpecial);
        }
    }
};

template <class F, class Form, bool Propagating, class A = typename Form::In1, class B = typename Form::In2,
          class C = typename Form::Out>
class BinarySpecial final : public IBinarySpecialFunction<A, B, C>, FunctionObjectBase<Form> {
    using Row = BinarySpecialRow<F, Form, Propagating>;

public:
    explicit BinarySpecial(CreatorArguments const* arguments) : FunctionObjectBase<Form>(arguments) {}

    std::pair<C, SpecialKind> Call(FunctionArg<A> first, SpecialKind firstSpecial, FunctionArg<B> second,
                                   SpecialKind secondSpecial) override {
        return Row::Apply(this->m_state, this->m_arguments, first, firstSpecial, second, secondSpecial);
    }

    void CallBlock(std::span<A const> first, std::span<SpecialKind const> firstSpecials,
                   std::span<B const> second, std::span<SpecialKind const> secondSpecials, std::span<C> out,
                   std::span<SpecialKind> outSpecials) override {
        CheckBlockLengths(first.size(), firstSpecials.size());
        CheckBlockLengths(first.size(), second.size());
        CheckBlockLengths(first.size(), secondSpecials.size());
        CheckBlockLengths(first.size(), out.size());
        CheckBlockLengths(first.size(), outSpecials.size());
        auto const arguments = this->m_arguments;
        auto state = this->TakeState();
        std::size_t const count = first.size();
        for (std::size_t i = 0; i < count; ++i) {
            auto result =
                Row::Apply(state, arguments, first[i], firstSpecials[i], second[i], secondSpecials[i]);
            out[i] = std::move(result.first);
            outSpecials[i] = result.second;
        }
        this->PutState(std::move(state));
    }

    void CallAccumulate(C& accumulator, SpecialKind& accumulatorSpecial, std::span<B const> values,
                        std::span<SpecialKind const> specials, std::span<C> out,
                        std::span<SpecialKind> outSpecials, bool reverse) override {
        if constexpr (std::is_same_v<A, C>) {
            CheckBlockLengths(values.size(), specials.size());
            bool const store = !out.empty();
            if (store) {
                CheckBlockLengths(values.size(), out.size());
                CheckBlockLengths(values.size(), outSpecials.size());
            }
            auto const arguments = this->m_arguments;
            auto state = this->TakeState();
            C acc = std::move(accumulator);
            SpecialKind accSpecial = accumulatorSpecial;
            auto step = [&](std::size_t i) {
                auto result = Row::Apply(state, arguments, acc, accSpecial, values[i], specials[i]);
                acc = std::move(result.first);
                accSpecial = result.second;
                if (store) {
                    out[i] = acc;
                    outSpecials[i] = accSpecial;
                }
            };
            std::size_t const count = values.size();
            if (reverse) {
                for (std::size_t i = count; i-- > 0;) {
                    step(i);
                }
            } else {
                for (std::size_t i = 0; i < count; ++i) {
                    step(i);
                }
            }
            accumulator = std::move(acc);
            accumulatorSpecial = accSpecial;
            this->PutState(std::move(state));
        } else {
            (void)accumulator, (void)accumulatorSpecial, (void)values, (void)specials, (void)out,
                (void)outSpecials, (void)reverse;
            RefuseAccumulate();
        }
    }
};

// ---- Factories -----------------------------------------------------------------------------------

template <class Object, class Interface>
std::unique_ptr<Interface> MakeFunctionObject(CreatorArguments const* arguments) {
    return std::make_unique<Object>(arguments);
}

// The factories of callable F of `Arity` inputs: the regular one (null for a special callable) and
// the special one.
template <class F, std::size_t Arity>
struct Factories;

template <class F>
struct Factories<F, 1> {
    using Form = FunctionForm<F, 1>;
    using Regular = IUnaryFunction<typename Form::In1, typename Form::Out>;
    using Special = IUnarySpecialFunction<typename Form::In1, typename Form::Out>;

    static FunctionFactory<Regular> RegularFactory() {
        if constexpr (Form::c_special) {
            return nullptr;
        } else {
            return &MakeFunctionObject<UnaryRegular<F, Form>, Regular>;
        }
    }
    static FunctionFactory<Special> SpecialFactory() {
        if constexpr (Form::c_special) {
            return &MakeFunctionObject<UnarySpecial<F, Form>, Special>;
        } else {
            return &MakeFunctionObject<UnaryPropagating<F, Form>, Special>;
        }
    }
};

template <class F>
struct Factories<F, 2> {
    using Form = FunctionForm<F, 2>;
    using Regular = IBinaryFunction<typename Form::In1, typename Form::In2, typename Form::Out>;
    using Special = IBinarySpecialFunction<typename Form::In1, typename Form::In2, typename Form::Out>;

    static FunctionFactory<Regular> RegularFactory() {
        if constexpr (Form::c_special) {
            return nullptr;
        } else {
            return &MakeFunctionObject<BinaryRegular<F, Form>, Regular>;
        }
    }
    static FunctionFactory<Special> SpecialFactory() {
        return &MakeFunctionObject<BinarySpecial<F, Form, !Form::c_special>, Special>;
    }
};

// A multinary callable as the plain function pointer that its registry holds.
template <class F, class R>
struct MultinaryThunk {
    static R Call(CreatorArguments& arguments) { return F{}(arguments); }
};
template <class F>
struct MultinaryThunk<F, void> {
    static void Call(CreatorArguments const& arguments) { F{}(arguments); }
};

}  // namespace detail
}  // namespace zel::core

#pragma GCC visibility pop
