#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include <boost/unordered/unordered_flat_map.hpp>

namespace zel::vm::join {

// A hash multimap from key to row numbers, laid out flat: a hash map from each distinct key to its
// group, and one array of row numbers in which the rows of a group stand together, in the order
// they were added. No node per row, and a lookup reads one contiguous run.
//
// Filled with Add, then Finish; Find only after Finish.
template <class Key, class Hash, class Equal>
class RowIndex {
public:
    RowIndex(std::size_t expectedRows, Hash hash, Equal equal)
        : m_groups(0, std::move(hash), std::move(equal)) {
        m_groups.reserve(expectedRows);
        m_groupOfEntry.reserve(expectedRows);
        m_rowOfEntry.reserve(expectedRows);
    }

    void Add(Key const& key, unsigned int row) {
        auto const [it, inserted] = m_groups.try_emplace(key, static_cast<unsigned int>(m_groups.size()));
        m_groupOfEntry.push_back(it->second);
        m_rowOfEntry.push_back(row);
    }

    // Lays the rows out by group. When every key is distinct, the entries already are in place.
    void Finish() {
        std::size_t const groupCount = m_groups.size();
        if (groupCount == m_rowOfEntry.size()) {
            m_rows = std::move(m_rowOfEntry);
            m_start.clear();
            m_groupOfEntry = {};
            return;
        }
        m_start.assign(groupCount + 1, 0);
        for (unsigned int group : m_groupOfEntry) {
            ++m_start[group + 1];
        }
        for (std::size_t g = 0; g < groupCount; ++g) {
            m_start[g + 1] += m_start[g];
        }
        m_rows.resize(m_rowOfEntry.size());
        std::vector<unsigned int> next(m_start.begin(), m_start.end() - 1);
        for (std::size_t e = 0; e < m_rowOfEntry.size(); ++e) {
            m_rows[next[m_groupOfEntry[e]]++] = m_rowOfEntry[e];
        }
        m_groupOfEntry = {};
        m_rowOfEntry = {};
    }

    // The rows of `key`, in the order they were added; empty when there are none.
    std::span<unsigned int const> Find(Key const& key) const {
        auto const it = m_groups.find(key);
        if (it == m_groups.end()) {
            return {};
        }
        unsigned int const group = it->second;
        if (m_start.empty()) {
            return {m_rows.data() + group, 1};
        }
        return {m_rows.data() + m_start[group], m_start[group + 1] - m_start[group]};
    }

private:
    boost::unordered_flat_map<Key, unsigned int, Hash, Equal> m_groups;
    std::vector<unsigned int> m_groupOfEntry;
    std::vector<unsigned int> m_rowOfEntry;
    // m_start[g] to m_start[g + 1] are the places of group g in m_rows; empty when every group has
    // one row, which then stands at the place of its group.
    std::vector<unsigned int> m_start;
    std::vector<unsigned int> m_rows;
};

}  // namespace zel::vm::join
