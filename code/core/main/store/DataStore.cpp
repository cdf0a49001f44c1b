#include "zel/core/store/DataStore.h"

#include "CompositeValues.h"
#include "StoreFailure.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::core {

namespace {

bool HasMembers(StoreValue const& value) {
    return !value.IsSpecial() &&
           (value.GetStoreType() == StoreType::KeyMap || value.GetStoreType() == StoreType::Table);
}

TStringCore Quote(KeyPath const& path) {
    return L"\"" + path.ToString() + L"\"";
}

// Where a walk along a path stopped: the value reached and the number of segments taken.
struct Walk {
    std::shared_ptr<StoreValue> value;
    unsigned int depth = 0;
    bool complete = false;
};

Walk WalkPath(std::shared_ptr<StoreValue> const& root, KeyPath const& path) {
    Walk walk{root, 0, false};
    auto const& segments = path.GetSegments();
    for (; walk.depth < segments.size(); ++walk.depth) {
        if (!HasMembers(*walk.value)) {
            return walk;
        }
        auto member = walk.value->AsMemberLookup().GetMember(segments[walk.depth]->GetSegment());
        if (!member) {
            return walk;
        }
        walk.value = std::move(member);
    }
    walk.complete = true;
    return walk;
}

class DataStore final : public IDataStore {
public:
    explicit DataStore(std::shared_ptr<StoreValue> root) : m_root(std::move(root)) {}

    std::shared_ptr<StoreValue> GetValue(KeyPath const& path) const override {
        Walk walk = WalkPath(m_root, path);
        if (walk.complete) {
            return std::move(walk.value);
        }
        TStringCore text = L"no value at " + Quote(path);
        if (!HasMembers(*walk.value)) {
            text += L": " + Quote(path.Slice(0, walk.depth)) + L" holds a " +
                    detail::DescribeType(*walk.value) + L", which has no members";
        } else if (walk.depth + 1 < path.GetCount()) {
            text += L": " + Quote(path.Slice(0, walk.depth + 1)) + L" is missing";
        }
        ZEL_FAIL_WITH_TEXT(ZelError::KeyNotFound, text);
    }

    void SetValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) override {
        if (!value) {
            ZEL_FAIL_WITH_TEXT(ZelError::InvalidArgument, L"cannot set " + Quote(path) + L" to no value");
        }
        if (path.IsEmpty()) {
            if (value->IsSpecial() || value->GetStoreType() != StoreType::KeyMap) {
                ZEL_FAIL_WITH_TEXT(
                    ZelError::UnsupportedTypes,
                    L"the root of a store must be a key map, not a " + detail::DescribeType(*value));
            }
            m_root = value;
            return;
        }
        // Everything is checked before anything changes: Rebuild throws before it mutates.
        m_root = Rebuild(m_root, path, 0, value, true);
    }

    void UpdateValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) override {
        if (!FindValue(path)) {
            ZEL_FAIL_WITH_TEXT(ZelError::KeyNotFound,
                               L"cannot update " + Quote(path) + L": it holds no value");
        }
        SetValue(path, value);
    }

    std::shared_ptr<StoreValue> FindValue(KeyPath const& path) const override {
        Walk walk = WalkPath(m_root, path);
        return walk.complete ? std::move(walk.value) : nullptr;
    }

    std::shared_ptr<IStoreKeyMap const> GetRoot() const override {
        return std::shared_ptr<IStoreKeyMap const>(m_root, &m_root->AsKeyMap());
    }

    std::shared_ptr<StoreValue> GetRootValue() const override { return m_root; }

    std::unique_ptr<IDataStore> Clone() const override { return std::make_unique<DataStore>(m_root); }

    std::unique_ptr<MemoryUsage> GetMemoryUsage() const override {
        MemoryUsageBuilder builder;
        builder.AddBlock(this, sizeof(*this));
        m_root->CollectMemoryUsage(builder);
        return builder.Build();
    }

private:
    // The new value of `node` (null when missing) with `value` stored at the segments of `path` from
    // `depth` on. `exclusive` says that every key map from the root down to the parent of `node` is
    // held by this store alone; when `node` is too, it is updated in place, since no one else can
    // see it. Every check happens before any in-place change, so a failure changes nothing.
    std::shared_ptr<StoreValue> Rebuild(std::shared_ptr<StoreValue> const& node, KeyPath const& path,
                                        unsigned int depth, std::shared_ptr<StoreValue> const& value,
                                        bool exclusive) {
        if (depth == path.GetCount()) {
            return value;
        }
        TStringCore const& name = path.GetSegments()[depth]->GetSegment();
        if (!node) {
            StoreValueMap entries;
            entries.emplace(name, Rebuild(nullptr, path, depth + 1, value, false));
            return factory::MakeKeyMap(std::move(entries));
        }
        if (!node->IsSpecial() && node->GetStoreType() == StoreType::KeyMap) {
            auto* keyMap = const_cast<KeyMapValue*>(dynamic_cast<KeyMapValue const*>(node.get()));
            if (keyMap != nullptr) {
                bool const mine = exclusive && node.use_count() == 1;
                auto const found = keyMap->GetEntries().find(name);
                auto const& child = found == keyMap->GetEntries().end() ? s_none : found->second;
                auto newChild = Rebuild(child, path, depth + 1, value, mine);
                if (mine) {
                    keyMap->SetEntryInPlace(name, std::move(newChild));
                    return node;
                }
                StoreValueMap entries = keyMap->GetEntries();
                entries.insert_or_assign(name, std::move(newChild));
                return factory::MakeKeyMap(std::move(entries));
            }
        }
        if (!node->IsSpecial() && node->GetStoreType() == StoreType::Table) {
            return RebuildTable(*node, path, depth, value);
        }
        ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes,
                           L"cannot set " + Quote(path) + L": " + Quote(path.Slice(0, depth)) + L" holds a " +
                               detail::DescribeType(*node) + L", which has no members");
    }

    // A table with the column `name` (the segment at `depth`) set to the value, which must be the
    // leaf of the path and an array of the table's row count.
    static std::shared_ptr<StoreValue> RebuildTable(StoreValue const& node, KeyPath const& path,
                                                    unsigned int depth,
                                                    std::shared_ptr<StoreValue> const& value) {
        IStoreTable const& table = node.AsTable();
        TStringCore const& name = path.GetSegments()[depth]->GetSegment();
        KeyPath const column = path.Slice(0, depth + 1);
        if (depth + 1 != path.GetCount()) {
            ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes, L"cannot set " + Quote(path) + L": " +
                                                               Quote(column) +
                                                               L" is a table column, which has no members");
        }
        if (value->IsSpecial() || value->GetStoreType() != StoreType::Array) {
            ZEL_FAIL_WITH_TEXT(ZelError::CreateTableInputInvalid,
                               L"cannot set table column " + Quote(column) + L" to a " +
                                   detail::DescribeType(*value) + L": a column is an array");
        }
        if (!table.GetColumns().empty() && value->GetCount() != table.GetRowCount()) {
            ZEL_FAIL_WITH_TEXT(ZelError::CreateTableRowCountMismatch,
                               L"cannot set table column " + Quote(column) + L" to an array of " +
                                   TStringCore(std::to_wstring(value->GetCount())) +
                                   L" elements: the table has " +
                                   TStringCore(std::to_wstring(table.GetRowCount())) + L" rows");
        }
        auto columns = table.CloneColumns();
        columns->insert_or_assign(name, value);
        return factory::MakeTable(std::move(columns));
    }

    static inline std::shared_ptr<StoreValue> const s_none;

    std::shared_ptr<StoreValue> m_root;
};

}  // namespace

namespace factory {

std::unique_ptr<IDataStore> MakeDataStore(std::shared_ptr<StoreValue> root) {
    if (!root || root->IsSpecial() || root->GetStoreType() != StoreType::KeyMap) {
        ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes, L"the root of a store must be a key map, not " +
                                                           (root ? L"a " + detail::DescribeType(*root)
                                                                 : TStringCore(L"a missing value")));
    }
    return std::make_unique<DataStore>(std::move(root));
}

std::unique_ptr<IDataStore> MakeDataStore(StoreValueMap&& entries) {
    return MakeDataStore(MakeKeyMap(std::move(entries)));
}

std::unique_ptr<IDataStore> MakeDataStore(std::unique_ptr<StoreValueMap> entries) {
    return MakeDataStore(MakeKeyMap(std::move(entries)));
}

}  // namespace factory

KeyPathTypeLookup MakeStoreTypeLookup(IDataStore const& store) {
    // The root is immutable: the snapshot answers alike on every thread, whatever the store does.
    return KeyPathTypeLookup([root = store.GetRootValue()](KeyPath const& path) {
        Walk walk = WalkPath(root, path);
        return walk.complete ? walk.value->GetKeySegmentType() : KeySegmentType();
    });
}

}  // namespace zel::core
