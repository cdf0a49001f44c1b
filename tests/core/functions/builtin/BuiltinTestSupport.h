#pragma once

// Calls built-in functions the way the transforms do: the entry by name and input types, its
// factories cast to the typed function objects. Eval runs one row through every form an entry has
// (the regular row and block calls, the special row and block calls) and fails the test when they
// disagree, so that each check covers all of them.

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::test::builtin {

using core::CreatorArguments;
using core::KeySegmentType;
using core::SpecialKind;
using core::StoreTypeInfo;

inline core::FunctionLookup const& Builtins() {
    static std::unique_ptr<core::FunctionLookup> const lookup = core::MakeBuiltinFunctionLookup();
    return *lookup;
}

// The default registry type of a logical type.
template <class T>
KeySegmentType TypeOf() {
    return KeySegmentType(StoreTypeInfo(core::LogicalTypeTraits<T>::c_defaultType, false));
}

template <class T>
using Row = std::pair<T, SpecialKind>;

template <class T>
Row<T> V(T value) {
    return {std::move(value), SpecialKind::None};
}
template <class T>
Row<T> S(SpecialKind kind) {
    return {T{}, kind};
}
inline constexpr SpecialKind Null = SpecialKind::Null;
inline constexpr SpecialKind Error = SpecialKind::Error;

template <class In, class Out>
struct UnaryObjects {
    std::unique_ptr<core::IUnaryFunction<In, Out>> regular;
    std::unique_ptr<core::IUnarySpecialFunction<In, Out>> special;
};

template <class In, class Out>
UnaryObjects<In, Out> MakeUnary(std::wstring const& name, CreatorArguments const& args = {},
                                std::optional<KeySegmentType> type = std::nullopt) {
    using Regular = core::FunctionFactory<core::IUnaryFunction<In, Out>>;
    using Special = core::FunctionFactory<core::IUnarySpecialFunction<In, Out>>;
    auto const& entry = Builtins().GetUnaryFunctions().GetFunctions(
        core::FunctionKey(TStringCore(name), {type.value_or(TypeOf<In>())}));
    EXPECT_EQ(entry.GetSignature(), std::type_index(typeid(Regular)));
    EXPECT_EQ(entry.GetSpecialSignature(), std::type_index(typeid(Special)));
    CreatorArguments const* arguments = entry.IsCreator() ? &args : nullptr;
    UnaryObjects<In, Out> objects;
    if (entry.GetFunction()) {
        objects.regular = reinterpret_cast<Regular>(entry.GetFunction())(arguments);
    }
    if (entry.GetSpecialFunction()) {
        objects.special = reinterpret_cast<Special>(entry.GetSpecialFunction())(arguments);
    }
    return objects;
}

// One row through every form; all must agree. A row with a special goes only to the special form.
template <class In, class Out>
Row<Out> Eval(UnaryObjects<In, Out>& f, Row<In> const& x) {
    std::optional<Row<Out>> result;
    auto const agree = [&](Row<Out> const& r, char const* form) {
        if (!result) {
            result = r;
        } else {
            EXPECT_EQ(r.second, result->second) << form;
            if (r.second == SpecialKind::None && result->second == SpecialKind::None) {
                EXPECT_TRUE(r.first == result->first ||
                            (r.first != r.first && result->first != result->first))
                    << form;
            }
        }
    };
    if (f.special) {
        agree(f.special->Call(x.first, x.second), "special row");
        In values[1] = {x.first};
        SpecialKind specials[1] = {x.second};
        Out out[1] = {};
        SpecialKind outSpecials[1] = {SpecialKind::None};
        f.special->CallBlock(values, specials, out, outSpecials);
        agree({out[0], outSpecials[0]}, "special block");
    }
    if (f.regular && x.second == SpecialKind::None) {
        agree(V(f.regular->Call(x.first)), "regular row");
        In values[1] = {x.first};
        Out out[1] = {};
        f.regular->CallBlock(values, out);
        agree(V(out[0]), "regular block");
    }
    return result.value_or(Row<Out>{});
}

template <class In, class Out>
Row<Out> Unary(std::wstring const& name, Row<In> const& x, CreatorArguments const& args = {},
               std::optional<KeySegmentType> type = std::nullopt) {
    auto f = MakeUnary<In, Out>(name, args, type);
    return Eval(f, x);
}

template <class A, class B, class C>
struct BinaryObjects {
    std::unique_ptr<core::IBinaryFunction<A, B, C>> regular;
    std::unique_ptr<core::IBinarySpecialFunction<A, B, C>> special;
};

template <class A, class B, class C>
BinaryObjects<A, B, C> MakeBinary(std::wstring const& name, CreatorArguments const& args = {},
                                  std::optional<KeySegmentType> typeA = std::nullopt,
                                  std::optional<KeySegmentType> typeB = std::nullopt) {
    using Regular = core::FunctionFactory<core::IBinaryFunction<A, B, C>>;
    using Special = core::FunctionFactory<core::IBinarySpecialFunction<A, B, C>>;
    auto const& entry = Builtins().GetBinaryFunctions().GetFunctions(
        core::FunctionKey(TStringCore(name), {typeA.value_or(TypeOf<A>()), typeB.value_or(TypeOf<B>())}));
    EXPECT_EQ(entry.GetSignature(), std::type_index(typeid(Regular)));
    EXPECT_EQ(entry.GetSpecialSignature(), std::type_index(typeid(Special)));
    CreatorArguments const* arguments = entry.IsCreator() ? &args : nullptr;
    BinaryObjects<A, B, C> objects;
    if (entry.GetFunction()) {
        objects.regular = reinterpret_cast<Regular>(entry.GetFunction())(arguments);
    }
    if (entry.GetSpecialFunction()) {
        objects.special = reinterpret_cast<Special>(entry.GetSpecialFunction())(arguments);
    }
    return objects;
}

template <class A, class B, class C>
Row<C> Eval(BinaryObjects<A, B, C>& f, Row<A> const& a, Row<B> const& b) {
    std::optional<Row<C>> result;
    auto const agree = [&](Row<C> const& r, char const* form) {
        if (!result) {
            result = r;
        } else {
            EXPECT_EQ(r.second, result->second) << form;
            if (r.second == SpecialKind::None && result->second == SpecialKind::None) {
                EXPECT_TRUE(r.first == result->first ||
                            (r.first != r.first && result->first != result->first))
                    << form;
            }
        }
    };
    bool const plain = a.second == SpecialKind::None && b.second == SpecialKind::None;
    if (f.special) {
        agree(f.special->Call(a.first, a.second, b.first, b.second), "special row");
        A as[1] = {a.first};
        B bs[1] = {b.first};
        SpecialKind aSpecials[1] = {a.second};
        SpecialKind bSpecials[1] = {b.second};
        C out[1] = {};
        SpecialKind outSpecials[1] = {SpecialKind::None};
        f.special->CallBlock(as, aSpecials, bs, bSpecials, out, outSpecials);
        agree({out[0], outSpecials[0]}, "special block");
    }
    if (f.regular && plain) {
        agree(V(f.regular->Call(a.first, b.first)), "regular row");
        A as[1] = {a.first};
        B bs[1] = {b.first};
        C out[1] = {};
        f.regular->CallBlock(as, bs, out);
        agree(V(out[0]), "regular block");
    }
    return result.value_or(Row<C>{});
}

template <class A, class B, class C>
Row<C> Binary(std::wstring const& name, Row<A> const& a, Row<B> const& b, CreatorArguments const& args = {},
              std::optional<KeySegmentType> typeA = std::nullopt,
              std::optional<KeySegmentType> typeB = std::nullopt) {
    auto f = MakeBinary<A, B, C>(name, args, typeA, typeB);
    return Eval(f, a, b);
}

// Arguments of a creator.
template <class... Values>
CreatorArguments Args(Values... values) {
    return CreatorArguments{std::move(values)...};
}

}  // namespace zel::test::builtin
