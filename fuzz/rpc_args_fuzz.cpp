// Calls every registered function with arbitrary Items. The input is a program: which call to make with which
// arguments, what to do with the contexts that handlers kept, and when to continue a transfer. Each call must
// finish exactly once.
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/process_run.h>
#include <qel/rpc/rpc_provider.h>
#include <qel/rpc/update_mechanism.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/records/options_db.h>
#include <qel/system/core/system.h>
#include <qel/testing/machine.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>

using namespace qel;

namespace {

/// Decodes the program; after its end everything is 0.
class Program {
public:
    Program(const uint8* data, size_t size) : m_data(data), m_size(size) {}

    bool isAtEnd() const { return m_size == 0; }
    uint8 byte() { return m_size == 0 ? 0 : (--m_size, *m_data++); }
    /// Returns the plain bytes of an Item.
    Item item() {
        const size_t size = std::min<size_t>(byte(), m_size);
        const Item item(Item::PlainMode, m_data, size);
        m_data += size;
        m_size -= size;
        return item;
    }

private:
    const uint8* m_data;
    size_t m_size;
};

/// A call that arrived through a transport with files.
class TransportCall : public Object, public RpcContextInternal {
public:
    using RpcContextInternal::run;

    void finish() override {
        if (markFinished()) ++finished;
    }
    String getFileTransferTargetPath(const char* target) const override { return target; }
    void initiateFileTransfer(int, const Vector<Pair<String, String>>&) override {}
    bool getFileTransferStatus(int& code, String& status) const override {
        if (!transferEnd) return false;
        code = *transferEnd;
        status = "end";
        return true;
    }
    void getRemotePaths(Vector<String>& paths) const override { paths.push_back("/"); }
    bool hasRight(const char*) const override { return true; }
    Object* getCaller() const override { return nullptr; }
    GUID getUserGUID() const override { return {}; }

    int finished = 0;
    std::optional<int> transferEnd;
};

platform::RunResult runNothing(const std::vector<std::string>&, const platform::RunOptions&) {
    return {true, 0, 0};
}

/// A server's calls, and calls of every kind in every state.
class World {
public:
    World() : m_options(new OptionsDB(Item(&m_store).add("options"))), m_update(new UpdateMechanism) {
        m_options->addOption("client_options:a", "1", "Pool", "label", "text", 0x80);
        m_options->addOption("b", "x", "", "", "", 0x82);
        m_update->delegateBackup.connect([this] { return m_backsUp; });
        m_options->registerRpcCalls(&m_provider);
        m_update->registerRpcCalls(&m_provider);
        m_provider.addRPC(
            "keep", [this](const RpcContext& context) { m_kept.push_back(context); }, "", "");
        m_provider.addRPC(
            "wait",
            [](const RpcContext& context) {
                context.addEventHandler([](const RpcContext& event) {
                    int code = 1;
                    String status;
                    if (!event.getFileTransferStatus(code, status)) return true;
                    if (code == 0) event.finish();
                    return code > 5;
                });
            },
            "", "");
        m_methods = m_provider.getMethodNames();
        m_methods.push_back("nobody");
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World() { end(); }

    void step(Program& program) {
        const uint8 choice = program.byte();
        const uint8 which = program.byte();
        switch (choice % 7) {
        case 0:
            return startLocal(program, which);
        case 1:
            return startRemote(program, which);
        case 2:
            if (!m_kept.empty()) m_kept.erase(m_kept.begin() + which % m_kept.size());
            return;
        case 3:
            if (!m_kept.empty()) m_kept[which % m_kept.size()].finish();
            return;
        case 4:
            return moveOn(program, which);
        case 5:
            if (which == 0) m_update.reset();
            m_backsUp = which == 1; // otherwise it would search for a running installer, which is slow
            return;
        default:
            internal::g_system->processEvents(0);
        }
    }

private:
    const String& method(uint8 which) const { return m_methods[which % m_methods.size()]; }

    void startLocal(Program& program, uint8 which) {
        const SmartPointer<RpcHandle> call = m_provider.createLocalRPC();
        call->setMethodName(method(which).c_str());
        call->setArguments(program.item());
        const size_t index = m_finished.size();
        m_finished.push_back(0);
        call->delegateFinished.connect([this, index](RpcHandle*) { ++m_finished[index]; });
        call->start();
        m_local.push_back(call);
    }

    void startRemote(Program& program, uint8 which) {
        const auto handler = m_provider.findRPC(method(which).c_str());
        const SmartPointer<TransportCall> call(new TransportCall);
        call->setMethodName(method(which).c_str());
        call->setArguments(program.item());
        if (!handler) return;
        call->run(*handler, call.get());
        m_remote.push_back(call);
    }

    void moveOn(Program& program, uint8 which) {
        if (m_remote.empty()) return;
        TransportCall& call = *m_remote[which % m_remote.size()];
        const uint8 state = program.byte();
        if (state < 8) call.transferEnd = state;
        call.callEventHandlers(&call);
    }

    /// Releases everything. A local call waits for events that only this function causes.
    void end() {
        internal::g_system->processEvents(0);
        m_kept.clear();
        for (const auto& call : m_remote) {
            call->transferEnd = 0;
            call->callEventHandlers(call.get());
            require(call->finished == 1 && !call->hasEventHandlers());
        }
        for (size_t i = 0; i < m_local.size(); ++i) {
            require(m_local[i]->hasEventHandlers() ? m_finished[i] == 0 : m_finished[i] == 1);
        }
    }

    MemoryStore m_store;
    RpcProvider m_provider;
    SmartPointer<OptionsDB> m_options;
    SmartPointer<UpdateMechanism> m_update;
    bool m_backsUp = false;
    Vector<String> m_methods;
    Vector<RpcContext> m_kept;
    Vector<SmartPointer<RpcHandle>> m_local;
    Vector<int> m_finished; // the number of times that each local call finished
    Vector<SmartPointer<TransportCall>> m_remote;
};

void setUp() {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    if (internal::g_system) return;
    System::initialize({});
    const auto folder = std::filesystem::temp_directory_path() / "qel_rpc_args_fuzz";
    std::filesystem::create_directories(folder / "NovixServer");
    internal::g_system->setApplicationDirectory(folder.string());
    seams::replaceRunProcess(&runNothing);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    setUp();
    Program program(data, size);
    World world;
    while (!program.isAtEnd()) world.step(program);
    return 0;
}
