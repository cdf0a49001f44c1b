#include "zel/core/store/KeyPathPrefixTree.h"

namespace zel::core {

KeyPathPrefixTree::KeyPathPrefixTree(KeyPathPrefixTree* parent, KeyPath::SegmentPtr segment)
    : m_parent(parent), m_segment(std::move(segment)), m_depth(parent ? parent->m_depth + 1 : 0) {}

KeyPathPrefixTree::~KeyPathPrefixTree() = default;

std::unique_ptr<KeyPathPrefixTree> KeyPathPrefixTree::Make() {
    return std::unique_ptr<KeyPathPrefixTree>(new KeyPathPrefixTree(nullptr, nullptr));
}

std::pair<KeyPathPrefixTree const*, bool> KeyPathPrefixTree::Add(KeyPath const& path, bool concrete) {
    KeyPathPrefixTree* node = this;
    bool created = false;
    for (auto const& segment : path.GetSegments()) {
        auto const it = node->m_index.find(segment->GetSegment().view());
        if (it != node->m_index.end()) {
            node = it->second;
            created = false;
            continue;
        }
        auto child = std::unique_ptr<KeyPathPrefixTree>(new KeyPathPrefixTree(node, segment));
        KeyPathPrefixTree* const raw = child.get();
        node->m_children.push_back(std::move(child));
        node->m_index.emplace(raw->m_segment->GetSegment().view(), raw);
        node = raw;
        created = true;
    }
    if (concrete && !node->m_concrete) {
        node->m_concrete = true;
        for (KeyPathPrefixTree* ancestor = node->m_parent; ancestor != nullptr;
             ancestor = ancestor->m_parent) {
            ++ancestor->m_concreteDescendants;
        }
    }
    return {node, created};
}

KeyPathPrefixTree const* KeyPathPrefixTree::Find(KeyPath const& path) const noexcept {
    KeyPathPrefixTree const* node = this;
    for (auto const& segment : path.GetSegments()) {
        node = node->FindChild(segment->GetSegment().view());
        if (node == nullptr) {
            return nullptr;
        }
    }
    return node;
}

KeyPathPrefixTree const* KeyPathPrefixTree::FindChild(std::wstring_view text) const noexcept {
    auto const it = m_index.find(text);
    return it == m_index.end() ? nullptr : it->second;
}

bool KeyPathPrefixTree::HasConcreteAncestor() const noexcept {
    for (KeyPathPrefixTree const* ancestor = m_parent; ancestor != nullptr; ancestor = ancestor->m_parent) {
        if (ancestor->m_concrete) {
            return true;
        }
    }
    return false;
}

std::vector<KeyPath> KeyPathPrefixTree::GetEldersOfDescendants() const {
    std::vector<KeyPath> out;
    CollectElders(out);
    return out;
}

void KeyPathPrefixTree::CollectElders(std::vector<KeyPath>& out) const {
    if (m_concrete) {
        out.push_back(GetPath());
        return;
    }
    if (m_concreteDescendants == 0) {
        return;
    }
    for (auto const& child : m_children) {
        child->CollectElders(out);
    }
}

KeyPath KeyPathPrefixTree::GetPath() const {
    KeyPath::Segments segments(m_depth);
    std::size_t index = m_depth;
    for (KeyPathPrefixTree const* node = this; node->m_parent != nullptr; node = node->m_parent) {
        segments[--index] = node->m_segment;
    }
    return KeyPath(std::move(segments));
}

}  // namespace zel::core
