#include <qel/rpc/rpc_context_internal.h>

#include <qel/foundation/log/message_stream.h>

#include <utility>

namespace qel {

RpcContextInternal::RpcContextInternal() : m_args(m_arguments.getIterator()) {}

RpcContextInternal::~RpcContextInternal() = default;

void RpcContextInternal::setArguments(const Item& arguments) {
    m_arguments = arguments;
    m_args = m_arguments.getIterator();
}

void RpcContextInternal::addEventHandler(RpcContext::EventHandler handler) {
    m_liveCount.fetch_add(1, std::memory_order_relaxed);
    m_eventHandlers.push_back(std::move(handler));
    ++m_eventHandlerCount;
}

/// The event handlers that are called for one event. They are removed from the list meanwhile, because they
/// may add handlers and cause further events. Those that remain are put back in front.
class RpcContextInternal::Round {
public:
    explicit Round(RpcContextInternal& call) : m_call(call) { handlers.swap(call.m_eventHandlers); }
    Round(const Round&) = delete;
    Round& operator=(const Round&) = delete;
    ~Round() { m_call.m_eventHandlers.splice(m_call.m_eventHandlers.begin(), handlers); }

    List<RpcContext::EventHandler> handlers;

private:
    RpcContextInternal& m_call;
};

void RpcContextInternal::callEventHandlers(Object* caller) {
    const SmartPointer<Object> alive(caller);
    Round round(*this);
    for (auto handler = round.handlers.begin(); handler != round.handlers.end();) {
        const RpcContext context(*this, caller);
        if ((*handler)(context)) {
            ++handler;
            continue;
        }
        handler = round.handlers.erase(handler);
        --m_eventHandlerCount;
        m_liveCount.fetch_sub(1, std::memory_order_acq_rel);
        logIfForgotten(" in eventhandler");
    }
}

void RpcContextInternal::run(const RpcFunction& function, Object* owner) {
    const RpcContext context(*this, owner);
    function(context);
    logIfForgotten("");
}

/// Logs that the call was not finished if the caller holds its only context.
void RpcContextInternal::logIfForgotten(const char* where) const {
    if (m_liveCount.load(std::memory_order_acquire) != 1 || isFinished()) return;
    logging::error() << "rpc call '" << m_methodName << "' ended without calling finish" << where;
}

} // namespace qel
