#include "zel/core/store/Collation.h"

#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <compare>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <boost/container/small_vector.hpp>
#include <boost/unordered/unordered_flat_map.hpp>

#include "zel/core/store/RIndirectString.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelDebugReport.h"
#include "zel/core/utility/ZelException.h"

namespace zel::core {

namespace {

bool IsScalarValue(wchar_t c) noexcept {
    auto const value = static_cast<std::uint32_t>(c);
    return value <= 0x10FFFF && !U_IS_SURROGATE(value);
}

std::uint64_t HashWide(std::wstring_view text) noexcept {
    return std::hash<std::wstring_view>{}(text);
}

// Four bytes, most significant first: byte order is then the order of the 32-bit values.
void AppendBigEndian(std::uint32_t value, std::string& out) {
    char const bytes[4] = {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
                           static_cast<char>(value >> 8), static_cast<char>(value)};
    out.append(bytes, 4);
}

int ToSign(std::strong_ordering order) noexcept {
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

// Binary: code point order; a wchar_t that is no scalar value orders by its unsigned 32-bit value.
class CodePointCollator final : public ICollator {
public:
    TStringCore const& GetName() const noexcept override { return m_name; }

    int Compare(std::wstring_view a, std::wstring_view b) const override {
        return ToSign(std::lexicographical_compare_three_way(
            a.begin(), a.end(), b.begin(), b.end(), [](wchar_t x, wchar_t y) {
                return static_cast<std::uint32_t>(x) <=> static_cast<std::uint32_t>(y);
            }));
    }
    bool Equal(std::wstring_view a, std::wstring_view b) const override { return a == b; }
    std::uint64_t Hash(std::wstring_view text) const override { return HashWide(text); }
    void AppendSortKey(std::wstring_view text, std::string& out) const override {
        for (wchar_t c : text) {
            AppendBigEndian(static_cast<std::uint32_t>(c), out);
        }
    }

private:
    TStringCore m_name = L"binary";
};

// Binary order after Unicode simple case folding, which maps each code point to one code point, so
// equality, order and hash all work on the folded sequence.
class NoCaseCollator final : public ICollator {
public:
    TStringCore const& GetName() const noexcept override { return m_name; }

    int Compare(std::wstring_view a, std::wstring_view b) const override {
        return ToSign(
            std::lexicographical_compare_three_way(a.begin(), a.end(), b.begin(), b.end(),
                                                   [](wchar_t x, wchar_t y) { return Fold(x) <=> Fold(y); }));
    }
    bool Equal(std::wstring_view a, std::wstring_view b) const override {
        return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                                  [](wchar_t x, wchar_t y) { return Fold(x) == Fold(y); });
    }
    std::uint64_t Hash(std::wstring_view text) const override {
        boost::container::small_vector<wchar_t, 64> folded(text.size());
        std::transform(text.begin(), text.end(), folded.begin(),
                       [](wchar_t c) { return static_cast<wchar_t>(Fold(c)); });
        return HashWide(std::wstring_view(folded.data(), folded.size()));
    }
    void AppendSortKey(std::wstring_view text, std::string& out) const override {
        for (wchar_t c : text) {
            AppendBigEndian(Fold(c), out);
        }
    }

private:
    static std::uint32_t Fold(wchar_t c) noexcept {
        if (!IsScalarValue(c)) {
            return static_cast<std::uint32_t>(c);
        }
        return static_cast<std::uint32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
    }

    TStringCore m_name = L"nocase";
};

using Utf16Buffer = boost::container::small_vector<UChar, 128>;

// ICU works on UTF-16; a wchar_t that is no scalar value becomes U+FFFD.
void ToUtf16(std::wstring_view text, Utf16Buffer& out) {
    out.clear();
    out.reserve(text.size());
    for (wchar_t c : text) {
        UChar32 const cp = IsScalarValue(c) ? static_cast<UChar32>(c) : 0xFFFD;
        if (U_IS_BMP(cp)) {
            out.push_back(static_cast<UChar>(cp));
        } else {
            out.push_back(U16_LEAD(cp));
            out.push_back(U16_TRAIL(cp));
        }
    }
}

struct UCollatorCloser {
    void operator()(UCollator* collator) const noexcept { ucol_close(collator); }
};
using UCollatorPtr = std::unique_ptr<UCollator, UCollatorCloser>;

// A locale collation. Equality is ucol_strcoll == 0 and the hash is taken over the sort key, which
// orders and compares exactly as ucol_strcoll does, so equal texts hash alike.
//
// A UCollator is not to be shared between threads for every call, so each call leases a clone of
// the prototype from a small pool; the lock is held only to take or return a clone.
class IcuCollator final : public ICollator {
public:
    IcuCollator(TStringCore name, UCollatorPtr prototype)
        : m_name(std::move(name)), m_prototype(std::move(prototype)) {}

    TStringCore const& GetName() const noexcept override { return m_name; }

    int Compare(std::wstring_view a, std::wstring_view b) const override {
        Utf16Buffer ua;
        Utf16Buffer ub;
        ToUtf16(a, ua);
        ToUtf16(b, ub);
        Lease lease(*this);
        switch (ucol_strcoll(lease.Get(), ua.data(), static_cast<int32_t>(ua.size()), ub.data(),
                             static_cast<int32_t>(ub.size()))) {
            case UCOL_LESS:
                return -1;
            case UCOL_GREATER:
                return 1;
            default:
                return 0;
        }
    }

    bool Equal(std::wstring_view a, std::wstring_view b) const override {
        return a == b || Compare(a, b) == 0;
    }

    std::uint64_t Hash(std::wstring_view text) const override {
        Utf16Buffer utf16;
        ToUtf16(text, utf16);
        boost::container::small_vector<std::uint8_t, 256> key(256);
        Lease lease(*this);
        auto const length = static_cast<int32_t>(utf16.size());
        int32_t needed =
            ucol_getSortKey(lease.Get(), utf16.data(), length, key.data(), static_cast<int32_t>(key.size()));
        if (needed > static_cast<int32_t>(key.size())) {
            key.resize(static_cast<std::size_t>(needed));
            needed = ucol_getSortKey(lease.Get(), utf16.data(), length, key.data(), needed);
        }
        auto const size = std::min(static_cast<std::size_t>(std::max(needed, 0)), key.size());
        return std::hash<std::string_view>{}(
            std::string_view(reinterpret_cast<char const*>(key.data()), size));
    }

    // ICU's sort key without its terminating zero byte, written straight into `out`.
    void AppendSortKey(std::wstring_view text, std::string& out) const override {
        Utf16Buffer utf16;
        ToUtf16(text, utf16);
        std::size_t const start = out.size();
        out.resize(start + 2 * utf16.size() + 16);
        Lease lease(*this);
        auto const length = static_cast<int32_t>(utf16.size());
        auto const write = [&] {
            return ucol_getSortKey(lease.Get(), utf16.data(), length,
                                   reinterpret_cast<std::uint8_t*>(out.data() + start),
                                   static_cast<int32_t>(out.size() - start));
        };
        int32_t needed = write();
        if (needed > static_cast<int32_t>(out.size() - start)) {
            out.resize(start + static_cast<std::size_t>(needed));
            needed = write();
        }
        out.resize(start + static_cast<std::size_t>(std::max(needed - 1, 0)));
    }

private:
    class Lease {
    public:
        explicit Lease(IcuCollator const& owner) : m_owner(owner), m_collator(owner.Acquire()) {}
        ~Lease() { m_owner.Release(std::move(m_collator)); }
        Lease(Lease const&) = delete;
        Lease& operator=(Lease const&) = delete;
        UCollator const* Get() const noexcept { return m_collator.get(); }

    private:
        IcuCollator const& m_owner;
        UCollatorPtr m_collator;
    };

    UCollatorPtr Acquire() const {
        {
            std::lock_guard lock(m_poolMutex);
            if (!m_pool.empty()) {
                UCollatorPtr collator = std::move(m_pool.back());
                m_pool.pop_back();
                return collator;
            }
        }
        UErrorCode status = U_ZERO_ERROR;
        UCollatorPtr clone(ucol_clone(m_prototype.get(), &status));
        if (U_FAILURE(status) || !clone) {
            throw std::bad_alloc();
        }
        return clone;
    }

    void Release(UCollatorPtr collator) const noexcept {
        std::lock_guard lock(m_poolMutex);
        try {
            m_pool.push_back(std::move(collator));
        } catch (...) {
            // The clone is dropped; the next call makes another.
        }
    }

    TStringCore m_name;
    UCollatorPtr m_prototype;
    mutable std::mutex m_poolMutex;
    mutable std::vector<UCollatorPtr> m_pool;
};

[[noreturn]] void ThrowUnknownCollation(TStringCore const& name, int line) {
    TStringCore const text = L"unknown collation \"" + name + L"\"";
    detail::ReportAndThrowRuntimeText(__FILE__, line, ZelError::UnknownCollation, text);
}

// Opens the ICU collator of a locale name: a BCP 47 tag ("sv", "en-u-ks-level2", "de-DE") or an ICU
// locale id ("de@collation=phonebook"). A locale that ICU only knows by falling back to the root
// collation is unknown, except the root itself ("root", "und").
UCollatorPtr OpenIcuCollator(TStringCore const& name) {
    std::string const utf8 = name.ToUtf8();
    bool const ascii = std::all_of(utf8.begin(), utf8.end(), [](char c) { return c > ' ' && c < 0x7F; });
    if (utf8.empty() || !ascii) {
        return nullptr;
    }
    std::string localeId = utf8;
    if (utf8.find('-') != std::string::npos) {
        char buffer[ULOC_FULLNAME_CAPACITY];
        int32_t parsed = 0;
        UErrorCode status = U_ZERO_ERROR;
        int32_t const length =
            uloc_forLanguageTag(utf8.c_str(), buffer, ULOC_FULLNAME_CAPACITY, &parsed, &status);
        if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING ||
            parsed != static_cast<int32_t>(utf8.size()) || length <= 0) {
            return nullptr;
        }
        localeId.assign(buffer, static_cast<std::size_t>(length));
    }
    UErrorCode status = U_ZERO_ERROR;
    UCollatorPtr collator(ucol_open(localeId.c_str(), &status));
    if (U_FAILURE(status) || !collator) {
        return nullptr;
    }
    UErrorCode localeStatus = U_ZERO_ERROR;
    char const* valid = ucol_getLocaleByType(collator.get(), ULOC_VALID_LOCALE, &localeStatus);
    bool const isRoot = U_FAILURE(localeStatus) || valid == nullptr || std::strcmp(valid, "root") == 0;
    if (isRoot && utf8 != "root" && utf8 != "und") {
        return nullptr;
    }
    return collator;
}

// One collator object per name for the life of the process.
class CollatorRegistry {
public:
    std::shared_ptr<ICollator const> Find(TStringCore const& name) {
        std::lock_guard lock(m_mutex);
        if (auto it = m_collators.find(name); it != m_collators.end()) {
            return it->second;
        }
        std::shared_ptr<ICollator const> collator;
        if (name == L"nocase") {
            collator = std::make_shared<NoCaseCollator const>();
        } else if (auto icu = OpenIcuCollator(name)) {
            collator = std::make_shared<IcuCollator const>(name, std::move(icu));
        } else {
            return nullptr;
        }
        m_collators.emplace(name, collator);
        return collator;
    }

private:
    std::mutex m_mutex;
    boost::unordered_flat_map<TStringCore, std::shared_ptr<ICollator const>> m_collators;
};

CollatorRegistry& Registry() {
    static CollatorRegistry registry;
    return registry;
}

}  // namespace

ICollator const& Collation::BinaryCollator() noexcept {
    static CodePointCollator const binary;
    return binary;
}

Collation const& Collation::Binary() noexcept {
    static constinit Collation const binary;
    return binary;
}

Collation Collation::Named(TStringCore const& name) {
    if (name == L"binary") {
        return Binary();
    }
    auto collator = Registry().Find(name);
    if (!collator) {
        ThrowUnknownCollation(name, __LINE__);
    }
    return Collation(std::move(collator));
}

// Binary columns skip the virtual call; the binary hash is the one of hash_value(RIndirectString).
std::uint64_t CollatorHash::operator()(RIndirectString const& text) const {
    if (m_collation.IsBinary()) {
        return hash_value(text);
    }
    return m_collation.GetCollator().Hash(text.View());
}

bool CollatorEqualTo::operator()(RIndirectString const& a, RIndirectString const& b) const {
    if (m_collation.IsBinary()) {
        return a == b;
    }
    return m_collation.GetCollator().Equal(a.View(), b.View());
}

}  // namespace zel::core
