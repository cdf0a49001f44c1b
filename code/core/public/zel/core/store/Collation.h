#pragma once

#pragma GCC visibility push(default)

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "vorsys/string/TStringCore.h"

namespace zel::core {

class RIndirectString;

// How strings compare under one collation. Hash and Equal agree: texts that compare equal hash
// alike. Implementations are immutable and shared between threads.
class ICollator {
public:
    virtual ~ICollator() = default;
    // The name by which Collation::Named finds this collator again ("binary", "nocase", "de").
    virtual TStringCore const& GetName() const noexcept = 0;
    // Negative, zero or positive, as a is ordered before, with or after b.
    virtual int Compare(std::wstring_view a, std::wstring_view b) const = 0;
    virtual bool Equal(std::wstring_view a, std::wstring_view b) const = 0;
    virtual std::uint64_t Hash(std::wstring_view text) const = 0;
    // Appends the sort key of `text` to `out`: bytes whose order, compared as unsigned bytes with a
    // prefix before its extensions, is Compare's order, and whose equality is Equal. A sort that
    // compares many times computes each key once.
    virtual void AppendSortKey(std::wstring_view text, std::string& out) const = 0;
};

// Names how the strings of a column compare. A small value: a shared pointer to an immutable
// collator. The default is binary (code point order, exact equality).
//
// Named collations:
//   "binary"       code point order
//   "nocase"       binary after Unicode simple case folding
//   any ICU locale ("de", "sv", "en-u-ks-level2", ...) the locale's collation order; its equality
//                  and hash follow the collator's sort keys, so a level-2 locale ignores case too
class Collation {
public:
    // Binary. Constant-initialised, so that type constants made from it are usable during the
    // dynamic initialisation of any translation unit.
    constexpr Collation() noexcept = default;
    // Throws ZelRuntimeException (UnknownCollation) naming the collation when it is unknown.
    static Collation Named(TStringCore const& name);
    static Collation const& Binary() noexcept;

    ICollator const& GetCollator() const noexcept { return m_collator ? *m_collator : BinaryCollator(); }
    TStringCore const& GetName() const noexcept { return GetCollator().GetName(); }
    bool IsBinary() const noexcept { return !m_collator; }

    friend bool operator==(Collation const& a, Collation const& b) noexcept {
        return a.m_collator == b.m_collator || a.GetName() == b.GetName();
    }

private:
    explicit Collation(std::shared_ptr<ICollator const> collator) : m_collator(std::move(collator)) {}
    static ICollator const& BinaryCollator() noexcept;

    std::shared_ptr<ICollator const> m_collator;  // null for binary
};

// Hash and equality of string elements under a collation, for hash containers of strings.
class CollatorHash {
public:
    explicit CollatorHash(Collation const& collation = Collation::Binary()) : m_collation(collation) {}
    std::uint64_t operator()(RIndirectString const& text) const;

private:
    Collation m_collation;
};

class CollatorEqualTo {
public:
    explicit CollatorEqualTo(Collation const& collation = Collation::Binary()) : m_collation(collation) {}
    bool operator()(RIndirectString const& a, RIndirectString const& b) const;

private:
    Collation m_collation;
};

}  // namespace zel::core

#pragma GCC visibility pop
