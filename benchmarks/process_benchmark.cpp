// The cost of children: lines from them, an answer from one, a start, and a round over idle ones.
#include <qel/process/process.h>
#include <qel/system/core/system.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#if QEL_PEER_GIO
#include <gio/gio.h>
#endif
#if QEL_PEER_QT
#include <QProcess>
#endif

namespace {

using qel::Process;
using qel::String;

constexpr const char* kText = "a line of 64 bytes with its end, as a worker writes it to a log";
static_assert(std::char_traits<char>::length(kText) == 63);

/// A child on three pipes, with system calls only.
class RawChild {
public:
    explicit RawChild(std::vector<const char*> arguments, bool isPolled = false) {
        std::array<std::array<int, 2>, 3> pipes;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        for (int stream = 0; stream < 3; ++stream) {
            if (pipe2(pipes[stream].data(), O_CLOEXEC) != 0) std::abort();
            fcntl(pipes[stream][0], F_SETPIPE_SZ, 1 << 20);
            posix_spawn_file_actions_adddup2(&actions, pipes[stream][stream == 0 ? 0 : 1], stream);
        }
        arguments.push_back(nullptr);
        posix_spawnp(&m_id, arguments[0], &actions, nullptr, const_cast<char**>(arguments.data()), environ);
        posix_spawn_file_actions_destroy(&actions);
        for (int stream = 0; stream < 3; ++stream) {
            close(pipes[stream][stream == 0 ? 0 : 1]);
            m_ends[stream] = pipes[stream][stream == 0 ? 1 : 0];
            if (isPolled) fcntl(m_ends[stream], F_SETFL, O_NONBLOCK);
        }
    }
    ~RawChild() {
        for (const int end : m_ends) close(end);
        if (m_id > 0) waitpid(m_id, nullptr, 0);
    }

    void waitForEnd() {
        waitpid(m_id, nullptr, 0);
        m_id = 0;
    }
    int input() const { return m_ends[0]; }
    int output() const { return m_ends[1]; }

private:
    pid_t m_id = 0;
    std::array<int, 3> m_ends;
};

/// A System, a host's main object, for the duration of a measurement.
struct Host {
    Host() { qel::System::initialize({}); }
    ~Host() { qel::System::deinitialize(); }
};

void spawnQuietly(Process& process, const char* program, const char* argument) {
    process.disableSmartPointers();
    if (!process.spawn(program, {program, argument}, nullptr, true)) std::abort();
}

// --- lines -----------------------------------------------------------------------------------------------

void linesQel(benchmark::State& state) {
    Process process;
    spawnQuietly(process, "yes", kText);
    String line;
    for (auto _ : state) {
        while (!process.readLine(line)) continue;
        benchmark::DoNotOptimize(line.data());
    }
    state.SetItemsProcessed(state.iterations());
}

void linesGetline(benchmark::State& state) {
    const RawChild child({"yes", kText});
    std::FILE* stream = fdopen(dup(child.output()), "r");
    char* line = nullptr;
    size_t capacity = 0;
    for (auto _ : state) benchmark::DoNotOptimize(getline(&line, &capacity, stream));
    std::free(line);
    std::fclose(stream);
    state.SetItemsProcessed(state.iterations());
}

void linesMemchr(benchmark::State& state) {
    const RawChild child({"yes", kText});
    std::vector<char> buffer(1 << 16);
    const char* at = buffer.data();
    const char* end = at;
    for (auto _ : state) {
        const void* stop = nullptr;
        while (!(stop = std::memchr(at, '\n', static_cast<size_t>(end - at)))) {
            const size_t rest = static_cast<size_t>(end - at);
            std::memmove(buffer.data(), at, rest);
            at = buffer.data();
            end = at + rest + read(child.output(), buffer.data() + rest, buffer.size() - rest);
        }
        benchmark::DoNotOptimize(at);
        at = static_cast<const char*>(stop) + 1;
    }
    state.SetItemsProcessed(state.iterations());
}

// --- an answer -------------------------------------------------------------------------------------------

void pingPongQel(benchmark::State& state) {
    Process process;
    process.disableSmartPointers();
    if (!process.spawn("cat", {"cat"}, nullptr, true)) std::abort();
    const String ping(kText);
    String pong;
    for (auto _ : state) {
        process.writeLine(ping);
        while (!process.readLine(pong)) continue;
    }
}

void pingPongRaw(benchmark::State& state) {
    const RawChild child({"cat"}, true);
    const std::string ping = std::string(kText) + "\n";
    char pong[64];
    for (auto _ : state) {
        benchmark::DoNotOptimize(write(child.input(), ping.data(), ping.size()));
        while (read(child.output(), pong, sizeof pong) <= 0) continue;
    }
}

// --- a start ---------------------------------------------------------------------------------------------

void spawnQel(benchmark::State& state) {
    for (auto _ : state) {
        Process process;
        spawnQuietly(process, "true", "");
        // Waits as the others do; polling would take a processor from the child.
        siginfo_t info;
        waitid(P_PID, static_cast<id_t>(process.getProcessId()), &info, WEXITED | WNOWAIT);
        if (process.tick()) std::abort();
    }
}

void spawnRaw(benchmark::State& state) {
    for (auto _ : state) RawChild({"true", ""}).waitForEnd();
}

// --- idle children -----------------------------------------------------------------------------------------

void idleQel(benchmark::State& state) {
    const Host host;
    std::vector<qel::SmartPointer<Process>> children(static_cast<size_t>(state.range(0)));
    for (auto& child : children) {
        child = new Process();
        if (!child->spawn("cat", {"cat"}, nullptr, true)) std::abort();
    }
    for (auto _ : state) {
        qel::Object::system()->processEvents(0);
        String line;
        for (const auto& child : children) {
            benchmark::DoNotOptimize(child->tick());
            while (child->readLine(line)) continue;
        }
    }
}

BENCHMARK(linesQel)->Name("Lines/Child64/qel");
BENCHMARK(linesGetline)->Name("Lines/Child64/getline");
BENCHMARK(linesMemchr)->Name("Lines/Child64/memchr");
BENCHMARK(pingPongQel)->Name("PingPong/Polled/qel")->UseRealTime();
BENCHMARK(pingPongRaw)->Name("PingPong/Polled/raw_pipe")->UseRealTime();
BENCHMARK(spawnQel)->Name("Spawn/True/qel")->UseRealTime();
BENCHMARK(spawnRaw)->Name("Spawn/True/posix_spawn")->UseRealTime();
BENCHMARK(idleQel)->Name("Pass/IdleChildren/qel")->Arg(64);

#if QEL_PEER_GIO
void linesGio(benchmark::State& state) {
    GSubprocess* child = g_subprocess_new(G_SUBPROCESS_FLAGS_STDOUT_PIPE, nullptr, "yes", kText, nullptr);
    GDataInputStream* stream = g_data_input_stream_new(g_subprocess_get_stdout_pipe(child));
    for (auto _ : state) {
        char* line = g_data_input_stream_read_line(stream, nullptr, nullptr, nullptr);
        benchmark::DoNotOptimize(line);
        g_free(line);
    }
    g_subprocess_force_exit(child);
    g_subprocess_wait(child, nullptr, nullptr);
    g_object_unref(stream);
    g_object_unref(child);
    state.SetItemsProcessed(state.iterations());
}

void spawnGio(benchmark::State& state) {
    const auto flags = static_cast<GSubprocessFlags>(
        G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE);
    for (auto _ : state) {
        GSubprocess* child = g_subprocess_new(flags, nullptr, "true", nullptr);
        g_subprocess_wait(child, nullptr, nullptr);
        g_object_unref(child);
    }
}

BENCHMARK(linesGio)->Name("Lines/Child64/gio");
BENCHMARK(spawnGio)->Name("Spawn/True/gio")->UseRealTime();
#endif

#if QEL_PEER_QT
void linesQt(benchmark::State& state) {
    QProcess child;
    child.start("yes", {kText});
    for (auto _ : state) {
        while (!child.canReadLine()) child.waitForReadyRead();
        benchmark::DoNotOptimize(child.readLine());
    }
    child.kill();
    child.waitForFinished();
    state.SetItemsProcessed(state.iterations());
}

void spawnQt(benchmark::State& state) {
    for (auto _ : state) {
        QProcess child;
        child.start("true", {});
        child.waitForFinished();
    }
}

BENCHMARK(linesQt)->Name("Lines/Child64/qprocess");
BENCHMARK(spawnQt)->Name("Spawn/True/qprocess")->UseRealTime();
#endif

} // namespace
