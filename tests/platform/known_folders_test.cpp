#include <qel/platform/known_folders.h>

#include <tests/support/environment.h>

#include <gtest/gtest.h>

namespace qel::platform {
namespace {

using test::EnvironmentVariable;

TEST(KnownFolders, UserDataFollowsTheXdgRulesAndWithoutHomeTheUserDatabase) {
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
        const EnvironmentVariable none("HOME", unusable);
        EXPECT_FALSE(userLocalDataFolder().starts_with("relative"));
    }
}

TEST(KnownFolders, CommonStartEntriesStandInTheFirstAbsoluteDataFolder) {
    for (const bool isSet : {true, false}) {
        const EnvironmentVariable folders("XDG_DATA_DIRS", isSet ? "relative::/first/:/second" : nullptr);
        EXPECT_EQ(commonStartMenuFolder(), isSet ? "/first/applications" : "/usr/local/share/applications");
    }
}

} // namespace
} // namespace qel::platform
