#include <qel/platform/interrupt.h>

#include <array>
#include <atomic>
#include <csignal>
#include <ctime>
#include <mutex>

#include <pthread.h>

namespace qel::platform {

namespace {

constexpr std::array<int, 4> kSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the handler sets it");

std::mutex g_mutex; // guards the two variables below
bool g_installed = false;
std::array<struct sigaction, kSignals.size()> g_previous;

void onSignal(int) {
    g_interrupted.store(true);
}

void takeOver(int number, struct sigaction& previous) {
    sigaction(number, nullptr, &previous);
    if (number == SIGHUP && previous.sa_handler == SIG_IGN) return;
    struct sigaction action {};
    action.sa_handler = &onSignal;
    action.sa_flags = SA_RESTART; // system calls of the host continue
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

sigset_t brokenPipeSet() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

} // namespace

void installInterruptHandler() {
    const std::lock_guard lock(g_mutex);
    if (g_installed) return;
    for (std::size_t i = 0; i < kSignals.size(); ++i) takeOver(kSignals[i], g_previous[i]);
    g_installed = true;
}

void removeInterruptHandler() {
    const std::lock_guard lock(g_mutex);
    if (!g_installed) return;
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &g_previous[i], nullptr);
    g_installed = false;
}

bool wasInterrupted() {
    return g_interrupted.load();
}

void setInterrupted(bool interrupted) {
    g_interrupted.store(interrupted);
}

BrokenPipeGuard::BrokenPipeGuard() {
    const sigset_t set = brokenPipeSet();
    sigset_t pending;
    sigset_t before;
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &set, &before);
    m_wasPending = sigismember(&pending, SIGPIPE) == 1;
    m_wasBlocked = sigismember(&before, SIGPIPE) == 1;
}

BrokenPipeGuard::~BrokenPipeGuard() {
    const sigset_t set = brokenPipeSet();
    if (!m_wasPending) {
        const timespec now{0, 0};
        sigtimedwait(&set, nullptr, &now); // removes the signal that a write left pending, if any
    }
    if (!m_wasBlocked) pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

} // namespace qel::platform
