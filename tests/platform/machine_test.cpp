#include <qel/platform/clock.h>
#include <qel/platform/known_folders.h>

#include <tests/support/environment.h>

#include <gtest/gtest.h>

#include <limits>

using namespace qel::platform;

using qel::test::EnvironmentVariable;

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
