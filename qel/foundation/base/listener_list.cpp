#include <qel/foundation/base/listener_list.h>

namespace qel {

SignalConnection::~SignalConnection() = default;

namespace internal {

ListenerList::~ListenerList() {
    disconnectAll();
    for (Emission* emission = m_emission; emission; emission = emission->m_outer) {
        emission->m_list = nullptr;
        emission->m_isDisturbed = true;
    }
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
    disturbEmissions();
    for (Emission* emission = m_emission; emission; emission = emission->m_outer)
        if (emission->m_connection == connection) connection->m_calls += SignalConnection::kCall;
    if (connection->m_calls == 0) {
        delete connection;
    } else {
        connection->m_calls |= SignalConnection::kRemoved; // the last call that returns deletes it
    }
}

void ListenerList::endEmission(Emission* outer) {
    m_emission = outer;
    ++m_emissionNumber; // all count as not called again
    disturbEmissions();
}

void ListenerList::disturbEmissions() {
    for (Emission* emission = m_emission; emission; emission = emission->m_outer)
        emission->m_isDisturbed = true;
}

ListenerList::Emission::Emission(ListenerList& list)
    : m_list(&list), m_outer(list.m_emission), m_number(list.m_emissionNumber) {
    list.m_emission = this;
}

/// Ends the call of a connection that was removed during it.
void ListenerList::Emission::releaseConnection() {
    SignalConnection* const connection = std::exchange(m_connection, nullptr);
    if (connection && (connection->m_calls & SignalConnection::kRemoved) != 0) endCall(connection);
}

SignalConnection* ListenerList::Emission::settle() {
    releaseConnection();
    if (!m_list || !m_list->m_head) return nullptr;
    m_number = m_list->m_emissionNumber;
    m_isDisturbed = false;
    return first();
}

} // namespace internal
} // namespace qel
