#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "transform/sort/RadixSort.h"
#include "transform/sort/SortPasses.h"

namespace zel::vm::sort {

namespace {

// A text sort first radix sorts the rows by an 8-byte prefix of each text's order, then settles
// the rows that share a prefix with a full comparison. The prefix orders as the texts do (a text
// before its extensions, since missing units read as zero, the least), so this gives the same
// stable order as a sort that compares the texts throughout.
template <class Texts>
void SortByPrefixThenWhole(std::vector<unsigned int>& rows, Texts const& texts, bool descending) {
    std::vector<std::uint64_t> prefixes(rows.size());
    std::uint64_t const flip = descending ? ~std::uint64_t{0} : 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        prefixes[i] = texts.Prefix(rows[i]) ^ flip;
    }
    RadixSortRows(prefixes, rows);
    auto const before = [&](unsigned int a, unsigned int b) {
        int const order = texts.Compare(a, b);
        return descending ? order > 0 : order < 0;
    };
    for (std::size_t start = 0; start < rows.size();) {
        std::size_t end = start + 1;
        while (end < rows.size() && prefixes[end] == prefixes[start]) {
            ++end;
        }
        auto const first = rows.begin() + static_cast<std::ptrdiff_t>(start);
        auto const last = rows.begin() + static_cast<std::ptrdiff_t>(end);
        // Rows of one text tie throughout: a run already in order costs one look at each row.
        if (end - start > 1 && !std::is_sorted(first, last, before)) {
            std::stable_sort(first, last, before);
        }
        start = end;
    }
}

// Binary collation: the texts' own code units, compared as unsigned 32-bit numbers.
class CodeUnitTexts {
public:
    explicit CodeUnitTexts(core::ArrayView<core::RIndirectString const> texts) : m_texts(texts) {}

    std::uint64_t Prefix(unsigned int row) const {
        std::wstring_view const text = m_texts.data()[row].View();
        std::uint64_t const first = text.empty() ? 0 : static_cast<std::uint32_t>(text[0]);
        std::uint64_t const second = text.size() < 2 ? 0 : static_cast<std::uint32_t>(text[1]);
        return first << 32 | second;
    }
    int Compare(unsigned int a, unsigned int b) const {
        std::wstring_view const x = m_texts.data()[a].View();
        std::wstring_view const y = m_texts.data()[b].View();
        auto const order = std::lexicographical_compare_three_way(
            x.begin(), x.end(), y.begin(), y.end(), [](wchar_t p, wchar_t q) {
                return static_cast<std::uint32_t>(p) <=> static_cast<std::uint32_t>(q);
            });
        return order < 0 ? -1 : (order > 0 ? 1 : 0);
    }

private:
    core::ArrayView<core::RIndirectString const> m_texts;
};

// Any other collation: each text's sort key, computed once into one buffer, compared as bytes.
class SortKeyTexts {
public:
    SortKeyTexts(core::ArrayView<core::RIndirectString const> texts, core::ICollator const& collator)
        : m_offsets(texts.size() + 1, 0) {
        m_keys.reserve(static_cast<std::size_t>(texts.size()) * 12);
        for (unsigned int row = 0; row < texts.size(); ++row) {
            collator.AppendSortKey(texts.data()[row].View(), m_keys);
            m_offsets[row + 1] = m_keys.size();
        }
    }

    std::uint64_t Prefix(unsigned int row) const {
        std::string_view const key = Key(row);
        std::uint64_t prefix = 0;
        std::size_t const used = std::min(key.size(), sizeof(prefix));
        for (std::size_t i = 0; i < sizeof(prefix); ++i) {
            prefix = prefix << 8 | (i < used ? static_cast<unsigned char>(key[i]) : 0u);
        }
        return prefix;
    }
    int Compare(unsigned int a, unsigned int b) const {
        // std::string_view compares bytes as unsigned char, and a prefix before its extensions.
        int const order = Key(a).compare(Key(b));
        return order < 0 ? -1 : (order > 0 ? 1 : 0);
    }

private:
    std::string_view Key(unsigned int row) const {
        return std::string_view(m_keys).substr(m_offsets[row], m_offsets[row + 1] - m_offsets[row]);
    }

    std::string m_keys;
    std::vector<std::size_t> m_offsets;
};

}  // namespace

void StableSortRowsByText(std::vector<unsigned int>& rows, core::ArrayView<core::RIndirectString const> texts,
                          core::Collation const& collation, bool descending) {
    if (collation.IsBinary()) {
        SortByPrefixThenWhole(rows, CodeUnitTexts(texts), descending);
    } else {
        SortByPrefixThenWhole(rows, SortKeyTexts(texts, collation.GetCollator()), descending);
    }
}

}  // namespace zel::vm::sort
