#pragma once

#pragma GCC visibility push(default)

// The function objects that the transforms call, and the factories that make them.
//
// A unary or binary function has up to two forms. The regular form takes plain values; the special
// form takes each value with its SpecialKind and returns a value with a SpecialKind, for columns
// that hold specials. Each form is an object made per run by a factory. A block call covers a whole
// block of rows with one virtual call; the row calls serve the paths that do not vectorise.
//
// Objects of a function that is not stateful may be called by several threads at once on disjoint
// rows; a stateful function's object keeps state from call to call and is called by one thread.

#include <cstddef>
#include <memory>
#include <span>
#include <utility>

#include "zel/core/functions/FunctionTypes.h"

namespace zel::core {

// Regular unary form: In to Out.
template <LogicalType In, LogicalType Out>
class IUnaryFunction {
public:
    virtual ~IUnaryFunction() = default;
    virtual Out Call(FunctionArg<In> value) = 0;
    // out[i] = f(values[i]); `out` has the length of `values`.
    virtual void CallBlock(std::span<In const> values, std::span<Out> out) = 0;
};

// Special unary form: (In, SpecialKind) to (Out, SpecialKind).
template <LogicalType In, LogicalType Out>
class IUnarySpecialFunction {
public:
    virtual ~IUnarySpecialFunction() = default;
    virtual std::pair<Out, SpecialKind> Call(FunctionArg<In> value, SpecialKind special) = 0;
    virtual void CallBlock(std::span<In const> values, std::span<SpecialKind const> specials,
                           std::span<Out> out, std::span<SpecialKind> outSpecials) = 0;
};

// Regular binary form: (A, B) to C, the first input before the second.
//
// The accumulating block call folds a block into an accumulator, as Reduce, Scan and ScanRight
// call it: acc = f(acc, values[i]) for each row, from the last row to the first when `reverse`,
// and unless `out` is empty, out[i] holds the accumulator after row i. Only a function whose first
// input has the type of its output can accumulate; any other refuses the call.
template <LogicalType A, LogicalType B, LogicalType C>
class IBinaryFunction {
public:
    virtual ~IBinaryFunction() = default;
    virtual C Call(FunctionArg<A> first, FunctionArg<B> second) = 0;
    virtual void CallBlock(std::span<A const> first, std::span<B const> second, std::span<C> out) = 0;
    virtual void CallAccumulate(C& accumulator, std::span<B const> values, std::span<C> out,
                                bool reverse) = 0;
};

// Special binary form: (A, special, B, special) to (C, special).
template <LogicalType A, LogicalType B, LogicalType C>
class IBinarySpecialFunction {
public:
    virtual ~IBinarySpecialFunction() = default;
    virtual std::pair<C, SpecialKind> Call(FunctionArg<A> first, SpecialKind firstSpecial,
                                           FunctionArg<B> second, SpecialKind secondSpecial) = 0;
    virtual void CallBlock(std::span<A const> first, std::span<SpecialKind const> firstSpecials,
                           std::span<B const> second, std::span<SpecialKind const> secondSpecials,
                           std::span<C> out, std::span<SpecialKind> outSpecials) = 0;
    virtual void CallAccumulate(C& accumulator, SpecialKind& accumulatorSpecial, std::span<B const> values,
                                std::span<SpecialKind const> specials, std::span<C> out,
                                std::span<SpecialKind> outSpecials, bool reverse) = 0;
};

// Makes one function object. A creator's factory takes the resolved arguments of the function;
// any other factory is called with a null pointer and ignores it.
template <class Function>
using FunctionFactory = std::unique_ptr<Function> (*)(CreatorArguments const* arguments);

// A multinary function: a plain function of the resolved arguments. R is void for a function
// called for its effect only, which takes the arguments as const.
template <class R>
struct MultinaryFunctionPointer {
    using type = R (*)(CreatorArguments& arguments);
};
template <>
struct MultinaryFunctionPointer<void> {
    using type = void (*)(CreatorArguments const& arguments);
};
template <class R>
using MultinaryFunctionPointerT = typename MultinaryFunctionPointer<R>::type;

}  // namespace zel::core

#pragma GCC visibility pop
