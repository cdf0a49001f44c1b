#pragma once

#pragma GCC visibility push(default)

// The typed wrappers of registry entries that the transforms keep: ZelFunctions<In, Out> (unary)
// and ZelFunctions<A, B, C> (binary), one template, and ZelMultinaryFunction<R>. Each casts the
// untyped pointers of an entry to what its transform instance expects, makes the function objects
// of each run and polices creators and missing factories. A bound wrapper is immutable and may be
// shared.

#include <functional>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

#include "vorsys/string/TStringCore.h"
#include "zel/core/functions/FunctionObjects.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelException.h"

namespace zel::core {

namespace detail {

// What sets a unary wrapper apart from a binary one: the interfaces of its objects, the registry
// it binds from and the names of its types. ZelFunctions<In, Out> is unary, ZelFunctions<A, B, C>
// binary, the first input before the second.
template <class... Types>
struct FunctionShape;

template <LogicalType In, LogicalType Out>
struct FunctionShape<In, Out> {
    using RegularFunction = IUnaryFunction<In, Out>;
    using SpecialFunction = IUnarySpecialFunction<In, Out>;
    using Registry = RegistryOfUnaryFunctions;
    using InputType = In;
    using OutputType = Out;

    static Registry const& RegistryIn(IFunctionLookup const& lookup) { return lookup.GetUnaryFunctions(); }
};

// A binary function's objects have a third call, the accumulating block call of a fold (Reduce,
// Scan, ScanRight), with the accumulator as the first input and the row's value as the second;
// that needs a function whose first input has the type of its output (c_canAccumulate).
template <LogicalType A, LogicalType B, LogicalType C>
struct FunctionShape<A, B, C> {
    using RegularFunction = IBinaryFunction<A, B, C>;
    using SpecialFunction = IBinarySpecialFunction<A, B, C>;
    using Registry = RegistryOfBinaryFunctions;
    using FirstInputType = A;
    using SecondInputType = B;
    using OutputType = C;
    // Whether the objects can fold a column; the others refuse the accumulating call.
    static constexpr bool c_canAccumulate = std::is_same_v<A, C>;

    static Registry const& RegistryIn(IFunctionLookup const& lookup) { return lookup.GetBinaryFunctions(); }
};

}  // namespace detail

// The wrapper of a unary or binary function that a transform keeps. A binary creator takes its
// arguments beside its two inputs (a tolerance of a comparison of two columns); an aggregate's
// initial value is no creator argument but the accumulator before the first row, which the
// handler loads.
template <class... Types>
class ZelFunctions : public detail::FunctionShape<Types...> {
    using Shape = detail::FunctionShape<Types...>;

public:
    using RegularFunction = typename Shape::RegularFunction;
    using SpecialFunction = typename Shape::SpecialFunction;
    using RegularFactory = FunctionFactory<RegularFunction>;
    using SpecialFactory = FunctionFactory<SpecialFunction>;

    // Copies the name, the flags and the factories of the entry; refuses an entry with neither.
    explicit ZelFunctions(RegisteredFunctions const& entry)
        : m_name(entry.GetFunctionName()),
          m_isCreator(entry.IsCreator()),
          m_isStateful(entry.IsStateful()),
          m_writesEverySlot(entry.WritesEverySlot()),
          m_regularFactory(detail::CastFunctionPointer<RegularFactory>(entry, false)),
          m_specialFactory(detail::CastFunctionPointer<SpecialFactory>(entry, true)) {
        ZEL_CHECK(m_regularFactory || m_specialFactory, ZelError::FunctionMissing);
    }

    // A wrapper bound to nothing: every make fails until a bound one is assigned.
    ZelFunctions() = default;

    // Looks up the entry of `key` and binds it for a transform whose output is `outputType`. An
    // entry of another output type is a ZelRuntimeException (FunctionTypeMismatch) whose text is
    // the function's name; an unknown key fails in the registry (FunctionMissing).
    static ZelFunctions Bind(typename Shape::Registry const& registry, FunctionKey const& key,
                             StoreType outputType) {
        RegisteredFunctions const& entry = registry.GetFunctions(key);
        detail::CheckBoundOutputType(entry, key, outputType);
        return ZelFunctions(entry);
    }

    // The same from the lookup that the host handed in.
    static ZelFunctions Bind(IFunctionLookup const& lookup, FunctionKey const& key, StoreType outputType) {
        return Bind(Shape::RegistryIn(lookup), key, outputType);
    }

    // Binds the entry of `key` whatever its output type, as long as the output type serves it (a
    // Date or a DateTime for ZelDateTime, any nested type for std::shared_ptr<StoreValue>): for
    // hosts and tests that call a function directly rather than through a transform of a fixed type.
    static ZelFunctions BindServed(typename Shape::Registry const& registry, FunctionKey const& key) {
        RegisteredFunctions const& entry = registry.GetFunctions(key);
        detail::CheckServedOutputType<typename Shape::OutputType>(entry, key);
        return ZelFunctions(entry);
    }

    TStringCore const& GetName() const noexcept { return m_name; }
    bool IsCreator() const noexcept { return m_isCreator; }
    // A stateful function's object keeps state between rows: it runs on one thread, and its result
    // for a constant input is not the same for every row. An aggregate's state is its accumulator,
    // which the caller holds, so a fold needs no stateful function.
    bool IsStateful() const noexcept { return m_isStateful; }
    // Whether the function objects write every output slot of a block (and, in the special form,
    // every special byte), so that a result buffer needs no fill before the work.
    bool WritesEverySlot() const noexcept { return m_writesEverySlot; }
    bool HasRegularFactory() const noexcept { return m_regularFactory != nullptr; }
    bool HasSpecialFactory() const noexcept { return m_specialFactory != nullptr; }

    // Whether a run over an input with or without specials takes the special form: when the input
    // (either input of a binary function) has specials and a special form exists, and always when
    // no regular form exists. Without a special form, the specials of an input are not read and
    // its values go to the regular form. The special form of a binary function sees both specials
    // spans; a fold passes the specials of its column, and its accumulator's special beside them.
    bool UseSpecialFunction(bool inputHasSpecials) const noexcept {
        return (m_specialFactory && inputHasSpecials) || !m_regularFactory;
    }

    // Makes the form with or without the arguments, as the function is a creator or not; a creator
    // needs `arguments`, which the others ignore.
    std::unique_ptr<RegularFunction> MakeRegularFunctionFor(CreatorArguments const* arguments) const {
        return m_isCreator && arguments ? MakeRegularFunction(*arguments) : MakeRegularFunction();
    }
    std::unique_ptr<SpecialFunction> MakeSpecialFunctionFor(CreatorArguments const* arguments) const {
        return m_isCreator && arguments ? MakeSpecialFunction(*arguments) : MakeSpecialFunction();
    }

    // The four ways of making a function object. A function that is not a creator is made without
    // arguments, a creator with its resolved arguments, which the object converts and keeps, so
    // that the vector need not outlive the call. Each way first checks that the function is of its
    // kind, then that the factory of the form exists. A failed check makes one debug report and
    // throws a ZelRuntimeException with its code:
    //
    //   making                   first check, code           second check, code
    //   regular, not creator     "!(m_isCreator)", 138       "(m_regularFactory) != nullptr", 123
    //   special, not creator     "!(m_isCreator)", 138       "(m_specialFactory) != nullptr", 123
    //   regular, creator         "(m_isCreator)", 137        "(m_regularFactory) != nullptr", 123
    //   special, creator         "(m_isCreator)", 137        "(m_specialFactory) != nullptr", 123
    //
    // So a transform decides from IsCreator which form to call, and a wrong call fails at once
    // rather than making an object without its arguments. None of the checks leaves anything
    // behind, and the objects made are the caller's alone.
    //
    // A creator's arguments are those of its function spec, resolved at the start of a run: a key
    // by the value the run sees under it, a constant as it stands. Making the objects once per run
    // therefore fixes them for the run: an aggregate makes its object in the handler's
    // BeginTransform, once for each run and each partial range, and ZipWith one for each range, so
    // the state of a stateful function never leaks from one run into the next.

    // The regular form of a function that is not a creator.
    std::unique_ptr<RegularFunction> MakeRegularFunction() const {
        ZEL_CHECK_EXACT(!(m_isCreator), ZelError::FunctionIsCreator);
        ZEL_CHECK_NOT_NULL(m_regularFactory, ZelError::FunctionMissing);
        return m_regularFactory(nullptr);
    }

    // The special form of a function that is not a creator: it takes and returns each value with
    // its SpecialKind (the accumulator with its own). A plain function's special form passes a
    // special input on to its output without calling the function for that row, the first
    // input's special before the second's.
    std::unique_ptr<SpecialFunction> MakeSpecialFunction() const {
        ZEL_CHECK_EXACT(!(m_isCreator), ZelError::FunctionIsCreator);
        ZEL_CHECK_NOT_NULL(m_specialFactory, ZelError::FunctionMissing);
        return m_specialFactory(nullptr);
    }

    // The regular form of a creator, from the resolved arguments of its function spec, in their
    // order. An argument that its parameter cannot take fails here (UnsupportedTypes), and so
    // does a list of the wrong length (InvalidArgument).
    std::unique_ptr<RegularFunction> MakeRegularFunction(CreatorArguments const& arguments) const {
        ZEL_CHECK(m_isCreator, ZelError::FunctionNotCreator);
        ZEL_CHECK_NOT_NULL(m_regularFactory, ZelError::FunctionMissing);
        return m_regularFactory(&arguments);
    }

    // The special form of a creator, from the resolved arguments: as the regular form, with
    // values and their SpecialKinds in and out. The arguments are read once, here; the calls of
    // the object see the values they had at this moment.
    std::unique_ptr<SpecialFunction> MakeSpecialFunction(CreatorArguments const& arguments) const {
        ZEL_CHECK(m_isCreator, ZelError::FunctionNotCreator);
        ZEL_CHECK_NOT_NULL(m_specialFactory, ZelError::FunctionMissing);
        return m_specialFactory(&arguments);
    }

private:
    TStringCore m_name;
    bool m_isCreator = false;
    bool m_isStateful = false;
    bool m_writesEverySlot = false;
    RegularFactory m_regularFactory = nullptr;
    SpecialFactory m_specialFactory = nullptr;
};

// The function object of one run of a unary or binary function: the form that the input calls
// for, made with the resolved arguments when the function is a creator. Its calls go to that form,
// so a transform writes one call for both; the special ones need the inputs' specials, which the
// regular form does not read (and the output specials it leaves untouched).
//
//   UnaryFunctionRun<double, double> run(functions, array.HasSpecialValues(), &arguments);
//   for (each block) {
//       run.CallBlock(values, specials, out, outSpecials);  // one virtual call a block
//   }
//
// A fold carries its accumulator from one block to the next, so a block costs one call:
//
//   BinaryFunctionRun<double, double, double> run(functions, column.HasSpecialValues(), nullptr);
//   for (each block, in the order of the walk) {
//       run.CallAccumulate(accumulator, accumulatorSpecial, values, specials, out, outSpecials, reverse);
//   }
//
// A run belongs to one transform run; for a function that is not stateful, several threads may
// call it at once on disjoint blocks. The calls of the other arity are not there (each names the
// types of its own shape).
template <class... Types>
class ZelFunctionRun {
    using Functions = ZelFunctions<Types...>;
    using Shape = detail::FunctionShape<Types...>;

public:
    ZelFunctionRun(Functions const& functions, bool inputHasSpecials, CreatorArguments const* arguments) {
        if (functions.UseSpecialFunction(inputHasSpecials)) {
            m_special = functions.MakeSpecialFunctionFor(arguments);
        } else {
            m_regular = functions.MakeRegularFunctionFor(arguments);
        }
    }

    bool IsSpecial() const noexcept { return m_special != nullptr; }

    // The object of the chosen form; the other is null.
    typename Functions::RegularFunction* GetRegular() const noexcept { return m_regular.get(); }
    typename Functions::SpecialFunction* GetSpecial() const noexcept { return m_special.get(); }

    // Unary.
    template <class S = Shape>
    std::pair<typename S::OutputType, SpecialKind> Call(FunctionArg<typename S::InputType> value,
                                                        SpecialKind special) {
        if (m_special) {
            return m_special->Call(value, special);
        }
        return {m_regular->Call(value), SpecialKind::None};
    }

    template <class S = Shape>
    void CallBlock(std::span<typename S::InputType const> values, std::span<SpecialKind const> specials,
                   std::span<typename S::OutputType> out, std::span<SpecialKind> outSpecials) {
        if (m_special) {
            m_special->CallBlock(values, specials, out, outSpecials);
        } else {
            m_regular->CallBlock(values, out);
        }
    }

    // Binary.
    template <class S = Shape>
    std::pair<typename S::OutputType, SpecialKind> Call(FunctionArg<typename S::FirstInputType> first,
                                                        SpecialKind firstSpecial,
                                                        FunctionArg<typename S::SecondInputType> second,
                                                        SpecialKind secondSpecial) {
        if (m_special) {
            return m_special->Call(first, firstSpecial, second, secondSpecial);
        }
        return {m_regular->Call(first, second), SpecialKind::None};
    }

    template <class S = Shape>
    void CallBlock(std::span<typename S::FirstInputType const> first,
                   std::span<SpecialKind const> firstSpecials,
                   std::span<typename S::SecondInputType const> second,
                   std::span<SpecialKind const> secondSpecials, std::span<typename S::OutputType> out,
                   std::span<SpecialKind> outSpecials) {
        if (m_special) {
            m_special->CallBlock(first, firstSpecials, second, secondSpecials, out, outSpecials);
        } else {
            m_regular->CallBlock(first, second, out);
        }
    }

    // Folds a block into the accumulator; the regular form leaves the accumulator's special as it
    // is and writes no output specials.
    template <class S = Shape>
    void CallAccumulate(typename S::OutputType& accumulator, SpecialKind& accumulatorSpecial,
                        std::span<typename S::SecondInputType const> values,
                        std::span<SpecialKind const> specials, std::span<typename S::OutputType> out,
                        std::span<SpecialKind> outSpecials, bool reverse) {
        if (m_special) {
            m_special->CallAccumulate(accumulator, accumulatorSpecial, values, specials, out, outSpecials,
                                      reverse);
        } else {
            m_regular->CallAccumulate(accumulator, values, out, reverse);
        }
    }

private:
    std::unique_ptr<typename Functions::RegularFunction> m_regular;
    std::unique_ptr<typename Functions::SpecialFunction> m_special;
};

template <LogicalType In, LogicalType Out>
using UnaryFunctionRun = ZelFunctionRun<In, Out>;

template <LogicalType A, LogicalType B, LogicalType C>
using BinaryFunctionRun = ZelFunctionRun<A, B, C>;

// The wrapper of a multinary function returning R: bool for the conditions of When, void for the
// functions of Output (which take their arguments as const), and for SetValueMulti one of bool,
// int, long long, float, double, ZelDateTime and std::shared_ptr<StoreValue>. A multinary function
// is a plain function of the resolved arguments, called once per run; it has no objects, no
// special form and no creator arguments.
template <class R>
class ZelMultinaryFunction {
public:
    using Arguments = std::conditional_t<std::is_void_v<R>, CreatorArguments const, CreatorArguments>;
    using Pointer = MultinaryFunctionPointerT<R>;
    using ResultType = R;

    // A wrapper bound to nothing; calling it throws std::bad_function_call.
    ZelMultinaryFunction() = default;

    // Looks up and binds the entry of `key` from the lookup that the host handed in.
    static ZelMultinaryFunction Bind(IFunctionLookup const& lookup, FunctionKey const& key) {
        return Bind(lookup.GetMultinaryFunctions(), key);
    }

    // Looks up and binds the entry of `key`. A creator is refused with a ZelRuntimeException
    // (FunctionKindMismatch), and an entry whose output type is not that of R with one
    // (FunctionTypeMismatch), both thrown without a debug report and with the function's name as
    // text: the function is the host's, not a broken check of the system. For void the output type
    // must be empty; ZelDateTime takes a Date or a DateTime, std::shared_ptr<StoreValue> any type.
    static ZelMultinaryFunction Bind(RegistryOfMultinaryFunctions const& registry, FunctionKey const& key) {
        RegisteredFunctions const& entry = registry.GetFunctions(key);
        if (entry.IsCreator()) {
            throw ZelRuntimeException(ZelError::FunctionKindMismatch, key.GetName());
        }
        if (!detail::IsMultinaryOutputType<R>(entry.GetOutputType().GetMainType())) {
            throw ZelRuntimeException(ZelError::FunctionTypeMismatch, key.GetName());
        }
        return ZelMultinaryFunction(entry);
    }

    // Wraps the entry's function; refuses an entry without one, which is what a multinary entry
    // with only a special pointer is: a multinary function has no special form.
    explicit ZelMultinaryFunction(RegisteredFunctions const& entry) : m_name(entry.GetFunctionName()) {
        if (entry.HasFunction()) {
            m_f = detail::CastFunctionPointer<Pointer>(entry, false);
        }
        ZEL_CHECK(m_f, ZelError::FunctionMissing);
    }

    TStringCore const& GetName() const noexcept { return m_name; }

    // Calls the function on the resolved arguments; an unbound wrapper throws std::bad_function_call.
    R operator()(Arguments& arguments) const { return m_f(arguments); }

private:
    TStringCore m_name;
    std::function<R(Arguments&)> m_f;
};

}  // namespace zel::core

#pragma GCC visibility pop
