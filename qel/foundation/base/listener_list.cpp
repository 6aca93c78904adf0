#include <qel/foundation/base/listener_list.h>

namespace qel {

SignalConnection::~SignalConnection() = default;

namespace internal {

ListenerList::~ListenerList() {
    disconnectAll();
    for (Emission* emission = m_emission; emission; emission = emission->m_outer) emission->m_list = nullptr;
}

bool ListenerList::disconnect(SignalConnection* connection) {
    SignalConnection* candidate = m_head;
    if (!candidate) return false;
    while (candidate != connection) {
        candidate = candidate->m_next;
        if (candidate == m_head) return false;
    }
    remove(connection);
    return true;
}

void ListenerList::disconnectAll() {
    while (m_head) remove(m_head);
}

SignalConnection* ListenerList::append(SignalConnection* connection) {
    if (m_head) {
        connection->m_next = m_head;
        connection->m_previous = m_head->m_previous;
        connection->m_previous->m_next = connection;
        m_head->m_previous = connection;
    } else {
        m_head = connection->m_next = connection->m_previous = connection;
    }
    return connection;
}

void ListenerList::onWeakPointerCleared(void* ownerData) {
    remove(static_cast<SignalConnection*>(ownerData));
}

void ListenerList::remove(SignalConnection* connection) {
    if (connection->m_next == connection) {
        m_head = nullptr;
    } else {
        connection->m_previous->m_next = connection->m_next;
        connection->m_next->m_previous = connection->m_previous;
        if (m_head == connection) m_head = connection->m_next;
    }
    connection->detach();

    // The outermost call of the connection that is still running deletes it.
    Emission* outermost = nullptr;
    for (Emission* emission = m_emission; emission; emission = emission->m_outer) {
        if (emission->m_current == connection) outermost = emission;
    }
    if (outermost) {
        outermost->m_ownsCurrent = true;
    } else {
        delete connection;
    }
}

} // namespace internal
} // namespace qel
