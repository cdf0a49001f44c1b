#pragma once

// Builders of one logical array content in every layout, and a reader that sees an array only
// through its typed interface, for tests that hold the layouts against each other.

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValue.h"

namespace zel::test {

using core::SpecialKind;
using core::StoreTypeInfo;
using core::StoreValue;

template <class T>
std::unique_ptr<std::vector<T>> Vec(std::initializer_list<T> values) {
    return std::make_unique<std::vector<T>>(values);
}

template <class T>
struct Content {
    std::vector<T> values;
    std::vector<SpecialKind> specials;  // empty, or one for each value

    SpecialKind SpecialOf(std::size_t i) const { return specials.empty() ? SpecialKind::None : specials[i]; }
};

template <class T>
struct LayoutCase {
    std::string name;
    std::shared_ptr<StoreValue> array;
};

// The content as a flat array, an indexed array over the reversed values, a run-length array,
// a run-length array read through indices over the reversed runs, and, when every element is the
// same, a constant array.
template <class T>
std::vector<LayoutCase<T>> AllLayouts(StoreTypeInfo const& type, Content<T> const& content) {
    namespace factory = core::factory;
    std::size_t const n = content.values.size();
    std::vector<LayoutCase<T>> cases;

    auto specialsOrNull = [](std::vector<SpecialKind> specials) {
        return specials.empty() ? nullptr : std::make_unique<std::vector<SpecialKind>>(std::move(specials));
    };
    cases.push_back({"flat", factory::MakeArray<T>(type, std::make_unique<std::vector<T>>(content.values),
                                                   nullptr, specialsOrNull(content.specials))});

    std::vector<T> reversed(content.values.rbegin(), content.values.rend());
    std::vector<SpecialKind> reversedSpecials(content.specials.rbegin(), content.specials.rend());
    auto reversingIndices = std::make_unique<std::vector<unsigned int>>();
    for (std::size_t i = 0; i < n; ++i) {
        reversingIndices->push_back(static_cast<unsigned int>(n - 1 - i));
    }
    cases.push_back(
        {"indexed", factory::MakeArray<T>(type, std::make_unique<std::vector<T>>(reversed),
                                          std::make_unique<std::vector<unsigned int>>(*reversingIndices),
                                          specialsOrNull(reversedSpecials))});

    auto runsOf = [&](std::vector<T> const& values, std::vector<SpecialKind> const& specials) {
        auto runs = std::make_unique<std::vector<core::RunLengthEntry<T>>>();
        for (std::size_t i = 0; i < values.size(); ++i) {
            SpecialKind const special = specials.empty() ? SpecialKind::None : specials[i];
            T const value = special == SpecialKind::None ? values[i] : T{};
            if (!runs->empty() && runs->back().special == special && runs->back().value == value) {
                ++runs->back().count;
            } else {
                runs->push_back({value, special, 1});
            }
        }
        return runs;
    };
    cases.push_back(
        {"run-length", factory::MakeRunLengthArray<T>(type, runsOf(content.values, content.specials))});
    cases.push_back({"run-length through indices",
                     factory::MakeRunLengthArray<T>(type, runsOf(reversed, reversedSpecials),
                                                    std::move(reversingIndices))});

    bool allSame = n > 0;
    for (std::size_t i = 1; i < n && allSame; ++i) {
        allSame = content.SpecialOf(i) == content.SpecialOf(0) &&
                  (content.SpecialOf(0) != SpecialKind::None || content.values[i] == content.values[0]);
    }
    if (allSame) {
        auto const count = static_cast<unsigned int>(n);
        cases.push_back({"constant", content.SpecialOf(0) == SpecialKind::None
                                         ? factory::MakeConstantArray<T>(type, content.values[0], count)
                                         : factory::MakeConstantArray<T>(type, count, content.SpecialOf(0))});
    }
    return cases;
}

// What an array holds, read element by element through GetValue and GetSpecial; a special slot
// reads as T{}.
template <class T>
Content<T> ReadByIndex(StoreValue const& value) {
    auto const& array = value.AsTypedArray<T>();
    Content<T> content;
    for (unsigned int i = 0; i < array.GetCount(); ++i) {
        content.specials.push_back(array.GetSpecial(i));
        content.values.push_back(content.specials.back() == SpecialKind::None ? array.GetValue(i) : T{});
    }
    return content;
}

// The same through the value-and-special iterators.
template <class T>
Content<T> ReadByIterator(StoreValue const& value) {
    auto const& array = value.AsTypedArray<T>();
    Content<T> content;
    for (auto [element, special] : array.GetValuesAndSpecials()) {
        content.specials.push_back(special);
        content.values.push_back(special == SpecialKind::None ? element : T{});
    }
    return content;
}

// The content with explicit specials, as the readers above return it.
template <class T>
Content<T> Normalised(Content<T> content) {
    if (content.specials.empty()) {
        content.specials.assign(content.values.size(), SpecialKind::None);
    }
    for (std::size_t i = 0; i < content.values.size(); ++i) {
        if (content.specials[i] != SpecialKind::None) {
            content.values[i] = T{};
        }
    }
    return content;
}

template <class T>
bool operator==(Content<T> const& a, Content<T> const& b) {
    return a.values == b.values && a.specials == b.specials;
}

}  // namespace zel::test
