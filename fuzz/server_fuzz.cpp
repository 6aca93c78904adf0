// The whole server in one process, with peers that connect, send bytes, calls and batches, stop reading and
// disconnect, and workers that send damaged packets. Each step is encoded by a few bytes of the input.
// Replies must always be complete and of limited size, and another peer must be answered.
#include <fuzz/require.h>
#include <hosts/jobs/job_packets.h>
#include <hosts/qelserver/json_rpc_channel.h>
#include <hosts/qelserver/server.h>
#include <nlohmann/json.hpp>
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/packet/packet.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace qel;
using namespace qelserver;
using nlohmann::json;
using platform::FileError;

namespace {

constexpr uint32 kPeerUser = 71; // may make all calls except those that install packages
constexpr size_t kMostPeers = 4;
constexpr size_t kMostReplyBytes = 3 << 20; // of the results and ids of one message

/// The part of the input that was not used yet.
class Steps {
public:
    Steps(const uint8* data, size_t size) : m_bytes(reinterpret_cast<const char*>(data), size) {}

    bool isOver() const { return m_bytes.empty(); }
    unsigned byte() { return take(1).empty() ? 0 : static_cast<uint8>(m_last.front()); }
    std::string_view take(size_t count) {
        m_last = m_bytes.substr(0, count);
        m_bytes.remove_prefix(m_last.size());
        return m_last;
    }

private:
    std::string_view m_bytes;
    std::string_view m_last;
};

/// The two directions of a connection.
struct Wire {
    std::string toServer;
    std::string replies; // checked and removed line by line
    size_t room = 0;     // how many bytes the peer will read
    bool hasEnded = false;
    bool isLost = false;
    bool isOpen = true;
};

class WireChannel : public JsonRpcChannel {
public:
    explicit WireChannel(std::shared_ptr<Wire> wire) : m_wire(std::move(wire)) {}
    ~WireChannel() override { m_wire->isOpen = false; }

    FileError receive(char* data, size_t size, size_t& done) override {
        done = std::min(size, m_wire->toServer.size());
        if (m_wire->isLost) return std::make_error_code(std::errc::connection_reset);
        if (done == 0 && !m_wire->hasEnded)
            return std::make_error_code(std::errc::resource_unavailable_try_again);
        std::copy_n(m_wire->toServer.begin(), done, data);
        m_wire->toServer.erase(0, done);
        return {};
    }
    FileError send(const char* data, size_t size, size_t& done) override {
        done = std::min(size, m_wire->room);
        if (m_wire->isLost) return std::make_error_code(std::errc::broken_pipe);
        if (done == 0) return std::make_error_code(std::errc::resource_unavailable_try_again);
        m_wire->room -= done;
        m_wire->replies.append(data, done);
        return {};
    }

private:
    const std::shared_ptr<Wire> m_wire;
};

void requireReply(const json& reply) {
    require(reply.is_object() && reply["jsonrpc"] == "2.0" && reply.contains("id"));
    require(reply.contains("result") != reply.contains("error"));
}

/// Checks complete replies and removes them.
void checkReplies(std::string& replies) {
    for (size_t end = replies.find('\n'); end != replies.npos; end = replies.find('\n')) {
        require(end <= kMostReplyBytes);
        const json reply = json::parse(replies.substr(0, end));
        if (reply.is_array())
            for (const json& part : reply) requireReply(part);
        else
            requireReply(reply);
        replies.erase(0, end + 1);
    }
    require(replies.size() <= kMostReplyBytes);
}

/// A worker without a process, which sends what the input contains.
class ScriptedWorker : public Worker {
public:
    explicit ScriptedWorker(std::vector<ScriptedWorker*>& all) : Worker("") { all.push_back(this); }

    void begin() override { m_said.push_back(event::Started{1}); }
    void assign(const Job& job, const Item&) override {
        m_id = job.id;
        m_attempt = job.attempts;
    }
    Vector<WorkerEvent> takeEvents() override {
        Vector<WorkerEvent> events = std::exchange(m_said, {});
        for (WorkerEvent& event : Worker::takeEvents()) events.push_back(std::move(event));
        return events;
    }

    void lose() {
        m_said.push_back(event::Lost{});
        m_said.push_back(event::Started{2});
    }
    /// Sends a packet about the current job, damaged in some bytes. @param kind  selects its scheme.
    void say(unsigned kind, std::string_view content, Steps& damage) {
        PacketScheme* const schemes[] = {qeljobs::progressScheme(), qeljobs::resultScheme(),
                                         qeljobs::failureScheme()};
        const SmartPointer<Packet> packet(new Packet(schemes[kind % 3], 0));
        packet->set("id", m_id);
        packet->set("attempt", static_cast<int32>(m_attempt));
        const auto* bytes = reinterpret_cast<const uint8*>(content.data());
        if (kind % 3 == 1) packet->setItem("result", Item(Item::PlainMode, bytes, content.size()));
        if (kind % 3 == 2) packet->setString("error", String(std::string(content)));
        String text = packet->convertToBase16String();
        for (unsigned count = kind / 64; count > 0 && !text.empty(); --count) {
            const size_t at = damage.byte() % text.size();
            text[static_cast<int>(at)] = "0123456789ABCDEF"[damage.byte() % 16];
        }
        const SmartPointer<Packet> sent = Packet::createFromBase16String("PKTB16[" + text + "]");
        if (sent) onPacket(sent.get());
    }

private:
    Vector<WorkerEvent> m_said;
    GUID m_id;
    int m_attempt = 0;
};

/// A rights file that exists while the process runs.
class RightsFile {
public:
    RightsFile() {
        std::ofstream(path) << "user 71: rpc:jobs.* rpc:workers.list rpc:log.query rpc:statistics.list "
                               "rpc:advanced_option_get rpc:test_advanced_option_set rpc:backup_data\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    }
    ~RightsFile() { std::filesystem::remove(path); }

    const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                       ("qel-server-fuzz-" + std::to_string(std::random_device()()));
};

Options inProcessOptions() {
    static const RightsFile rights;
    Options options;
    options.rights = rights.path;
    options.workers = 2;
    return options;
}

class Scene {
public:
    Scene(ManualClock& clock, const uint8* data, size_t size)
        : m_clock(clock), m_steps(data, size), m_server(inProcessOptions(), [this] {
              return SmartPointer<Worker>(new ScriptedWorker(m_workers));
          }) {
        require(m_server.good());
    }

    void play() {
        while (!m_steps.isOver()) step();
        requireAnswer();
        for (const auto& wire : m_wires) { // otherwise the server would wait for peers to read replies
            if (wire) wire->isLost = true;
        }
    }

private:
    void step() {
        const unsigned choice = m_steps.byte();
        switch (choice % 8) {
        case 0:
            return send(m_steps.take(m_steps.byte()));
        case 1:
            return send(call());
        case 2:
            return send(batch(choice / 8 * 4)); // may exceed the limit
        case 3:
            return worker().say(m_steps.byte(), m_steps.take(m_steps.byte()), m_steps);
        case 4:
            return leave(choice / 8);
        case 5:
            wire().room += m_steps.byte() * 64;
            return;
        case 6:
            return worker().lose();
        default:
            m_clock.advanceMs(choice);
            return pass();
        }
    }

    Wire& wire() {
        const size_t place = m_steps.byte() % kMostPeers;
        if (!m_wires[place] || !m_wires[place]->isOpen || m_wires[place]->isLost) m_wires[place] = connect();
        return *m_wires[place];
    }
    std::shared_ptr<Wire> connect() {
        auto wire = std::make_shared<Wire>();
        m_server.rpc().adopt(std::make_unique<WireChannel>(wire), {kPeerUser, 1, {}});
        return wire;
    }
    ScriptedWorker& worker() { return *m_workers[m_steps.byte() % m_workers.size()]; }
    void leave(unsigned how) {
        Wire& left = wire();
        if (how % 2 == 0) left.hasEnded = true;
        if (how % 2 == 1) left.isLost = true;
    }
    void send(std::string_view text) { wire().toServer += text; }
    void pass() {
        m_server.poll();
        for (const auto& wire : m_wires) {
            if (wire) checkReplies(wire->replies);
        }
    }

    std::string call() {
        static constexpr std::array kCalls = {
            R"("jobs.submit","params":["hash",["/a"]])",
            R"("jobs.submit","params":["compress",["/a","/b"],true])",
            R"("jobs.list","params":[1000])",
            R"("log.query","params":[1000])",
            R"("workers.list")",
            R"("statistics.list")",
            R"("test_advanced_option_set","params":["server:log_lines","5"])",
            R"("test_advanced_option_set","params":["server:job_attempts","-1"])",
            R"("advanced_option_get","params":["server:job_attempts"])",
            R"("backup_data")",
        };
        const unsigned choice = m_steps.byte();
        if (choice < 64) return "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":" + stateCall() + "}\n";
        return std::string("{\"jsonrpc\":\"2.0\",\"id\":1e3,\"method\":") + kCalls[choice % kCalls.size()] +
               "}\n";
    }
    /// Returns a call about the job that was submitted last.
    std::string stateCall() {
        GUID last;
        m_server.jobs().visitNewestFirst(std::numeric_limits<int64>::max(), [&](const Job& job) {
            last = job.id;
            return false;
        });
        return R"("jobs.state","params":[")" + std::string(last.toString()) + "\"," +
               std::to_string(m_steps.byte()) + "]";
    }
    std::string batch(unsigned count) {
        const std::string one = call();
        std::string text = "[";
        for (unsigned i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + one.substr(0, one.size() - 1);
        return text + "]\n";
    }

    /// Requires that a new peer is answered.
    void requireAnswer() {
        const std::shared_ptr<Wire> last = connect();
        last->room = kMostReplyBytes;
        last->toServer = "{\"jsonrpc\":\"2.0\",\"method\":\"workers.list\",\"id\":\"last\"}\n";
        for (int i = 0; i < 3 && last->replies.empty(); ++i) m_server.poll();
        const json reply = json::parse(last->replies);
        require(reply["id"] == "last" && reply.contains("result"));
    }

    ManualClock& m_clock;
    Steps m_steps;
    std::vector<ScriptedWorker*> m_workers;
    Server m_server;
    std::array<std::shared_ptr<Wire>, kMostPeers> m_wires;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    static ManualClock clock;
    Clock::install(&clock);
    if (!internal::g_system) {
        LogBackend::registerBackend(true);
        System::initialize({});
    }
    Scene(clock, data, size).play();
    return 0;
}
