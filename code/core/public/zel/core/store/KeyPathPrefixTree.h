#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/unordered/unordered_flat_map.hpp>

#include "zel/core/store/KeyPath.h"

namespace zel::core {

// A trie of key paths by segment text (types are ignored). Every node stands for one path; a node
// is concrete when that exact path was added with the concrete flag. The tree owns its nodes and
// hands them out as KeyPathPrefixTree const*; they live as long as the tree. Not thread-safe for
// writes; built per operation.
//
// Children keep the order in which they were first added, so every walk (GetEldersOfDescendants)
// is deterministic.
class KeyPathPrefixTree {
public:
    // An empty tree: a root node that stands for the empty path.
    static std::unique_ptr<KeyPathPrefixTree> Make();
    ~KeyPathPrefixTree();

    KeyPathPrefixTree(KeyPathPrefixTree const&) = delete;
    KeyPathPrefixTree& operator=(KeyPathPrefixTree const&) = delete;

    // The node of `path` below the receiver, made with its ancestors if missing, and whether the
    // node itself was made now. `concrete` true marks the node; false never clears a mark. The
    // empty path is the receiver itself.
    std::pair<KeyPathPrefixTree const*, bool> Add(KeyPath const& path, bool concrete);

    // The node of `path` below the receiver, or nullptr when the tree has none.
    KeyPathPrefixTree const* Find(KeyPath const& path) const noexcept;

    bool IsConcrete() const noexcept { return m_concrete; }
    // A strict ancestor is concrete.
    bool HasConcreteAncestor() const noexcept;
    // A strict descendant is concrete.
    bool HasConcreteDescendant() const noexcept { return m_concreteDescendants != 0; }

    // The concrete nodes at or below the receiver that have no concrete ancestor at or below the
    // receiver, each as the whole path from the root of the tree, in depth-first order.
    std::vector<KeyPath> GetEldersOfDescendants() const;

    // The whole path of this node from the root of the tree. Each segment is the one of the path
    // that first made the node (with that path's segment type).
    KeyPath GetPath() const;
    // The parent node, or nullptr for the root.
    KeyPathPrefixTree const* GetParentNode() const noexcept { return m_parent; }
    // The child with that segment text, or nullptr.
    KeyPathPrefixTree const* FindChild(std::wstring_view text) const noexcept;
    std::size_t GetChildCount() const noexcept { return m_children.size(); }
    unsigned int GetDepth() const noexcept { return m_depth; }

private:
    KeyPathPrefixTree(KeyPathPrefixTree* parent, KeyPath::SegmentPtr segment);
    void CollectElders(std::vector<KeyPath>& out) const;

    KeyPathPrefixTree* m_parent;
    KeyPath::SegmentPtr m_segment;  // null for the root
    unsigned int m_depth;
    bool m_concrete = false;
    // The number of concrete strict descendants.
    std::size_t m_concreteDescendants = 0;
    std::vector<std::unique_ptr<KeyPathPrefixTree>> m_children;
    // Keyed by the text of the child's own segment, which the child keeps alive.
    boost::unordered_flat_map<std::wstring_view, KeyPathPrefixTree*> m_index;
};

}  // namespace zel::core

#pragma GCC visibility pop
