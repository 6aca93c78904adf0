#include <qel/rpc/rpc_provider.h>

#include <qel/rpc/rpc_registry_p.h>

#include <algorithm>
#include <utility>

namespace qel {

RpcProvider::RpcProvider() : m_registry(new internal::RpcRegistry(&m_queue)) {}

RpcProvider::~RpcProvider() {
    m_registry->close();
}

void RpcProvider::addRPC(const char* name, RpcFunction handler, const char*, const char*) {
    m_registry->handlers[name] = std::make_shared<const RpcFunction>(std::move(handler));
}

void RpcProvider::addRPCWithRight(const char* name, const char* right, RpcFunction handler,
                                  const char* description, const char* signature) {
    addRPC(name, std::move(handler), description, signature);
    m_registry->rights[name] = right;
}

void RpcProvider::addRpcDocu(const char*, const char*, const char*) {}

void RpcProvider::removeRPC(const char* name) {
    m_registry->handlers.erase(name);
}

SmartPointer<RpcHandle> RpcProvider::createLocalRPC() {
    return new RpcHandle(m_registry);
}

std::shared_ptr<const RpcFunction> RpcProvider::findRPC(const char* name) const {
    const auto found = m_registry->handlers.find(name);
    return found == m_registry->handlers.end() ? nullptr : found->second;
}

const String* RpcProvider::findRight(const char* name) const {
    const auto found = m_registry->rights.find(name);
    return found == m_registry->rights.end() ? nullptr : &found->second;
}

Vector<String> RpcProvider::getMethodNames() const {
    Vector<String> names;
    for (const auto& [name, handler] : m_registry->handlers) names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace qel
