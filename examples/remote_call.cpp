// Remote calls: a provider holds named handlers, which calls of this process and of a transport run.
#include <qel/foundation/log/message_stream.h>
#include <qel/rpc/rpc_context.h>
#include <qel/rpc/rpc_handle.h>
#include <qel/rpc/rpc_provider.h>
#include <qel/store/core/item_iterator.h>
#include <qel/system/core/system.h>

#include <cstdio>
#include <vector>

namespace {

/// Calls a method and runs passes of the main loop until the call has ended.
void call(qel::RpcProvider& provider, const char* method, const qel::Item& arguments) {
    const qel::SmartPointer<qel::RpcHandle> handle = provider.createLocalRPC();
    handle->setMethodName(method);
    handle->setArguments(arguments);
    bool hasEnded = false;
    handle->delegateFinished.connect([&hasEnded](qel::RpcHandle*) { hasEnded = true; });
    handle->start();
    while (!hasEnded) qel::Object::system()->processEvents(0);
    std::printf("%s: %s\n", method, handle->hasFailed() ? "failed" : handle->result().asString().c_str());
}

/// Shows the log from warnings on.
void writeLogLine(const qel::logging::ConsoleLine& line) {
    if (line.level >= 2) std::printf("%.*s\n", static_cast<int>(line.text.size()), line.text.data());
}

void addNumbers(const qel::RpcContext& context) {
    qel::int64 sum = 0;
    while (context.args().hasNextElement()) sum += context.args().convertAsInteger();
    context.result().add(sum);
    context.finish();
}

} // namespace

int main() {
    qel::logging::setConsoleWriter(&writeLogLine);
    qel::System::initialize(nullptr);
    {
        qel::RpcProvider provider;
        provider.addRPC("numbers.add", &addNumbers, "adds numbers", "(Integer...) : Integer sum");

        // A handler may finish later: it keeps the context, and the caller waits meanwhile.
        std::vector<qel::RpcContext> waiting;
        provider.addRPC(
            "later", [&waiting](const qel::RpcContext& context) { waiting.push_back(context); }, "", "");
        qel::Object::system()->signalApplicationTick.connect([&waiting] {
            for (const qel::RpcContext& context : waiting) {
                context.result().add("finished in a later pass");
                context.finish();
            }
            waiting.clear();
        });

        call(provider, "numbers.add", qel::Item(1).add(2).add("39"));
        call(provider, "later", qel::Item());
        call(provider, "missing", qel::Item());
    }
    qel::System::deinitialize();
    qel::logging::setConsoleWriter(nullptr);
}

// Prints:
// numbers.add: {<INT:42>}
// later: {<STR:finished in a later pass>}
// [WARNING] unknown local rpc call 'missing' with arguments {}
// missing: failed
