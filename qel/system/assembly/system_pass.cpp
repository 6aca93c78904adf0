#include <qel/system/core/system.h>

#include <qel/foundation/base/timed_references.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/process/killed_children.h>
#include <qel/scene/actors/anim_color.h>
#include <qel/script/vm.h>
#include <qel/system/tasks/main_pool.h>
#include <qel/system/tasks/perfmon.h>
#include <qel/system/tasks/scheduler.h>
#include <qel/system/tasks/thread_pool.h>

namespace qel {

namespace {

/// Idle work ends this long after the start of the pass, so that a frame at 60 Hz is on time.
constexpr uint32 kIdleBudgetMs = 14;
/// A round of the simple main loop that is shorter than this is followed by a sleep.
constexpr uint32 kShortRoundMs = 10;

} // namespace

/// Measures the sections of a pass. The end of a section and the start of the next share one reading of the
/// clock, and a step without work costs no reading, so that an idle pass stays cheap.
class PassClock {
public:
    PassClock(System& system, int64 now) : m_system(system), m_perfMon(*system.getPerfMon()), m_now(now) {}

    void begin(const char* literal) { m_perfMon.beginLiteral(literal, m_now); }
    void end(const char* literal) { m_perfMon.endLiteral(literal, m_now); }
    void readTime() { m_now = m_system.getUTCDateTime(); }

    /// Runs @p step as the section @p literal. @param hasWork  true if the step will take time.
    template <typename Step>
    void run(const char* literal, bool hasWork, Step step) {
        begin(literal);
        step();
        if (hasWork) readTime();
        end(literal);
    }

private:
    System& m_system;
    PerfMon& m_perfMon;
    int64 m_now;
};

void System::processEvents(int flags) {
    m_presentationTime = getTime();
    m_passUTC = getUTCDateTime();

    // "Other" and "Main" stay open between passes, so that the host's own time is measured too.
    PassClock time(*this, m_passUTC);
    if (!std::exchange(m_firstPass, false)) {
        time.end("Other");
        time.end("Main");
    }
    getPerfMon()->updateReport();
    time.begin("Main");
    decideEventFlags(flags);
    time.begin("Events");
    runSteps(time);
    if (!m_backgroundMode && (m_eventFlags & kEventLowPower) == 0 && hasPendingPrefetch())
        time.run("SpritePrefetch", true, [this] { stepPrefetch(); });
    if (!m_backgroundMode && delegateIdleWork.isConnected())
        time.run("IdleWorks", true, [this] { runIdleWork(); });
    time.end("Events");
    time.begin("Other");
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

void System::runSteps(PassClock& time) {
    time.run("Tick", signalApplicationTick.isConnected(), [this] { signalApplicationTick(); });
    time.run("VM", m_vm->hasWork(), [this] { m_vm->processEvents(); });
    time.run("Queue", m_mainPool->hasWork(), [this] { m_mainPool->processEvents(); });
    m_threadPool->processEvents();
    internal::collectKilledChildren();
    const bool isDue = m_scheduler->isDue();
    if (isDue) time.readTime(); // the steps before this one belong to no section
    time.run("Scheduler", isDue, [this] { m_scheduler->tick(); });
    if (m_backgroundMode) syncUnsaved();
    AnimColor::flushLPM();
    const bool hasFlushed = flushGUIDDomain();
    if (internal::removeAllTimedReferences() || hasFlushed || m_backgroundMode) time.readTime();
}

void System::runIdleWork() {
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
    writeToStandardStream(platform::StandardStream::Output, "* interrupted\n");
}

} // namespace qel
