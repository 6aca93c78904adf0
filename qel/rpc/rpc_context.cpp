#include <qel/rpc/rpc_context.h>

#include <qel/rpc/rpc_context_internal.h>

#include <utility>

namespace qel {

RpcContext::RpcContext(RpcContextInternal& call, Object* owner) : m_call(&call), m_owner(owner) {
    m_call->m_liveCount.fetch_add(1, std::memory_order_relaxed);
}

RpcContext::RpcContext(const RpcContext& other) : m_call(other.m_call), m_owner(other.m_owner) {
    if (m_call) m_call->m_liveCount.fetch_add(1, std::memory_order_relaxed);
}

RpcContext::RpcContext(RpcContext&& other) noexcept
    : m_call(std::exchange(other.m_call, nullptr)), m_owner(std::move(other.m_owner)) {}

RpcContext& RpcContext::operator=(RpcContext other) noexcept {
    std::swap(m_call, other.m_call);
    m_owner.swap(other.m_owner);
    return *this;
}

RpcContext::~RpcContext() {
    if (m_call && m_call->m_liveCount.fetch_sub(1, std::memory_order_acq_rel) == 1) m_call->finish();
}

Item::Iterator& RpcContext::args() const {
    return m_call->args();
}

const Item& RpcContext::getArguments() const {
    return m_call->getArguments();
}

Item& RpcContext::result() const {
    return m_call->result();
}

const String& RpcContext::getMethodName() const {
    return m_call->getMethodName();
}

void RpcContext::finish() const {
    m_call->finish();
}

Object* RpcContext::getCaller() const {
    return m_call->getCaller();
}

GUID RpcContext::getUserGUID() const {
    return m_call->getUserGUID();
}

bool RpcContext::hasRight(const char* right) const {
    return m_call->hasRight(right);
}

void RpcContext::getRemotePaths(Vector<String>& paths) const {
    m_call->getRemotePaths(paths);
}

String RpcContext::getFileTransferTargetPath(const char* target) const {
    return m_call->getFileTransferTargetPath(target);
}

void RpcContext::initiateFileTransfer(int direction, const Vector<Pair<String, String>>& files) const {
    m_call->initiateFileTransfer(direction, files);
}

bool RpcContext::getFileTransferStatus(int& code, String& status) const {
    return m_call->getFileTransferStatus(code, status);
}

void RpcContext::addEventHandler(EventHandler handler) const {
    m_call->addEventHandler(std::move(handler));
}

} // namespace qel
