// qelworker: processes files for a server, which starts it and exchanges packets with it on its standard
// streams. It stops in order when the server asks for it, at a signal, when its standard input ends, and when
// its standard output is lost.
#include "job_runner.h"
#include "options.h"

#include <hosts/jobs/job_packets.h>
#include <hosts/shared/host_main.h>
#include <hosts/shared/pacer.h>
#include <hosts/shared/standard_output.h>
#include <hosts/shared/unhandled_errors.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/packet/std_in_packet_reader.h>
#include <qel/packet/std_out_packet_writer.h>
#include <qel/process/process_protocol.h>
#include <qel/system/core/application.h>
#include <qel/system/core/system.h>

namespace {

/// Jobs and the end of the input end a sleep early, signals do not.
constexpr unsigned kLongestSleepMs = 250;

/// Handles the packets that have arrived. @param isEnding  becomes true if the worker must stop.
/// @return true if there were packets.
bool handlePackets(qel::StdInPacketReader& reader, qelworker::JobRunner& runner, bool& isEnding) {
    bool hasMoved = false;
    while (!isEnding) {
        const qel::SmartPointer<qel::Packet> packet = reader.read();
        isEnding = packet ? packet->getID() == qel::ProcessProtocol::Terminate->getID() : !reader.valid();
        if (!packet) break;
        hasMoved = true;
        if (!isEnding) runner.enqueueJob(*packet);
    }
    return hasMoved;
}

/// Sends a heartbeat to the server at the start and every kHeartbeatMs from then on, except while the job
/// hangs.
class Heart {
public:
    void beatIfDue(qel::System& system, const qelworker::JobRunner& runner) {
        const qel::uint32 now = system.getTime();
        if (runner.isHanging(now)) return;
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

/// Returns true if packets can't be sent any more.
bool isOutputLost() {
    return static_cast<bool>(qel::standardStreamError(qel::platform::StandardStream::Output));
}

int serve() {
    qel::System& system = *qel::Object::system();
    qel::StdInPacketReader& reader = *system.getStdInPacketReader();
    reader.disableBlocking();
    qelworker::JobRunner runner;
    qelhosts::Pacer pacer(kLongestSleepMs);
    bool isEnding = false;
    Heart heart;
    const auto doWork = [&] {
        heart.beatIfDue(system, runner);
        return handlePackets(reader, runner, isEnding);
    };
    const auto sleep = [&reader](unsigned milliseconds) { reader.waitForInput(milliseconds); };
    while (!isEnding && !isOutputLost() && !qel::System::wasInterruptHandlerCalled())
        pacer.pass(system, doWork, sleep);
    runner.end();
    return reader.hasFailed() ? 1 : 0;
}

int run() {
    qel::LogBackend::registerBackend(false);
    qel::System::initialize([] { return new qel::Application(); });
    qel::System::installInterruptHandler();
    const int status = qelhosts::reportingErrors("qelworker", &serve);
    qel::Object::system()->clearApplication();
    qel::System::deinitialize();
    qel::LogBackend::unregisterBackend();
    return qelhosts::statusAfterOutput(status, "qelworker");
}

} // namespace

int main(int argc, char** argv) {
    qelworker::Options options;
    return qelhosts::hostMain(argc, argv, options, &run);
}
