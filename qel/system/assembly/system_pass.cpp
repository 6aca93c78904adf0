#include <qel/system/core/system.h>

#include <qel/foundation/base/timed_references.h>
#include <qel/script/vm.h>
#include <qel/system/tasks/main_pool.h>
#include <qel/system/tasks/perfmon.h>
#include <qel/system/tasks/scheduler.h>
#include <qel/system/tasks/thread_pool.h>

#include <cstdio>

namespace qel {

namespace {

/// Idle work ends this long after the start of the pass, so that a frame of 60 Hz keeps its time.
constexpr uint32 kIdleBudgetMs = 14;
/// A round of the simple main loop shorter than this is followed by a sleep.
constexpr uint32 kShortRoundMs = 10;

/// Keeps a section of the performance monitor open for a scope.
class Section {
public:
    Section(PerfMon& perfMon, const char* name) : m_perfMon(perfMon), m_name(name) { m_perfMon.begin(name); }
    ~Section() { m_perfMon.end(m_name); }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

private:
    PerfMon& m_perfMon;
    const char* m_name;
};

} // namespace

void System::processEvents(int flags) {
    m_presentationTime = getTime();
    m_passUTC = getUTCDateTime();

    // "Other" and "Main" stay open between passes, so that the host's own time is measured too.
    PerfMon& perfMon = *getPerfMon();
    if (!std::exchange(m_firstPass, false)) {
        perfMon.end("Other");
        perfMon.end("Main");
    }
    perfMon.updateReport();
    perfMon.begin("Main");
    decideEventFlags(flags);
    {
        const Section events(perfMon, "Events");
        runPassSections();
    }
    perfMon.begin("Other");
}

void System::decideEventFlags(int flags) {
    const uint32 now = getTimeFast();
    if (now - m_lastActivityTime > 1000) {
        if (now - m_lastFullPassTime >= 1000)
            m_lastFullPassTime = now;
        else
            flags |= kEventLowPower;
    }
    if ((flags & kEventFullPass) != 0) flags &= ~kEventLowPower;
    m_eventFlags = flags;
}

void System::runPassSections() {
    PerfMon& perfMon = *getPerfMon();
    {
        const Section section(perfMon, "Tick");
        signalApplicationTick();
    }
    {
        const Section section(perfMon, "VM");
        if (m_vm) m_vm->processEvents();
    }
    {
        const Section section(perfMon, "Queue");
        m_mainPool->processEvents();
    }
    m_threadPool->processEvents();
    {
        const Section section(perfMon, "Scheduler");
        m_scheduler->tick();
    }
    if (m_backgroundMode) syncUnsaved();
    internal::removeAllTimedReferences();
    if (!m_backgroundMode && delegateIdleWork.isConnected()) runIdleWork(perfMon);
}

void System::runIdleWork(PerfMon& perfMon) {
    const Section section(perfMon, "IdleWorks");
    bool first = true;
    while (getTime() - m_presentationTime < kIdleBudgetMs && delegateIdleWork.isConnected())
        if (delegateIdleWork(std::exchange(first, false)) < 0) break;
}

void System::runSimpleMainLoop() {
    installInterruptHandler();
    uint32 lastRoundEnd = getTime();
    while (!wasInterruptHandlerCalled()) {
        processEvents(0);
        if (getTime() - lastRoundEnd < kShortRoundMs) delegateSleep(1);
        lastRoundEnd = getTime();
    }
    const MutexLock lock(getStdOutMutex());
    std::fputs("* interrupted\n", stdout);
    std::fflush(stdout);
}

} // namespace qel
