// qelworker: does jobs with files for a server that starts it and talks to it by packets on its standard
// streams. It ends in order when it is told to, and when its standard input ends.
#include "job_runner.h"

#include <hosts/jobs/job_packets.h>
#include <hosts/shared/command_line_answer.h>
#include <hosts/shared/pacer.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/packet/std_in_packet_reader.h>
#include <qel/packet/std_out_packet_writer.h>
#include <qel/process/process_protocol.h>
#include <qel/system/core/application.h>
#include <qel/system/core/system.h>

namespace {

constexpr const char* kUsage = R"(Usage: qelworker
Does jobs for a server, which starts it: packets come in on standard input, answers and log lines
go out on standard output. It ends when standard input does.

  --version     print the version
  -h, --help    print this
)";

using Options = qelhosts::CommonOptions;

constexpr std::array<qelhosts::OptionRow<Options>, 3> kOptions{{
    {"--help", nullptr, &Options::help},
    {"-h", nullptr, &Options::help},
    {"--version", nullptr, &Options::version},
}};

/// Takes the packets that have arrived. @return whether there were any; @p isEnding is set by the one that
/// ends the worker.
bool takePackets(qel::StdInPacketReader& reader, qelworker::JobRunner& runner, bool& isEnding) {
    bool hasMoved = false;
    while (!isEnding) {
        const qel::SmartPointer<qel::Packet> packet = reader.read();
        isEnding = packet ? packet->getID() == qel::ProcessProtocol::Terminate->getID() : !reader.valid();
        if (!packet) break;
        hasMoved = true;
        if (!isEnding) runner.take(*packet);
    }
    return hasMoved;
}

/// Sends the server a heartbeat at the start and every kHeartbeatMs from then on.
class Heart {
public:
    void beat(qel::System& system) {
        const qel::uint32 now = system.getTime();
        if (m_hasBeaten && now - m_last < qeljobs::kHeartbeatMs) return;
        m_hasBeaten = true;
        m_last = now;
        const qel::SmartPointer<qel::Packet> packet(new qel::Packet(qeljobs::heartbeatScheme(), 0));
        system.getStdOutPacketWriter()->write(packet.get());
    }

private:
    bool m_hasBeaten = false;
    qel::uint32 m_last = 0;
};

void serve() {
    qel::System& system = *qel::Object::system();
    qel::StdInPacketReader& reader = *system.getStdInPacketReader();
    reader.disableBlocking();
    qelworker::JobRunner runner;
    qelhosts::Pacer pacer;
    bool isEnding = false;
    Heart heart;
    const auto take = [&] {
        heart.beat(system);
        return takePackets(reader, runner, isEnding);
    };
    const auto sleep = [&system](unsigned milliseconds) { system.delegateSleep(milliseconds); };
    while (!isEnding && !qel::System::wasInterruptHandlerCalled()) pacer.pass(system, take, sleep);
    runner.end();
}

int run() {
    qel::LogBackend::registerBackend(false);
    qel::System::initialize([] { return new qel::Application(); });
    qel::System::installInterruptHandler();
    serve();
    qel::Object::system()->clearApplication();
    qel::System::deinitialize();
    qel::LogBackend::unregisterBackend();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    const int first = qelhosts::readOptions(options, kOptions, argc, argv);
    if (options.problem.empty() && !options.help && !options.version && first < argc) {
        options.problem = "unknown argument " + qelhosts::quoted(argv[first]);
    }
    const auto answer = qelhosts::answerCommandLine(options, "qelworker", kUsage);
    return answer ? *answer : run();
}
