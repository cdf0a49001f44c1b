#include "vorsys/thread/TCancelEvent.h"

TCancelEvent::TCancelEvent(RefCntPtr<TCancelEvent, RefCntObject> parent) : m_parent(std::move(parent)) {
    if (m_parent) {
        // The parent reaches this event through a plain pointer: the destructor detaches before
        // the event goes, and detaching waits for a signal of the parent in flight.
        m_parent->AddOnSignalCallback(this, [this] { Signal(); });
    }
}

TCancelEvent::~TCancelEvent() {
    DetachFromParent();
}

void TCancelEvent::Signal() {
    m_event.Signal();
    m_callbacks.Fire();
}

void TCancelEvent::AddOnSignalCallback(void* key, std::function<void()> callback) {
    m_callbacks.Add(key, std::move(callback));
}

void TCancelEvent::RemoveOnSignalCallback(void* key) {
    m_callbacks.Remove(key);
}

void TCancelEvent::DetachFromParent() {
    RefCntPtr<TCancelEvent, RefCntObject> parent;
    {
        std::lock_guard lock(m_parentMutex);
        parent = std::move(m_parent);
    }
    if (parent) {
        parent->RemoveOnSignalCallback(this);
    }
}
