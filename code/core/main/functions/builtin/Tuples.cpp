// Functions of tuple columns (the rows that Zip makes): length, get and the typed get_* readers,
// pick_* (an element where a flag holds), mask and where (a value where a flag holds), and add of
// a number and the numeric elements of a tuple.
//
// An element converts to a number type from Bool and any number, to a date-time from a date or a
// date-time; an index outside the tuple or an element that does not convert is an Error, a missing
// element Null, a special element its special.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"
#include "zel/core/store/IStoreTuple.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::core::builtin {

namespace {

using Nested = std::shared_ptr<StoreValue>;

// Element `index` of a tuple, or the special that stands for it.
WithSpecial<Nested> ElementAt(Nested const& tuple, long long index) {
    if (!tuple || tuple->GetStoreType() != StoreType::Tuple) {
        return SpecialOf<Nested>(Special::Null);
    }
    auto const& elements = tuple->AsTuple().GetElements();
    if (index < 0 || static_cast<unsigned long long>(index) >= elements.size()) {
        return ErrorOf<Nested>();
    }
    Nested const& element = elements[static_cast<std::size_t>(index)];
    if (!element) {
        return SpecialOf<Nested>(Special::Null);
    }
    if (element->IsSpecial()) {
        return SpecialOf<Nested>(element->GetSpecialKind());
    }
    return Ok(element);
}

template <class T>
WithSpecial<T> Convert(Nested const& element) {
    StoreType const type = element->GetStoreType();
    if constexpr (std::is_same_v<T, ZelDateTime>) {
        if (type == StoreType::Date || type == StoreType::DateTime) {
            return Ok(FetchStoreValue<ZelDateTime>(element));
        }
    } else {
        switch (type) {
            case StoreType::Bool:
                return Ok(static_cast<T>(FetchStoreValue<bool>(element) ? 1 : 0));
            case StoreType::Int32:
                return Ok(ConvertNumber<T>(FetchStoreValue<int>(element)));
            case StoreType::Int64:
                return Ok(ConvertNumber<T>(FetchStoreValue<long long>(element)));
            case StoreType::Float:
                return Ok(ConvertNumber<T>(FetchStoreValue<float>(element)));
            case StoreType::Double:
                return Ok(ConvertNumber<T>(FetchStoreValue<double>(element)));
            default:
                break;
        }
    }
    return ErrorOf<T>();
}

template <class T>
WithSpecial<T> ElementAs(Nested const& tuple, long long index) {
    auto const element = ElementAt(tuple, index);
    if (element.second != Special::None) {
        return SpecialOf<T>(element.second);
    }
    return Convert<T>(element.first);
}

KeySegmentType const c_tuple{StoreTypeInfo::Tuple};
KeySegmentType const c_bool{StoreTypeInfo::Bool};

template <class T>
void RegisterGet(FunctionLookup& lookup, wchar_t const* name, wchar_t const* pick) {
    lookup.RegisterUnary(
        name,
        [](long long index, Nested const& x, Special s) -> WithSpecial<T> {
            if (s != Special::None)
                return SpecialOf<T>(s);
            return ElementAs<T>(x, index);
        },
        TupleIn());
    lookup.RegisterBinary(
        pick,
        [](long long index, bool keep, Special ks, Nested const& x, Special xs) -> WithSpecial<T> {
            if (ks != Special::None)
                return SpecialOf<T>(ks);
            if (xs != Special::None)
                return SpecialOf<T>(xs);
            return keep ? ElementAs<T>(x, index) : SpecialOf<T>(Special::Null);
        },
        FunctionTypes{{c_bool, c_tuple}, {}});
}

template <class T>
void RegisterMask(FunctionLookup& lookup, KeySegmentType const& type) {
    using A = FunctionArg<T>;
    lookup.RegisterBinary(
        L"mask",
        [](A x, Special xs, bool keep, Special ks) -> WithSpecial<T> {
            if (xs != Special::None)
                return SpecialOf<T>(xs);
            if (ks != Special::None)
                return SpecialOf<T>(ks);
            return keep ? Ok(T(x)) : SpecialOf<T>(Special::Null);
        },
        FunctionTypes{{type, c_bool}, type});
    lookup.RegisterBinary(
        L"where",
        [](bool keep, Special ks, A x, Special xs) -> WithSpecial<T> {
            if (ks != Special::None)
                return SpecialOf<T>(ks);
            if (xs != Special::None)
                return SpecialOf<T>(xs);
            return keep ? Ok(T(x)) : SpecialOf<T>(Special::Null);
        },
        FunctionTypes{{c_bool, type}, type});
}

double SumOfNumbers(Nested const& tuple) {
    double sum = 0;
    if (!tuple || tuple->GetStoreType() != StoreType::Tuple) {
        return sum;
    }
    for (Nested const& element : tuple->AsTuple().GetElements()) {
        if (element && !element->IsSpecial()) {
            auto const number = Convert<double>(element);
            if (number.second == Special::None) {
                sum += number.first;
            }
        }
    }
    return sum;
}

}  // namespace

void RegisterTupleFunctions(FunctionLookup& lookup) {
    lookup.RegisterUnary(
        L"length",
        [](Nested const& x) {
            return x && x->GetStoreType() == StoreType::Tuple ? static_cast<long long>(x->GetCount()) : 0LL;
        },
        TupleIn());
    lookup.RegisterUnary(
        L"get",
        [](long long index, Nested const& x, Special s) -> WithSpecial<Nested> {
            if (s != Special::None)
                return SpecialOf<Nested>(s);
            return ElementAt(x, index);
        },
        TupleIn());
    RegisterGet<int>(lookup, L"get_int32", L"pick_int32");
    RegisterGet<long long>(lookup, L"get_int64", L"pick_int64");
    RegisterGet<float>(lookup, L"get_float", L"pick_float");
    RegisterGet<double>(lookup, L"get_double", L"pick_double");
    RegisterGet<ZelDateTime>(lookup, L"get_datetime", L"pick_datetime");
    // pick_int32 also with the tuple first.
    lookup.RegisterBinary(
        L"pick_int32",
        [](long long index, Nested const& x, Special xs, bool keep, Special ks) -> WithSpecial<int> {
            if (xs != Special::None)
                return SpecialOf<int>(xs);
            if (ks != Special::None)
                return SpecialOf<int>(ks);
            return keep ? ElementAs<int>(x, index) : SpecialOf<int>(Special::Null);
        },
        FunctionTypes{{c_tuple, c_bool}, {}});
    // The element at the index of the second column.
    lookup.RegisterBinary(
        L"get_double",
        [](Nested const& x, Special xs, int index, Special is) -> WithSpecial<double> {
            if (xs != Special::None)
                return SpecialOf<double>(xs);
            if (is != Special::None)
                return SpecialOf<double>(is);
            return ElementAs<double>(x, index);
        },
        FunctionTypes{{c_tuple, KeySegmentType(StoreTypeInfo::Int32)}, {}});
    // A number plus the numeric elements of a tuple; with Reduce, the sum of all of them.
    lookup.RegisterBinary(
        L"add", [](double a, Nested const& x) { return a + SumOfNumbers(x); },
        FunctionTypes{{KeySegmentType(StoreTypeInfo::Double), c_tuple}, {}});

    RegisterMask<bool>(lookup, c_bool);
    RegisterMask<int>(lookup, KeySegmentType(StoreTypeInfo::Int32));
    RegisterMask<long long>(lookup, KeySegmentType(StoreTypeInfo::Int64));
    RegisterMask<float>(lookup, KeySegmentType(StoreTypeInfo::Float));
    RegisterMask<double>(lookup, KeySegmentType(StoreTypeInfo::Double));
    RegisterMask<RIndirectString>(lookup, KeySegmentType(StoreTypeInfo::String));
    RegisterMask<ZelDateTime>(lookup, KeySegmentType(StoreTypeInfo::DateTime));
    RegisterMask<ZelColor>(lookup, KeySegmentType(StoreTypeInfo::Color));
    RegisterMask<Nested>(lookup, c_tuple);
}

}  // namespace zel::core::builtin
