#pragma once

#pragma GCC visibility push(default)

#include <functional>

#include "zel/core/store/KeyPath.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/StoreType.h"

namespace zel::core {

// How materialisation asks for the type that a key path will hold.
class ITypeLookup {
public:
    ITypeLookup() = default;
    virtual ~ITypeLookup() = default;

    // The whole type of the path's leaf; no type (HasType() false) when it is unknown.
    virtual KeySegmentType GetKeySegmentType(KeyPath const& path) const = 0;
    // The main type of the leaf; StoreType::Empty when unknown.
    virtual StoreType GetStoreType(KeyPath const& path) const = 0;
    // The element type when the leaf holds a collection; StoreType::Empty when it has none.
    virtual StoreType GetChildStoreType(KeyPath const& path) const = 0;

protected:
    ITypeLookup(ITypeLookup const&) = default;
    ITypeLookup& operator=(ITypeLookup const&) = default;
};

// The lookup of the system. Default-constructed it answers from the path itself: the type of the
// leaf segment (the type a program declared for the path); the empty path has no type.
//
// A lookup that knows more (the types of a store's values) is built with a Resolver: the resolver
// is asked first, and when it answers a type (HasType() true) that type is the answer; when it
// answers no type, the path's own leaf type is. So a store-backed lookup might be
//
//     KeyPathTypeLookup([store](KeyPath const& p) {
//         auto value = store->FindValue(p);
//         return value ? value->GetKeySegmentType() : KeySegmentType();
//     });
//
// The resolver must be safe to call from any thread that uses the lookup. A subclass may instead
// override Resolve; GetStoreType and GetChildStoreType both go through GetKeySegmentType.
class KeyPathTypeLookup : public ITypeLookup {
public:
    using Resolver = std::function<KeySegmentType(KeyPath const&)>;

    KeyPathTypeLookup() = default;
    explicit KeyPathTypeLookup(Resolver resolver) : m_resolver(std::move(resolver)) {}
    KeyPathTypeLookup(KeyPathTypeLookup const&) = default;
    KeyPathTypeLookup& operator=(KeyPathTypeLookup const&) = default;
    ~KeyPathTypeLookup() override = default;

    KeySegmentType GetKeySegmentType(KeyPath const& path) const override;
    StoreType GetStoreType(KeyPath const& path) const override;
    StoreType GetChildStoreType(KeyPath const& path) const override;

protected:
    // The type a richer source knows for the path, or no type. Calls the resolver when there is one.
    virtual KeySegmentType Resolve(KeyPath const& path) const;

private:
    Resolver m_resolver;
};

}  // namespace zel::core

#pragma GCC visibility pop
