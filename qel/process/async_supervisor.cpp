#include <qel/process/async_supervisor.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/process/process_packet_reader.h>
#include <qel/process/process_packet_writer.h>
#include <qel/process/process_protocol.h>
#include <qel/process/wake_pipe_p.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qel {

namespace {

constexpr uint32 kRoundMs = 10;
constexpr uint32 kLongestRoundMs = 50; // when nothing is sent or received, and no waiting for it is possible
constexpr int kLongestWaitMs = 500;    // for something to send or receive
constexpr uint32 kRestartPauseMs = 2000;
constexpr uint32 kTimeToEndMs = 500;
constexpr size_t kMaxPacketBytesPerRound = size_t{2} << 20;
/// The remaining output of an ended worker: at most one line of maximum length and two full pipes.
constexpr size_t kMaxLastPacketBytes = Process::kMaxLineBytes + kMaxPacketBytesPerRound;

bool isThere(const String& path) {
    platform::FileStatus status;
    return !platform::readStatus(status, path.c_str());
}

} // namespace

/// A queue that can be disabled for good.
class AsyncSupervisor::Queue : public TaskQueue {
public:
    Queue() : TaskQueue(kDeleteIO) {}
    using TaskQueue::disable;
};

AsyncSupervisor::AsyncSupervisor(const String& path)
    : m_path(path), m_queue(std::make_unique<Queue>()), m_wakePipe(std::make_unique<internal::WakePipe>()) {}

AsyncSupervisor::~AsyncSupervisor() {
    terminate();
}

void AsyncSupervisor::start() {
    m_terminating = false;
    auto loop = [this] { runLoop(); };
    m_queue->pushTask(new TaskQueue::LambdaNoContextTask<decltype(loop)>(loop), 0);
}

void AsyncSupervisor::runLoop() {
    m_roundMs = kRoundMs;
    while (!m_terminating) {
        const uint32 begin = system()->getTime();
        m_isQuiet = true;
        m_wakePipe->reset();
        tick();
        pause(system()->getTime() - begin);
    }
}

/// Waits after a round that took @p passedMs. Each round takes 10 ms at least. After a round in which nothing
/// happened the loop waits for something to happen, or if it can't, for a little longer each time.
void AsyncSupervisor::pause(uint32 passedMs) {
    m_roundMs = m_isQuiet ? std::min(m_roundMs + 1, kLongestRoundMs) : kRoundMs;
    const bool canWait = m_isQuiet && m_process && m_wakePipe->isOpen() && Clock::current().isRealTime();
    const uint32 roundMs = canWait ? kRoundMs : m_roundMs;
    if (passedMs <= roundMs) System::sleep(roundMs - passedMs);
    if (!canWait || m_process->waitForActivity(m_wakePipe->handle(), kLongestWaitMs)) return;
    if (passedMs <= m_roundMs) System::sleep(m_roundMs - passedMs);
}

void AsyncSupervisor::tick() {
    if (!m_process && !startWorker()) return;
    if (m_restartRequested.exchange(false)) m_process->terminate(true);
    const bool isRunning = m_process->tick();
    if (m_terminating) return;
    receivePackets(isRunning);
    if (isRunning) {
        sendPackets();
    } else {
        loseWorker();
    }
}

bool AsyncSupervisor::startWorker() {
    const uint32 now = system()->getTime();
    if (m_lastAlive && now - *m_lastAlive < kRestartPauseMs) return false;
    if (m_path.empty()) {
        dropPackets(); // no next worker will be started, which would drop them
        return false;
    }
    if (!isThere(m_path)) {
        logging::error() << "worker binary not found under path: " << m_path;
        m_path.clear();
        return false;
    }
    m_lastAlive = now; // the pause also applies to a worker that ends at once
    m_restartRequested = false;
    m_process = new Process();
    m_process->spawn(m_path, m_arguments, nullptr, false);
    dropPackets();
    onSubprocessStarted();
    return true;
}

void AsyncSupervisor::dropPackets() {
    const MutexLock lock(m_mutex);
    m_outgoing.clear();
}

void AsyncSupervisor::receivePackets(bool isRunning) {
    if (!m_process->hasOutput()) return; // the usual case, in which a read would cost another system call
    m_isQuiet = false;
    ProcessPacketReader& reader = *m_process->getPacketReader();
    const size_t limit = isRunning ? kMaxPacketBytesPerRound : kMaxLastPacketBytes;
    for (size_t bytes = 0; bytes < limit && !m_terminating && !(isRunning && m_isReadingPaused);) {
        const SmartPointer<Packet> packet = reader.read();
        if (!packet) return;
        bytes += Packet::kHeaderSize + packet->getPayloadSize();
        onPacket(packet.get());
    }
}

void AsyncSupervisor::sendPackets() {
    Vector<SmartPointer<Packet>> packets;
    {
        const MutexLock lock(m_mutex);
        packets.swap(m_outgoing);
    }
    m_isQuiet = m_isQuiet && packets.empty();
    for (const SmartPointer<Packet>& packet : packets) m_process->getPacketWriter()->write(packet.get());
    m_lastAlive = system()->getTime();
}

void AsyncSupervisor::loseWorker() {
    logging::warning() << "subprocess quit unexpectedly, restarting";
    onSubprocessQuit();
    m_process.reset();
}

void AsyncSupervisor::enqueuePacket(Packet* packet) {
    {
        const MutexLock lock(m_mutex);
        m_outgoing.emplace_back(packet);
    }
    m_wakePipe->wake();
}

void AsyncSupervisor::restartWorker() {
    m_restartRequested = true;
    m_wakePipe->wake();
}

void AsyncSupervisor::pauseReading(bool isPaused) {
    if (m_isReadingPaused.exchange(isPaused) && !isPaused) m_wakePipe->wake();
}

// --- stopping --------------------------------------------------------------------------------------------

void AsyncSupervisor::terminate() {
    terminateAll({this});
}

void AsyncSupervisor::terminateAll(const Vector<AsyncSupervisor*>& supervisors) {
    for (AsyncSupervisor* supervisor : supervisors) {
        supervisor->m_terminating = true;
        supervisor->m_wakePipe->wake();
    }
    for (AsyncSupervisor* supervisor : supervisors) supervisor->m_queue->disable();
    for (AsyncSupervisor* supervisor : supervisors) supervisor->askWorker();

    const auto isAnyRunning = [&supervisors] {
        bool running = false;
        for (AsyncSupervisor* supervisor : supervisors) running = supervisor->isWorkerRunning() || running;
        return running;
    };
    if (isAnyRunning()) {
        const uint32 begin = system()->getTime();
        while (isAnyRunning() && system()->getTime() - begin < kTimeToEndMs) System::sleep(1);
    }
    for (AsyncSupervisor* supervisor : supervisors) supervisor->endWorker();
}

void AsyncSupervisor::askWorker() {
    if (!m_process) return;
    const SmartPointer<Packet> packet(new Packet(ProcessProtocol::Terminate, 0));
    m_process->getPacketWriter()->write(packet.get());
}

bool AsyncSupervisor::isWorkerRunning() {
    return m_process && m_process->tick();
}

void AsyncSupervisor::endWorker() {
    if (m_process) m_process->terminate(true);
    m_process.reset();
}

} // namespace qel
