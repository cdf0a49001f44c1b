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

// The objects an entry makes: its regular form and its special form, where it has them.
template <class Regular, class Special>
struct Objects {
    std::unique_ptr<Regular> regular;
    std::unique_ptr<Special> special;
};

template <class Regular, class Special>
Objects<Regular, Special> MakeObjects(core::FunctionRegistry const& registry, std::wstring const& name,
                                      std::vector<KeySegmentType> types, CreatorArguments const& args) {
    using RegularFactory = core::FunctionFactory<Regular>;
    using SpecialFactory = core::FunctionFactory<Special>;
    auto const& entry = registry.GetFunctions(core::FunctionKey(TStringCore(name), std::move(types)));
    EXPECT_EQ(entry.GetSignature(), std::type_index(typeid(RegularFactory)));
    EXPECT_EQ(entry.GetSpecialSignature(), std::type_index(typeid(SpecialFactory)));
    CreatorArguments const* arguments = entry.IsCreator() ? &args : nullptr;
    Objects<Regular, Special> objects;
    if (entry.GetFunction()) {
        objects.regular = reinterpret_cast<RegularFactory>(entry.GetFunction())(arguments);
    }
    if (entry.GetSpecialFunction()) {
        objects.special = reinterpret_cast<SpecialFactory>(entry.GetSpecialFunction())(arguments);
    }
    return objects;
}

// The first result of a row, which every later form must repeat (NaN repeating NaN).
template <class Out>
class Agreement {
public:
    void Add(Row<Out> const& r, char const* form) {
        if (!m_result) {
            m_result = r;
            return;
        }
        EXPECT_EQ(r.second, m_result->second) << form;
        if (r.second == SpecialKind::None && m_result->second == SpecialKind::None) {
            EXPECT_TRUE(r.first == m_result->first ||
                        (r.first != r.first && m_result->first != m_result->first))
                << form;
        }
    }
    Row<Out> Result() const { return m_result.value_or(Row<Out>{}); }

private:
    std::optional<Row<Out>> m_result;
};

template <class In, class Out>
using UnaryObjects = Objects<core::IUnaryFunction<In, Out>, core::IUnarySpecialFunction<In, Out>>;

template <class In, class Out>
UnaryObjects<In, Out> MakeUnary(std::wstring const& name, CreatorArguments const& args = {},
                                std::optional<KeySegmentType> type = std::nullopt) {
    return MakeObjects<core::IUnaryFunction<In, Out>, core::IUnarySpecialFunction<In, Out>>(
        Builtins().GetUnaryFunctions(), name, {type.value_or(TypeOf<In>())}, args);
}

// One row through every form; all must agree. A row with a special goes only to the special form.
template <class In, class Out>
Row<Out> Eval(UnaryObjects<In, Out>& f, Row<In> const& x) {
    Agreement<Out> result;
    In values[1] = {x.first};
    Out out[1] = {};
    if (f.special) {
        result.Add(f.special->Call(x.first, x.second), "special row");
        SpecialKind specials[1] = {x.second};
        SpecialKind outSpecials[1] = {SpecialKind::None};
        f.special->CallBlock(values, specials, out, outSpecials);
        result.Add({out[0], outSpecials[0]}, "special block");
    }
    if (f.regular && x.second == SpecialKind::None) {
        result.Add(V(f.regular->Call(x.first)), "regular row");
        out[0] = {};  // not the special form's result: the block call must write its own
        f.regular->CallBlock(values, out);
        result.Add(V(out[0]), "regular block");
    }
    return result.Result();
}

template <class In, class Out>
Row<Out> Unary(std::wstring const& name, Row<In> const& x, CreatorArguments const& args = {},
               std::optional<KeySegmentType> type = std::nullopt) {
    auto f = MakeUnary<In, Out>(name, args, type);
    return Eval(f, x);
}

template <class A, class B, class C>
using BinaryObjects = Objects<core::IBinaryFunction<A, B, C>, core::IBinarySpecialFunction<A, B, C>>;

template <class A, class B, class C>
BinaryObjects<A, B, C> MakeBinary(std::wstring const& name, CreatorArguments const& args = {},
                                  std::optional<KeySegmentType> typeA = std::nullopt,
                                  std::optional<KeySegmentType> typeB = std::nullopt) {
    return MakeObjects<core::IBinaryFunction<A, B, C>, core::IBinarySpecialFunction<A, B, C>>(
        Builtins().GetBinaryFunctions(), name, {typeA.value_or(TypeOf<A>()), typeB.value_or(TypeOf<B>())},
        args);
}

template <class A, class B, class C>
Row<C> Eval(BinaryObjects<A, B, C>& f, Row<A> const& a, Row<B> const& b) {
    Agreement<C> result;
    A as[1] = {a.first};
    B bs[1] = {b.first};
    C out[1] = {};
    if (f.special) {
        result.Add(f.special->Call(a.first, a.second, b.first, b.second), "special row");
        SpecialKind aSpecials[1] = {a.second};
        SpecialKind bSpecials[1] = {b.second};
        SpecialKind outSpecials[1] = {SpecialKind::None};
        f.special->CallBlock(as, aSpecials, bs, bSpecials, out, outSpecials);
        result.Add({out[0], outSpecials[0]}, "special block");
    }
    if (f.regular && a.second == SpecialKind::None && b.second == SpecialKind::None) {
        result.Add(V(f.regular->Call(a.first, b.first)), "regular row");
        out[0] = {};
        f.regular->CallBlock(as, bs, out);
        result.Add(V(out[0]), "regular block");
    }
    return result.Result();
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
