#include <qel/platform/clock.h>
#include <qel/platform/known_folders.h>
#include <qel/platform/machine.h>
#include <qel/platform/process_self.h>

#include <tests/support/environment.h>

#include <gtest/gtest.h>

#include <bit>
#include <chrono>
#include <csignal>
#include <limits>
#include <list>
#include <vector>

#include <unistd.h>

using namespace qel::platform;

using qel::test::EnvironmentVariable;

TEST(Machine, FiguresAreConsistent) {
    EXPECT_TRUE(std::has_single_bit(pageSize()));
    EXPECT_GT(freeMemorySize(), 0u);
    EXPECT_LE(freeMemorySize(), physicalMemorySize());
    CpuTimes times;
    ASSERT_TRUE(readCpuTimes(times));
    EXPECT_GT(times.kernel, times.idle) << "kernel time includes the idle time";
}

TEST(Machine, MemoryOfTheProcessGrowsByWhatItTouches) {
    constexpr std::size_t kBytes = std::size_t{64} << 20;
    ProcessMemory before, after;
    ASSERT_TRUE(readProcessMemory(before));
    std::vector<char> bytes(kBytes);
    volatile char* touched = bytes.data(); // keeps the compiler from removing the writes
    for (std::size_t at = 0; at < kBytes; at += 1024) touched[at] = 'x';
    ASSERT_TRUE(readProcessMemory(after));
    for (const auto figure : {&ProcessMemory::workingSet, &ProcessMemory::privateBytes})
        EXPECT_GE(after.*figure, before.*figure + kBytes * 9 / 10);
}

TEST(Clock, WallClockCountsFrom1601In100NanosecondTicks) {
    using std::chrono::system_clock;
    const auto unixNow = [] { return system_clock::to_time_t(system_clock::now()); };
    const std::int64_t before = unixNow();
    const std::int64_t seconds = utcTicks() / 10'000'000 - 11'644'473'600;
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, unixNow());
}

TEST(Clock, RefusesYearsThatDoNotFitAnInt) {
    using Limits = std::numeric_limits<std::int64_t>;
    const qel::test::TimeZone zone("UTC0");
    CalendarTime time{1, 2, 3, 4, 5, 6, 0};
    for (const std::int64_t seconds : {Limits::min(), Limits::max()}) {
        EXPECT_FALSE(utcCalendarTime(seconds, time));
        EXPECT_FALSE(localCalendarTime(seconds, time));
        EXPECT_EQ(localTimeText(seconds), "");
    }
    EXPECT_EQ(localTimeText(1'704'067'200), "Mon Jan  1 00:00:00 2024");
    EXPECT_EQ(localTimeText(253'402'300'799), "Fri Dec 31 23:59:59 9999");
    EXPECT_EQ(localTimeText(253'402'300'800), "");
}

TEST(KnownFolders, UserDataFollowsTheXdgRules) {
    const EnvironmentVariable home("HOME", "/home/somebody/");
    {
        const EnvironmentVariable data("XDG_DATA_HOME", "/data//");
        EXPECT_EQ(userLocalDataFolder(), "/data");
        EXPECT_EQ(userStartMenuFolder(), "/data/applications");
    }
    for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/data"}) {
        const EnvironmentVariable data("XDG_DATA_HOME", unusable);
        EXPECT_EQ(userLocalDataFolder(), "/home/somebody/.local/share");
        const EnvironmentVariable root("HOME", "/");
        EXPECT_EQ(userLocalDataFolder(), "/.local/share");
    }
}

TEST(KnownFolders, CommonStartEntriesAreInTheFirstAbsoluteDataFolder) {
    const EnvironmentVariable folders("XDG_DATA_DIRS", "relative::/first/:/second");
    EXPECT_EQ(commonStartMenuFolder(), "/first/applications");
    const EnvironmentVariable none("XDG_DATA_DIRS", nullptr);
    EXPECT_EQ(commonStartMenuFolder(), "/usr/local/share/applications");
}

TEST(ProcessSelf, LocaleNameIsTheFirstNonEmptyVariable) {
    const EnvironmentVariable none("LANG", nullptr), type("LC_CTYPE", nullptr), all("LC_ALL", "");
    EXPECT_EQ(userLocaleName(), "C");
    std::list<EnvironmentVariable> variables;
    for (const char* name : {"LANG", "LC_CTYPE", "LC_ALL"}) {
        variables.emplace_back(name, name);
        EXPECT_EQ(userLocaleName(), name);
    }
}

TEST(ProcessSelfDeathTest, EndsAtOnceOrAtABreakPoint) {
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
