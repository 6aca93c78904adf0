#include <qel/foundation/log/message_stream.h>
#include <qel/platform/crash.h>
#include <qel/platform/process_self.h>
#include <qel/system/core/system.h>
#include <qel/system/report/version.h>

#include <tests/support/environment.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace qel {
namespace {

using test::LogCapture;
using test::ScratchFolder;

/// What a command prints.
std::string outputOf(const std::string& command) {
    std::string output;
    std::FILE* stream = popen(command.c_str(), "r");
    for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) output += static_cast<char>(c);
    pclose(stream);
    return output;
}

/// Two functions that a reader of the dump must find again.
[[gnu::noinline]] void crashInAFunctionOfItsOwn(int signal) {
    std::raise(signal);
    asm volatile(""); // keeps the call from becoming a jump
}

[[gnu::noinline]] void writeWhereNothingIs(volatile int* address) {
    *address = 1;
    asm volatile("");
}

#if defined(__clang__)
[[clang::no_sanitize("address", "undefined", "thread")]]
#endif
[[gnu::noinline]] int
recurseForever(int depth) {
    volatile char frame[1024];
    frame[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : recurseForever(depth + 1) + frame[0]; // memory ends long before the numbers do
}

#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#elif defined(__has_feature)
constexpr bool kThreadSanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool kThreadSanitizer = false;
#endif

class CrashDump : public test::SystemFixture {
protected:
    /// Runs @p crash in a child process with the handler registered. @return the dump.
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
        return m_folder.has("dumps/" + nameOfDump()) ? m_folder.read("dumps/" + nameOfDump()) : "";
    }

    std::string nameOfDump() const {
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.path("dumps")))
            if (entry.path().filename().string().ends_with(".dmp")) return entry.path().filename().string();
        return "none";
    }

    const ScratchFolder m_folder;
};

using CrashDumpDeathTest = CrashDump;

TEST_F(CrashDumpDeathTest, TellsBuildSignalRegistersModulesAndLog) {
    const std::string dump = dumpOf(SIGSEGV, [] {
        logging::info() << "the last words";
        writeWhereNothingIs(reinterpret_cast<int*>(0x40));
    });
    EXPECT_TRUE(dump.starts_with(std::string("build: ") + Version::getVersionString() + ", revision "))
        << dump;
    for (const char* part :
         {"\nsignal: 11 SIGSEGV code 1 address 0x40\n", "\nregisters:\n", "\nstack:\n  #0 /",
          "\nmodules:\n  0x", "libqelCore.so", "\nlog:\n", "the last words\n"})
        EXPECT_NE(dump.find(part), std::string::npos) << part << " is not in\n" << dump;
}

TEST_F(CrashDumpDeathTest, ItsPlacesResolveToTheCrashingFunction) {
    dumpOf(SIGSEGV, [] { writeWhereNothingIs(reinterpret_cast<int*>(0x40)); });
    const std::string named = outputOf("'" + test::sourceDir() + "/tools/crash_symbols' '" +
                                       m_folder.path("dumps/" + nameOfDump()) + "'");
    const size_t stack = named.find("\nstack:\n");
    ASSERT_NE(stack, std::string::npos) << named;
    const size_t function = named.find("writeWhereNothingIs", stack);
    EXPECT_LT(function, named.find("  #1 ", stack)) << named;
    EXPECT_NE(named.find("crash_dump_test.cpp:", function), std::string::npos) << named;
}

TEST_F(CrashDumpDeathTest, EverySignalThatEndsAProcessByDefaultLeavesADump) {
    for (const int signal : {SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
        const std::string dump = dumpOf(signal, [signal] { crashInAFunctionOfItsOwn(signal); });
        EXPECT_NE(dump.find("\nsignal: " + std::to_string(signal) + " SIG"), std::string::npos) << dump;
    }
}

TEST_F(CrashDumpDeathTest, AStackOverflowLeavesADump) {
    if (kThreadSanitizer) GTEST_SKIP() << "the thread sanitizer stands between the signal and the handler";
    const std::string dump = dumpOf(SIGSEGV, [] { std::exit(recurseForever(0)); });
    EXPECT_NE(dump.find("SIGSEGV"), std::string::npos) << dump;
}

TEST_F(CrashDumpDeathTest, AnyThreadMayCrash) {
    const std::string dump = dumpOf(SIGSEGV, [] {
        std::thread([] {
            const platform::CrashStack stack;
            writeWhereNothingIs(reinterpret_cast<int*>(0x40));
        }).join();
    });
    EXPECT_NE(dump.find("address 0x40"), std::string::npos) << dump;
}

TEST_F(CrashDumpDeathTest, TheScriptsStackComesLastAndMayFault) {
    const std::string dump = dumpOf(SIGSEGV, [] { // the second fault ends the process by its own signal
        platform::setScriptStackWriter([](platform::CrashWriter& out) {
            out.text("  main.sq:12 walk\n");
            out.flush();
            writeWhereNothingIs(reinterpret_cast<int*>(0x40));
        });
        crashInAFunctionOfItsOwn(SIGABRT);
    });
    EXPECT_TRUE(dump.ends_with("\nscript stack:\n  main.sq:12 walk\n")) << dump;
}

TEST_F(CrashDump, ItsNameTellsWhenWhatAndWhichBuild) {
    const test::TimeZone zone("UTC0");
    system().overrideExecutablePath("/opt/novix/viewer");
    const std::string name = (dumpOf(SIGABRT, [] { crashInAFunctionOfItsOwn(SIGABRT); }), nameOfDump());
    EXPECT_TRUE(name.starts_with("20240101000000_viewer_")) << name;
    EXPECT_TRUE(name.ends_with("_" + std::string(Version::getGitHash()).substr(0, 10) + ".dmp")) << name;
}

class CrashRegistration : public test::SystemFixture {
protected:
    void TearDown() override {
        platform::removeCrashHandler();
        SystemFixture::TearDown();
    }

    const ScratchFolder m_folder;
};

TEST_F(CrashRegistration, KeepsTheLast255OldDumps) {
    for (int i = 100; i < 400; ++i) m_folder.write("dumps/" + std::to_string(i) + ".dmp", "");
    m_folder.makeFolder("dumps/000");
    LogCapture capture;
    System::registerCrashHandler(m_folder.path().c_str());
    capture.expect(1, "crash handler registered successfully");
    const auto entries = std::filesystem::directory_iterator(m_folder.path("dumps"));
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 255 + 1);
    EXPECT_FALSE(m_folder.has("dumps/144.dmp"));
    EXPECT_TRUE(m_folder.has("dumps/145.dmp"));
    EXPECT_TRUE(m_folder.has("dumps/000"));
}

TEST_F(CrashRegistration, AFolderThatCannotBeMadeStopsNothing) {
    const std::string file = m_folder.write("file", "");
    LogCapture capture;
    System::registerCrashHandler(file.c_str());
    capture.expect(3, "can not access crash dumps directory: " + file + "/dumps");
    capture.expect(1, "crash handler registered successfully");
    capture.take();
}

} // namespace
} // namespace qel
