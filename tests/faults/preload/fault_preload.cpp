// A library to preload into a host program: it makes one operation of the program fail, as QEL_FAULTS asks,
// or interrupts the program at one, as QEL_INTERRUPT asks, and writes to the file QEL_FAULTS_REPORT how many
// operations there were and which one failed.
#include <tests/support/fault_plan.h>
#include <tests/support/faulty_database.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>

namespace {

using qel::test::FaultPlan;
using qel::test::Lasting;

FaultPlan* g_plan = nullptr;

/// Presses Ctrl-C at one operation.
class Interrupter : public qel::seams::Faults {
public:
    explicit Interrupter(int at) : m_left(at) {}
    std::error_code before(qel::platform::Operation, std::size_t&) override {
        if (m_left-- == 0) std::raise(SIGINT);
        return {};
    }

private:
    std::atomic<int> m_left;
};

void startInterrupter(int at) {
    static Interrupter interrupter(at);
    qel::seams::setFaults(&interrupter);
}

/// Starts with the program, before main(). QEL_FAULTS is "NUMBER LASTING", both numbers.
[[gnu::constructor]] void startFaults() {
    unsetenv("LD_PRELOAD"); // children of the program run undisturbed
    if (const char* const at = std::getenv("QEL_INTERRUPT")) return startInterrupter(std::atoi(at));
    const char* const asked = std::getenv("QEL_FAULTS");
    int failAt = -1;
    int lasting = 0;
    if (!asked || std::sscanf(asked, "%d %d", &failAt, &lasting) != 2) return;
    qel::test::installFaultyDatabase();
    static FaultPlan plan(failAt, static_cast<Lasting>(lasting));
    g_plan = &plan;
}

[[gnu::destructor]] void reportFaults() {
    const char* const path = std::getenv("QEL_FAULTS_REPORT");
    if (!g_plan || !path) return;
    g_plan->stop();
    const auto failed = g_plan->failed();
    std::ofstream(path) << g_plan->count() << ' '
                        << (failed ? qel::platform::operationName(*failed) : "none");
}

} // namespace
