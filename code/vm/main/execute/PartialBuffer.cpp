#include "execute/PartialBuffer.h"

#include <utility>

#include "zel/core/store/DataStore.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

PartialBuffer::PartialBuffer(std::shared_ptr<ITransformInputBuffer> source, core::KeyPath const& key,
                             core::KeyPathPrefixTree const& wanted)
    : m_source(std::move(source)) {
    core::KeyPathPrefixTree const* const node = wanted.Find(key);
    ZEL_CHECK_LOGIC_NOT_NULL(node, core::ZelError::LogicFailure);
    // The tree is dropped after construction: keep the wanted paths relative to the buffer's value.
    unsigned int const depth = key.GetCount();
    for (core::KeyPath const& path : node->GetEldersOfDescendants()) {
        m_relativePaths.insert(path.Slice(depth));
    }
}

bool PartialBuffer::CanRead() const {
    return m_source->CanRead();
}

std::shared_ptr<core::StoreValue> PartialBuffer::Peek() const {
    // A partial buffer stands over a value that is read once, when the result is materialised, so
    // this read counts as the consumer's.
    std::shared_ptr<core::StoreValue> const value = m_source->Read();
    std::unique_ptr<core::IDataStore> const from = core::factory::MakeDataStore(value);
    std::unique_ptr<core::IDataStore> const to =
        core::factory::MakeDataStore(core::factory::MakeKeyMap(std::make_unique<core::StoreValueMap>()));
    // A wanted member that the value lacks fails (KeyNotFound): a misspelt output key is an error,
    // not a silently smaller result.
    for (core::KeyPath const& path : m_relativePaths) {
        to->SetValue(path, from->GetValue(path));
    }
    return to->GetRootValue();
}

std::shared_ptr<core::StoreValue> PartialBuffer::Read() {
    return Peek();
}

}  // namespace zel::vm
