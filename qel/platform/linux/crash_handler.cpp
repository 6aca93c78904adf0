#include <qel/platform/linux/crash_modules_p.h>
#include <qel/platform/linux/crash_stack_p.h>
#include <qel/platform/linux/mapped_window_p.h>
#include <qel/platform/seams_p.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <ctime>
#include <mutex>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace qel::platform {

namespace {

struct FatalSignal {
    int number;
    const char* name;
};

constexpr std::array<FatalSignal, 7> kFatalSignals{{{SIGSEGV, "SIGSEGV"},
                                                    {SIGBUS, "SIGBUS"},
                                                    {SIGFPE, "SIGFPE"},
                                                    {SIGILL, "SIGILL"},
                                                    {SIGABRT, "SIGABRT"},
                                                    {SIGTRAP, "SIGTRAP"},
                                                    {SIGSYS, "SIGSYS"}}};

constexpr std::size_t kStackBytes = 64 * 1024;
constexpr std::size_t kPathBytes = 4096;
constexpr std::size_t kIdentityBytes = 512;

// The data that the handler reads; written before it is installed.
std::array<char, kPathBytes> g_path;
std::array<char, kIdentityBytes> g_identity;
pid_t g_process = 0;
std::atomic<ScriptStackWriter> g_scriptStackWriter{nullptr};
std::atomic<pid_t> g_crashingThread{0};
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<ScriptStackWriter>::is_always_lock_free);

std::mutex g_mutex; // guards the two variables below; never locked by the handler
bool g_installed = false;
std::array<struct sigaction, kFatalSignals.size()> g_previous;

alignas(16) std::array<char, kStackBytes> g_stack; // for the thread that installs the handler

const char* signalName(int number) {
    for (const FatalSignal& fatal : kFatalSignals) {
        if (fatal.number == number) return fatal.name;
    }
    return "";
}

void writeHead(CrashWriter& out, int number, const siginfo_t& info) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    out.text("build: ").cstr(g_identity.data());
    out.text("\ntime: ").decimal(now.tv_sec);
    out.text("\nprocess: ").decimal(getpid()).text(" thread ").decimal(gettid());
    out.text("\nsignal: ").decimal(number).text(" ").cstr(signalName(number));
    out.text(" code ").decimal(info.si_code).text(" address ");
    out.hex(reinterpret_cast<std::uint64_t>(info.si_addr)).text("\n");
}

/// Writes all sections, those that may fault last. Each section is flushed before the next one begins.
void writeDump(CrashWriter& out, int number, const siginfo_t& info, const void* context) {
    writeHead(out, number, info);
    out.text("registers:\n");
    writeRegisters(out, context);
    out.flush();
    readModules();
    out.text("stack:\n");
    writeCallChain(out, context);
    out.text("stack scan:\n");
    writeStackScan(out, context);
    out.text("modules:\n");
    writeModules(out);
    out.text("log:\n");
    writeRememberedLogLines(out);
    out.flush();
    const ScriptStackWriter writer = g_scriptStackWriter.load();
    if (!writer) return;
    out.text("script stack:\n");
    writer(out);
}

/// Restores the signal's default action and raises the signal again: it takes effect when the handler
/// returns.
void endBySignal(int number) {
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(number, &byDefault, nullptr);
    tgkill(getpid(), gettid(), number);
}

/// Returns true if this thread must write the dump. A second thread that crashes waits here until the first
/// one ends the process. A fault of the handler itself writes no second dump.
bool claimCrash() {
    pid_t owner = 0;
    if (g_crashingThread.compare_exchange_strong(owner, gettid())) return true;
    while (owner != gettid()) pause();
    return false;
}

int openDump() {
    if (forcedFault(Operation::Open)) return -1;
    return open(g_path.data(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

void onFatalSignal(int number, siginfo_t* info, void* context) {
    if (number == SIGBUS && mendMappedWindow(*info)) return;
    const bool isForkedChild = getpid() != g_process; // the dump belongs to the parent
    const int file = isForkedChild || !claimCrash() ? -1 : openDump();
    if (file >= 0) {
        CrashWriter out(file);
        writeDump(out, number, *info, context);
    }
    endBySignal(number);
}

/// Returns true if the calling thread already has an alternate stack, a sanitizer's or the host's.
bool hasAlternateStack() {
    stack_t current{};
    return sigaltstack(nullptr, &current) == 0 && !(current.ss_flags & SS_DISABLE);
}

bool useAlternateStack(void* memory) {
    stack_t stack{};
    stack.ss_sp = memory;
    stack.ss_size = kStackBytes;
    return sigaltstack(&stack, nullptr) == 0;
}

bool takeOverSignals() {
    struct sigaction action {};
    action.sa_sigaction = &onFatalSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    for (std::size_t i = 0; i < kFatalSignals.size(); ++i) {
        if (sigaction(kFatalSignals[i].number, &action, &g_previous[i]) != 0) return false;
    }
    return true;
}

} // namespace

bool installCrashHandler(const std::string& dumpPath, const std::string& identity) {
    if (dumpPath.size() >= kPathBytes) return false;
    const std::lock_guard lock(g_mutex);
    std::memcpy(g_path.data(), dumpPath.c_str(), dumpPath.size() + 1);
    const std::size_t identitySize = identity.copy(g_identity.data(), kIdentityBytes - 1);
    g_identity[identitySize] = '\0';
    g_process = getpid();
    if (!hasAlternateStack()) useAlternateStack(g_stack.data());
    if (!g_installed) g_installed = takeOverSignals();
    return g_installed;
}

void removeCrashHandler() {
    const std::lock_guard lock(g_mutex);
    if (!g_installed) return;
    for (std::size_t i = 0; i < kFatalSignals.size(); ++i) {
        sigaction(kFatalSignals[i].number, &g_previous[i], nullptr);
    }
    g_installed = false;
}

CrashStack::CrashStack() {
    if (hasAlternateStack()) return;
    void* memory = mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return;
    if (useAlternateStack(memory))
        m_memory = memory;
    else
        munmap(memory, kStackBytes);
}

CrashStack::~CrashStack() {
    if (!m_memory) return;
    stack_t none{};
    none.ss_flags = SS_DISABLE;
    sigaltstack(&none, nullptr);
    munmap(m_memory, kStackBytes);
}

void setScriptStackWriter(ScriptStackWriter writer) {
    g_scriptStackWriter.store(writer);
}

} // namespace qel::platform
