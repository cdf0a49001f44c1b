#include "execute/StoreValueTransformBufferFactory.h"

#include <utility>

#include "execute/ExternalInputValue.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/utility/KeyPathUtil.h"

namespace zel::vm {

namespace {

// A buffer that keeps its value until the next write, however often it is read.
class StoreValueTransformBufferImpl final : public StoreValueTransformBuffer {
public:
    bool CanRead() const override { return m_value != nullptr; }
    std::shared_ptr<core::StoreValue> Peek() const override { return m_value; }
    std::shared_ptr<core::StoreValue> Read() override { return m_value; }
    void Write(std::shared_ptr<core::StoreValue> value) override { m_value = std::move(value); }

private:
    std::shared_ptr<core::StoreValue> m_value;
};

// A buffer that hands its reference to the last of its expected readers, so that an intermediate
// value is released as soon as nobody needs it (and the last reader may even reuse it). With zero
// expected readers a read never empties it.
class SelfResettingBufferImpl final : public SelfResettingBuffer {
public:
    explicit SelfResettingBufferImpl(unsigned long long expectedReaders)
        : m_expectedReaders(expectedReaders) {}

    bool CanRead() const override { return m_value != nullptr; }
    std::shared_ptr<core::StoreValue> Peek() const override { return m_value; }

    std::shared_ptr<core::StoreValue> Read() override {
        ++m_readCount;
        if (m_readCount == m_expectedReaders) {
            return std::move(m_value);
        }
        return m_value;
    }

    void Write(std::shared_ptr<core::StoreValue> value) override {
        m_readCount = 0;
        m_value = std::move(value);
    }

private:
    unsigned long long const m_expectedReaders;
    unsigned long long m_readCount = 0;
    std::shared_ptr<core::StoreValue> m_value;
};

}  // namespace

StoreValueTransformBufferFactory::StoreValueTransformBufferFactory()
    : m_bufferMap(std::make_unique<BufferMap>()), m_externalInputs(std::make_unique<ExternalInputMap>()) {}

StoreValueTransformBufferFactory::~StoreValueTransformBufferFactory() = default;

void StoreValueTransformBufferFactory::Register(core::KeyPath const& key,
                                                std::shared_ptr<StoreValueTransformBuffer> const& buffer,
                                                std::vector<unsigned int> const& sources,
                                                std::vector<unsigned int> const& sinks) {
    auto const result = m_bufferMap->emplace(key, buffer);
    ZEL_CHECK(result.second, core::ZelError::DuplicateBuffer);
    if (!sources.empty()) {
        return;
    }
    // Nobody writes this edge: its value comes from the store, where inputs live under "~init".
    ZEL_CHECK(KeyPathUtil::Initial().IsPrefixOf(key), core::ZelError::InitialKeyExpected);
    ExternalInput& input = (*m_externalInputs)[key];
    if (input.buffer == nullptr) {
        input.buffer = buffer;
    }
    input.readers.insert(sinks.begin(), sinks.end());
}

std::shared_ptr<StoreValueTransformBuffer> StoreValueTransformBufferFactory::MakeBuffer(
    core::KeyPath const& key, std::vector<unsigned int> const& sources,
    std::vector<unsigned int> const& sinks) {
    auto buffer = std::make_shared<StoreValueTransformBufferImpl>();
    Register(key, buffer, sources, sinks);
    return buffer;
}

std::shared_ptr<StoreValueTransformBuffer> StoreValueTransformBufferFactory::MakeSelfResettingBuffer(
    core::KeyPath const& key, std::vector<unsigned int> const& sources,
    std::vector<unsigned int> const& sinks) {
    // A sink named twice reads twice, so it counts twice.
    auto buffer = std::make_shared<SelfResettingBufferImpl>(sinks.size());
    Register(key, buffer, sources, sinks);
    return buffer;
}

void StoreValueTransformBufferFactory::AddMissingStoreKeys(core::IDataStore const& store) {
    std::vector<unsigned int> const none;
    auto const root = store.GetRoot();
    for (auto const& entry : root->GetEntries()) {
        core::KeyPath const path = KeyPathUtil::AddInitial(core::KeyPath(entry.first));
        if (m_bufferMap->find(path) == m_bufferMap->end()) {
            MakeBuffer(path, none, none);
        }
    }
}

std::unique_ptr<ExternalInputMap> StoreValueTransformBufferFactory::BindStoreValues(
    core::IDataStore const& store) {
    AddMissingStoreKeys(store);
    for (auto const& [key, input] : *m_externalInputs) {
        ZEL_CHECK(KeyPathUtil::Initial().IsPrefixOf(key), core::ZelError::InitialKeyExpected);
        input.buffer->Write(ReadExternalInput(store, KeyPathUtil::DropInitial(key), key));
    }
    auto result = std::make_unique<ExternalInputMap>();
    result->swap(*m_externalInputs);
    return result;
}

std::unique_ptr<BufferMap> StoreValueTransformBufferFactory::TakeBufferMap() {
    auto result = std::make_unique<BufferMap>();
    result->swap(*m_bufferMap);
    return result;
}

}  // namespace zel::vm
