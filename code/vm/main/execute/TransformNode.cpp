#include "zel/vm/execute/TransformNode.h"

#include <utility>

#include "vorsys/string/TStringCore.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

TransformNode::TransformNode(std::shared_ptr<Transform> transform) : m_transform(std::move(transform)) {
    ZEL_CHECK_NOT_NULL(m_transform, core::ZelError::InvalidArgument);
}

void TransformNode::AddInput(core::KeyPath const& path, std::shared_ptr<ITransformInputBuffer> buffer) {
    m_inputPaths.push_back(path);
    m_inputBuffers.push_back(std::move(buffer));
}

void TransformNode::AddOutput(core::KeyPath const& path, std::shared_ptr<ITransformOutputBuffer> buffer) {
    m_outputPaths.push_back(path);
    m_outputBuffers.push_back(std::move(buffer));
}

bool TransformNode::InputsReady() const {
    for (auto const& inputBuffer : m_inputBuffers) {
        if (!inputBuffer->CanRead()) {
            return false;
        }
    }
    return true;
}

namespace {

// The value for `path`: the transform's own, or else the member reached from the nearest ancestor
// that the transform yielded (a key map whose members are the outputs).
std::shared_ptr<core::StoreValue> FindOutput(TransformValues const& outputs, core::KeyPath const& path) {
    if (outputs.HasValue(path)) {
        return outputs.GetValue(path);
    }
    core::KeyPath ancestor = path;
    std::vector<TStringCore> names;
    while (!outputs.HasValue(ancestor) && ancestor.GetCount() >= 2) {
        names.push_back(ancestor.GetLeaf());
        ancestor = ancestor.GetParent();
    }
    if (!outputs.HasValue(ancestor)) {
        ZEL_FAIL(core::ZelError::BufferNotReadable);
    }
    std::shared_ptr<core::StoreValue> value = outputs.GetValue(ancestor);
    for (auto name = names.rbegin(); name != names.rend() && value != nullptr; ++name) {
        value = value->AsMemberLookup().GetMember(*name);
    }
    // A missing member leaves the buffer empty, as a null result does.
    return value;
}

}  // namespace

bool TransformNode::Execute(ICancellationTokenSource const* cancel) {
    TransformValues inputs;
    for (std::size_t i = 0; i < m_inputBuffers.size(); ++i) {
        auto const& inputBuffer = m_inputBuffers[i];
        ZEL_CHECK(inputBuffer->CanRead(), core::ZelError::LogicFailure);
        inputs.SetValue(m_inputPaths[i], inputBuffer->Read());
    }

    TransformValues const outputs = m_transform->DoTransform(inputs, cancel);
    // Whatever a cancelled transform returned is dropped, and no buffer changes.
    if (IsCancelled(cancel)) {
        return false;
    }

    for (std::size_t i = 0; i < m_outputBuffers.size(); ++i) {
        m_outputBuffers[i]->Write(FindOutput(outputs, m_outputPaths[i]));
    }
    return true;
}

}  // namespace zel::vm
