#include <qel/rpc/rpc_handle.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/rpc/rpc_registry_p.h>
#include <qel/system/core/system.h>

#include <utility>

namespace qel {

RpcHandle::RpcHandle(SmartPointer<internal::RpcRegistry> registry) : m_registry(std::move(registry)) {}

RpcHandle::~RpcHandle() = default;

bool RpcHandle::start() {
    if (m_started.exchange(true)) return true;
    if (!m_registry->post(this)) {
        fail();
        return false;
    }
    logging::info() << "posted mainqueue";
    return true;
}

void RpcHandle::wait() {
    while (!isFinished() && !m_registry->isClosed()) System::sleep(50);
}

void RpcHandle::execute(TaskContext&) {
    const auto found = m_registry->handlers.find(getMethodName());
    if (found == m_registry->handlers.end()) {
        logging::warning() << "unknown local rpc call '" << getMethodName() << "' with arguments "
                           << getArguments().asString();
        fail();
        return;
    }
    const std::shared_ptr<const RpcFunction> handler =
        found->second; // a copy, because the handler may remove itself
    run(*handler, this);
}

void RpcHandle::fail() {
    m_failed.store(true, std::memory_order_release);
    finish();
}

void RpcHandle::finish() {
    if (markFinished()) delegateFinished(this);
}

String RpcHandle::getFileTransferTargetPath(const char*) const {
    return {};
}

void RpcHandle::initiateFileTransfer(int, const Vector<Pair<String, String>>&) {}

bool RpcHandle::getFileTransferStatus(int&, String&) const {
    return false;
}

void RpcHandle::getRemotePaths(Vector<String>&) const {}

bool RpcHandle::hasRight(const char*) const {
    return false;
}

Object* RpcHandle::getCaller() const {
    return nullptr;
}

} // namespace qel
