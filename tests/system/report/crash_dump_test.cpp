#include <qel/foundation/log/message_stream.h>
#include <qel/platform/crash.h>
#include <qel/platform/process_self.h>
#include <qel/system/report/version.h>

#include <tests/support/environment.h>
#include <tests/support/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>
#include <tests/support/system_fixture.h>

#include <gmock/gmock.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <thread>

/// Defined if the thread sanitizer is present.
extern "C" [[gnu::weak]] void __tsan_init();

namespace qel {
namespace {

using test::ScratchFolder;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

// Functions that must appear in the dump. Each does something after its call, so that the call is not
// compiled as a jump, which would leave no frame.
[[gnu::noinline]] void writeWhereNothingIs() {
    volatile std::uintptr_t nowhere = 0x40; // volatile, or the compiler would detect it
    *reinterpret_cast<volatile int*>(nowhere) = 1;
    asm volatile("");
}

[[gnu::noinline]] void callTheWriter() {
    writeWhereNothingIs();
    asm volatile("");
}

[[gnu::noinline]] void callTheCaller() {
    callTheWriter();
    asm volatile("");
}

__attribute__((noinline, no_sanitize("address", "undefined", "thread"))) int recurseForever(int depth) {
    volatile char frame[1024];
    frame[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : recurseForever(depth + 1) + frame[0]; // memory ends long before the numbers do
}

class CrashDump : public test::SystemFixture {
protected:
    void TearDown() override {
        platform::removeCrashHandler();
        SystemFixture::TearDown();
    }
    /// Runs @p crash in a child process with the handler registered.
    /// @return the dump; empty if no dump was written.
    template <typename Crash>
    std::string dumpOf(int signal, const Crash& crash) {
        EXPECT_EXIT(
            {
                platform::disableCoreImages();
                System::registerCrashHandler(m_folder.path().c_str());
                crash();
                _exit(0);
            },
            testing::KilledBySignal(signal), "");
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.path("dumps")))
            if (entry.path().extension() == ".dmp") m_name = entry.path().filename().string();
        return m_name.empty() ? "" : m_folder.read("dumps/" + m_name);
    }
    const ScratchFolder m_folder;
    std::string m_name; // of the last dump
    test::LogCapture m_log;
};

using CrashDumpDeathTest = CrashDump;

TEST_F(CrashDumpDeathTest, ReportsSignalBuildModulesAndLogLines) {
    const std::string dump = dumpOf(SIGSEGV, [] {
        logging::info() << "the last words";
        writeWhereNothingIs();
    });
    EXPECT_THAT(dump, StartsWith(std::string("build: ") + Version::getVersionString() + ", revision "));
    for (const char* part :
         {"\nsignal: 11 SIGSEGV code 1 address 0x40\n", "\nregisters:\n", "\nstack:\n  #0 /",
          "\nmodules:\n  0x", "libqelCore.so", "\nlog:\n", "the last words\n"})
        EXPECT_THAT(dump, HasSubstr(part));
}

TEST_F(CrashDumpDeathTest, ThatCannotBeWrittenChangesNothingAboutTheEnd) {
    for (const auto operation : {platform::Operation::Open, platform::Operation::Write}) {
        const std::string dump = dumpOf(SIGSEGV, [operation] {
            const test::FailingFiles failing(operation, std::errc::no_space_on_device);
            writeWhereNothingIs();
        });
        EXPECT_EQ(dump, "") << platform::operationName(operation);
    }
}

TEST_F(CrashDumpDeathTest, IsWholeIfTheSystemWritesItInPieces) {
    const std::string dump = dumpOf(SIGSEGV, [] {
        test::FailingFiles inBytes(-1, std::errc::io_error);
        inBytes.makeShort();
        logging::info() << "the last words";
        writeWhereNothingIs();
    });
    EXPECT_THAT(dump, HasSubstr("the last words\n"));
}

TEST_F(CrashDumpDeathTest, NamesTheCrashingFunctionAndItsCallersInOrder) {
    dumpOf(SIGSEGV, [] { callTheCaller(); });
    const std::string command = "cd '" + m_folder.path() + "' && '" + test::sourceDir() +
                                "/tools/crash_symbols' dumps/" + m_name + " > named";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string named = m_folder.read("named");
    const std::string stack = named.substr(named.find("\nstack:\n"), named.find("\nstack scan:\n"));
    const std::string noFrame = "[^#]*"; // the address, and functions inlined there
    EXPECT_THAT(stack, ContainsRegex("#0 " + noFrame + "writeWhereNothingIs[^\n]*crash_dump_test.cpp:"));
    EXPECT_THAT(stack, ContainsRegex("#1 " + noFrame + "callTheWriter[^\n]*crash_dump_test.cpp:"));
    EXPECT_THAT(stack, ContainsRegex("#2 " + noFrame + "callTheCaller[^\n]*crash_dump_test.cpp:"));
}

TEST_F(CrashDumpDeathTest, EveryFatalSignalLeavesADump) {
    const test::TimeZone zone("UTC0");
    system().overrideExecutablePath("/opt/novix/viewer");
    const std::string build = std::string(Version::getGitHash()).substr(0, 10);
    for (const int signal : {SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
        const std::string dump = dumpOf(signal, [signal] { std::raise(signal); });
        EXPECT_NE(dump.find("\nsignal: " + std::to_string(signal) + " SIG"), std::string::npos) << dump;
        EXPECT_TRUE(m_name.starts_with("20240101000000_viewer_")) << m_name;
        EXPECT_TRUE(m_name.ends_with("_" + build + ".dmp")) << m_name;
    }
}

TEST_F(CrashDumpDeathTest, AStackOverflowLeavesADump) {
    if (&__tsan_init != nullptr)
        GTEST_SKIP() << "the thread sanitizer intercepts the signal before the handler";
    const std::string dump = dumpOf(SIGSEGV, [] { std::exit(recurseForever(0)); });
    EXPECT_NE(dump.find("SIGSEGV"), std::string::npos) << dump;
}

TEST_F(CrashDumpDeathTest, TheScriptStackComesLastAndMayFault) {
    const std::string dump = dumpOf(SIGSEGV, [] { // the second fault ends the process with its own signal
        platform::setScriptStackWriter([](platform::CrashWriter& out) {
            out.text("  main.sq:12 walk\n");
            out.flush();
            writeWhereNothingIs();
        });
        std::thread([] {
            const platform::CrashStack stack;
            std::raise(SIGABRT);
        }).join();
    });
    EXPECT_TRUE(dump.ends_with("\nscript stack:\n  main.sq:12 walk\n")) << dump;
}

using CrashRegistration = CrashDump;

TEST_F(CrashRegistration, KeepsTheLast255OldDumps) {
    for (int i = 100; i < 400; ++i) m_folder.write("dumps/" + std::to_string(i) + ".dmp", "");
    m_folder.makeFolder("dumps/000");
    System::registerCrashHandler(m_folder.path().c_str());
    m_log.expect(1, "crash handler registered successfully");
    EXPECT_FALSE(m_folder.has("dumps/144.dmp"));
    EXPECT_TRUE(m_folder.has("dumps/145.dmp"));
    EXPECT_TRUE(m_folder.has("dumps/399.dmp"));
    EXPECT_TRUE(m_folder.has("dumps/000"));
    const std::string file = m_folder.write("file", "");
    System::registerCrashHandler(file.c_str());
    m_log.expect(3, "can not access crash dumps directory: " + file + "/dumps");
    m_log.expect(1, "crash handler registered successfully");
    m_log.take();
}

} // namespace
} // namespace qel
