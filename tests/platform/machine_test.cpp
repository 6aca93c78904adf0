#include <qel/platform/machine.h>
#include <qel/platform/process_self.h>
#include <qel/platform/system_error.h>

#include <tests/support/environment.h>

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <csignal>
#include <list>
#include <thread>
#include <vector>

#include <unistd.h>

namespace qel::platform {
namespace {

using test::EnvironmentVariable;

TEST(Machine, FiguresFitTogether) {
    EXPECT_TRUE(std::has_single_bit(pageSize()));
    EXPECT_GT(freeMemorySize(), 0u);
    EXPECT_LE(freeMemorySize(), physicalMemorySize());
    CpuTimes times;
    ASSERT_TRUE(readCpuTimes(times));
    EXPECT_GT(times.kernel, times.idle) << "kernel time holds the idle time";
}

TEST(Machine, MemoryOfTheProcessGrowsByWhatItTouches) {
    constexpr std::size_t kBytes = std::size_t{64} << 20;
    ProcessMemory before, after;
    ASSERT_TRUE(readProcessMemory(before));
    std::vector<char> bytes(kBytes);
    volatile char* touched = bytes.data(); // no compiler may leave the writes out
    for (std::size_t at = 0; at < kBytes; at += 1024) touched[at] = 'x';
    ASSERT_TRUE(readProcessMemory(after));
    for (const auto figure : {&ProcessMemory::workingSet, &ProcessMemory::privateBytes})
        EXPECT_GE(after.*figure, before.*figure + kBytes * 9 / 10);
}

TEST(ProcessSelf, LocaleNameIsTheFirstVariableThatSaysSomething) {
    const EnvironmentVariable none("LANG", nullptr), type("LC_CTYPE", nullptr), all("LC_ALL", "");
    EXPECT_EQ(userLocaleName(), "C");
    std::list<EnvironmentVariable> variables;
    for (const char* name : {"LANG", "LC_CTYPE", "LC_ALL"}) {
        variables.emplace_back(name, name);
        EXPECT_EQ(userLocaleName(), name);
    }
}

TEST(ProcessSelfDeathTest, EndsAtOnceWithTheStatusOrAtABreakPointWithoutADebugger) {
    EXPECT_EXIT(
        {
            std::atexit([] { _exit(1); });
            endProcess(23);
        },
        testing::ExitedWithCode(23), "");
    EXPECT_EXIT(
        {
            disableCoreImages();
            std::signal(SIGTRAP, SIG_DFL);
            breakPoint();
        },
        testing::KilledBySignal(SIGTRAP), "");
}

TEST(SystemError, EveryThreadHasItsOwnLastCodeAndAnyCodeHasAText) {
    errno = EACCES;
    std::thread([] { errno = ENOENT; }).join();
    EXPECT_EQ(lastErrorCode(), EACCES);
    EXPECT_EQ(errorText(ENOENT), "No such file or directory");
    EXPECT_EQ(errorText(std::int64_t{1} << 40), "Unknown error 1099511627776");
}

} // namespace
} // namespace qel::platform
