// A supervisor for tests whose worker sends every packet back.
#pragma once

#include <qel/process/async_supervisor.h>
#include <qel/process/process_protocol.h>
#include <tests/process/process_fixture.h>

#include <atomic>
#include <string>
#include <vector>

namespace qel::test {

constexpr const char* kQuit = "subprocess quit unexpectedly, restarting";

/// Returns a packet with @p index and a text that depends on it.
inline SmartPointer<Packet> makePacket(int64 index) {
    const SmartPointer<Packet> packet(new Packet(ProcessProtocol::PluginsHashes, 0));
    packet->setInteger("index", index);
    packet->setString("startupScript", std::string(index * 7919 % 5000, 'x').c_str());
    return packet;
}

/// Counts events. It first sends the packet of its number to each worker.
class Supervisor : public AsyncSupervisor {
public:
    explicit Supervisor(const std::string& path) : AsyncSupervisor(path) { disableSmartPointers(); }
    ~Supervisor() override { terminate(); }

    using AsyncSupervisor::enqueuePacket;
    using AsyncSupervisor::m_arguments;
    using AsyncSupervisor::restartWorker;
    using AsyncSupervisor::start;
    using AsyncSupervisor::terminate;
    using AsyncSupervisor::tick;

    void enqueue(int64 index) { enqueuePacket(makePacket(index).get()); }
    /// The packets that came back; -1 for one that was changed or arrived after the worker's end.
    std::vector<int64> received() const {
        const MutexLock lock(m_mutex);
        return m_received;
    }

    std::atomic<int> started{0};
    std::atomic<int> quit{0};
    std::atomic<int64> workerId{0};

private:
    void onSubprocessStarted() override {
        workerId = getProcess()->getProcessId();
        enqueue(started + 1);
        ++started;
    }
    void onSubprocessQuit() override { ++quit; }
    void onPacket(Packet* packet) override {
        const bool fits = packet->fit(ProcessProtocol::PluginsHashes);
        const int64 index = fits ? packet->getInteger("index") : 0;
        const bool isWhole = packet->convertToBase16String() == makePacket(index)->convertToBase16String();
        const MutexLock lock(m_mutex);
        m_received.push_back(isWhole && started > quit ? index : -1);
    }

    mutable Mutex m_mutex;
    std::vector<int64> m_received QEL_GUARDED_BY(m_mutex);
};

} // namespace qel::test
