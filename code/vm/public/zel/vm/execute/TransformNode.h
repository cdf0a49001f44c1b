#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/core/store/KeyPath.h"
#include "zel/vm/execute/TransformBuffer.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

// One transform bound to the buffers of its edges. A node reads all its inputs before the
// transform runs and writes its outputs only after it has returned.
class TransformNode {
public:
    explicit TransformNode(std::shared_ptr<Transform> transform);

    void AddInput(core::KeyPath const& path, std::shared_ptr<ITransformInputBuffer> buffer);
    void AddOutput(core::KeyPath const& path, std::shared_ptr<ITransformOutputBuffer> buffer);

    // Every input buffer can be read (true for a node without inputs).
    bool InputsReady() const;
    // Reads the inputs, runs the transform and writes the outputs. An output path that the
    // transform did not yield is dug out of the nearest ancestor it did yield. Returns false,
    // writing nothing, when `cancel` asks to stop after the transform.
    bool Execute(ICancellationTokenSource const* cancel);

    std::vector<core::KeyPath> const& GetInputPaths() const { return m_inputPaths; }
    std::vector<core::KeyPath> const& GetOutputPaths() const { return m_outputPaths; }
    std::shared_ptr<Transform> const& GetTransform() const { return m_transform; }

private:
    std::shared_ptr<Transform> m_transform;
    std::vector<core::KeyPath> m_inputPaths;
    std::vector<core::KeyPath> m_outputPaths;
    std::vector<std::shared_ptr<ITransformInputBuffer>> m_inputBuffers;
    std::vector<std::shared_ptr<ITransformOutputBuffer>> m_outputBuffers;
};

}  // namespace zel::vm

#pragma GCC visibility pop
