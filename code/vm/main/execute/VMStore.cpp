#include "execute/VMStore.h"

#include <utility>

#include "execute/PartialBuffer.h"
#include "zel/core/store/KeyPathPrefixTree.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/utility/KeyPathUtil.h"

namespace zel::vm {

namespace {

// The buffer as the result sees it: whole when all of it was asked for, filtered when only some of
// its members were, and null when nobody asked for it. No `wanted` tree means everything is wanted.
std::shared_ptr<ITransformInputBuffer> Select(std::shared_ptr<ITransformInputBuffer> buffer,
                                              core::KeyPath const& path, core::KeyPathPrefixTree* wanted) {
    if (wanted == nullptr) {
        return buffer;
    }
    core::KeyPathPrefixTree const* const node = wanted->Add(path, false).first;
    if (node->IsConcrete() || node->HasConcreteAncestor()) {
        return buffer;
    }
    if (node->HasConcreteDescendant()) {
        return std::make_shared<PartialBuffer>(std::move(buffer), path, *wanted);
    }
    return nullptr;
}

}  // namespace

VMStore::VMStore(BufferMap const& bufferMap, core::OutputKeySet const& outputKeys) {
    std::unique_ptr<core::KeyPathPrefixTree> wanted;
    if (!outputKeys.empty()) {
        wanted = core::KeyPathPrefixTree::Make();
        for (core::KeyPath const& key : outputKeys) {
            // The result knows plain paths only, so "~init.a" asks for the input "a".
            bool const isInput = key.GetCount() > 1 && KeyPathUtil::Initial().IsPrefixOf(key);
            wanted->Add(isInput ? KeyPathUtil::DropInitial(key) : key, true);
        }
    }

    // Inputs and outputs share one path space in the result: "~init.a" and "a" are the same path.
    auto const present = core::KeyPathPrefixTree::Make();
    for (auto const& entry : bufferMap) {
        core::KeyPath const& key = entry.first;
        present->Add(KeyPathUtil::Initial().IsPrefixOf(key) ? KeyPathUtil::DropInitial(key) : key, true);
    }

    // Only paths without a present ancestor, so that a value is not listed beside its own parts: an
    // output beneath an input value is not in the result, which holds that input whole.
    for (core::KeyPath const& elder : present->GetEldersOfDescendants()) {
        // The program's output wins over the input of the same name.
        auto itr = bufferMap.find(elder);
        if (itr == bufferMap.cend()) {
            itr = bufferMap.find(KeyPathUtil::AddInitial(elder));
            ZEL_CHECK_LOGIC(itr != bufferMap.cend(), core::ZelError::LogicFailure);
        }
        if (auto selected = Select(itr->second, elder, wanted.get())) {
            m_entries.push_back(VMStoreEntry{elder, std::move(selected)});
        }
    }
}

std::unique_ptr<core::IDataStore> VMStore::MaterializeDataStore() const {
    auto store = core::factory::MakeDataStore(std::make_unique<core::StoreValueMap>());
    for (VMStoreEntry const& entry : m_entries) {
        if (!entry.buffer->CanRead()) {
            continue;
        }
        std::shared_ptr<core::StoreValue> const value = entry.buffer->Read();
        std::shared_ptr<core::StoreValue> const clone = value->Clone();
        store->SetValue(entry.path, clone);
    }
    return store;
}

}  // namespace zel::vm
