// lookup: the value of each row's key in a key set given as the argument (lookup(~init.names)).
// A special row finds the value stored for its kind of special, or stays as it is. A key that the
// set lacks gives Null. `lookup` maps to the type of the key; lookup_string and lookup_double to those types.

#include <bit>

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"
#include "zel/core/store/StorageType.h"

namespace zel::core::builtin {

namespace {

using Nested = std::shared_ptr<StoreValue>;

// The storage form of a logical value, as a key set holds it, and back.
template <class T>
auto ToStorage(T const& x) {
    if constexpr (std::is_same_v<T, int> || std::is_same_v<T, float>) {
        return std::bit_cast<unsigned int>(x);
    } else if constexpr (std::is_same_v<T, long long> || std::is_same_v<T, double>) {
        return std::bit_cast<unsigned long long>(x);
    } else if constexpr (std::is_same_v<T, ZelDateTime>) {
        return static_cast<unsigned long long>(x.GetValue());
    } else {
        return x;
    }
}
template <class T, class S>
T FromStorage(S const& s) {
    if constexpr (std::is_same_v<T, ZelDateTime>) {
        return ZelDateTime(s);
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return s;
    } else {
        return std::bit_cast<T>(s);
    }
}
template <class T>
using StorageOf = decltype(ToStorage(std::declval<T>()));

template <class K, class V>
void RegisterLookup(FunctionLookup& lookup, wchar_t const* name) {
    using A = FunctionArg<K>;
    lookup.RegisterUnary(name, [](Nested const& set, A x, Special s) -> WithSpecial<V> {
        auto const& keySet = GetKeySet<StorageOf<K>, StorageOf<V>>(set, "lookup");
        if (s != Special::None) {
            auto const* found = keySet.FindSpecial(s);
            return found ? Ok(FromStorage<V>(*found)) : SpecialOf<V>(s);
        }
        auto const* found = keySet.Find(ToStorage(x));
        return found ? Ok(FromStorage<V>(*found)) : SpecialOf<V>(Special::Null);
    });
}

template <class K>
void RegisterKey(FunctionLookup& lookup) {
    RegisterLookup<K, K>(lookup, L"lookup");
    if constexpr (!std::is_same_v<K, RIndirectString>) {
        RegisterLookup<K, RIndirectString>(lookup, L"lookup_string");
    }
    if constexpr (!std::is_same_v<K, double>) {
        RegisterLookup<K, double>(lookup, L"lookup_double");
    }
}

}  // namespace

void RegisterLookupFunctions(FunctionLookup& lookup) {
    RegisterKey<int>(lookup);
    RegisterKey<long long>(lookup);
    RegisterKey<double>(lookup);
    RegisterKey<RIndirectString>(lookup);
    RegisterKey<ZelDateTime>(lookup);
}

}  // namespace zel::core::builtin
