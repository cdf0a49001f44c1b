#pragma once

#pragma GCC visibility push(default)

namespace zel::vm {

// The four settings of a run, handed by value to every transform. Nothing validates them: zero is
// accepted in each.
class VMOptions {
public:
    static constexpr bool DefaultUseVectorizedTransforms = true;
    static constexpr unsigned int DefaultBaseVectorizationBlockSize = 1024;
    static constexpr bool DefaultUseParallelTransforms = true;
    static constexpr unsigned int DefaultMaxWorkerThreadsToUse = 4;

    VMOptions() = default;
    VMOptions(VMOptions const&) = default;
    VMOptions& operator=(VMOptions const&) = default;
    ~VMOptions() = default;

    bool UseVectorizedTransforms() const { return m_useVectorizedTransforms; }
    void SetUseVectorizedTransforms(bool value) { m_useVectorizedTransforms = value; }
    unsigned int GetBaseVectorizationBlockSize() const { return m_baseVectorizationBlockSize; }
    void SetBaseVectorizationBlockSize(unsigned int value) { m_baseVectorizationBlockSize = value; }
    bool UseParallelTransforms() const { return m_useParallelTransforms; }
    void SetUseParallelTransforms(bool value) { m_useParallelTransforms = value; }
    unsigned int GetMaxWorkerThreadsToUse() const { return m_maxWorkerThreadsToUse; }
    void SetMaxWorkerThreadsToUse(unsigned int value) { m_maxWorkerThreadsToUse = value; }

private:
    bool m_useVectorizedTransforms = DefaultUseVectorizedTransforms;
    unsigned int m_baseVectorizationBlockSize = DefaultBaseVectorizationBlockSize;
    bool m_useParallelTransforms = DefaultUseParallelTransforms;
    unsigned int m_maxWorkerThreadsToUse = DefaultMaxWorkerThreadsToUse;
};

}  // namespace zel::vm

#pragma GCC visibility pop
