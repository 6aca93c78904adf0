#include <tests/support/system_fixture.h>

#include <vector>

namespace qel {
namespace {

class SystemArguments : public test::SystemFixture {
protected:
    void give(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "program");
        int argc = static_cast<int>(arguments.size());
        system().processCommandLine(argc, const_cast<char**>(arguments.data()));
    }
};

TEST_F(SystemArguments, AreAppendedByEachCallWithoutTheProgramsName) {
    give({"a", "b"});
    give({"c"});
    ASSERT_EQ(system().getNumberOfArguments(), 3u);
    EXPECT_STREQ(system().getArgument(2), "c");
    EXPECT_EQ(system().getArgument(3), nullptr);
}

TEST_F(SystemArguments, MatchAlternativesExactlyAndWholly) {
    give({"--verbose", "-x"});
    EXPECT_TRUE(system().hasArgument("-v|--verbose"));
    EXPECT_TRUE(system().hasArgument("-x"));
    EXPECT_FALSE(system().hasArgument("-v|--verb"));
    EXPECT_FALSE(system().hasArgument("--verbose-x"));
    EXPECT_FALSE(system().hasArgument(""));
    EXPECT_FALSE(system().hasArgument(nullptr));
}

TEST_F(SystemArguments, AParameterNeedsAnArgumentBehindItsName) {
    give({"-o", "first", "-o", "second", "-x"});
    EXPECT_STREQ(system().getArgumentParameter("--out|-o", "none"), "first");
    EXPECT_STREQ(system().getArgumentParameter("-x", "none"), "none");
    EXPECT_EQ(system().getArgumentParameter("-y", nullptr), nullptr);
}

TEST_F(SystemArguments, NumbersReadAsAStreamReadsThem) {
    give({"-a", " 12rest", "-b", "-7", "-c", "word", "-d", "99999999999999999999", "-e", "--5", "-f", "+3"});
    EXPECT_EQ(system().getArgumentParameterAsInt("-a", 1), 12);
    EXPECT_EQ(system().getArgumentParameterAsInt("-b", 1), -7);
    EXPECT_EQ(system().getArgumentParameterAsInt("-c", 1), 0) << "present but no number gives 0";
    EXPECT_EQ(system().getArgumentParameterAsInt("-d", 1), INT32_MAX);
    EXPECT_EQ(system().getArgumentParameterAsInt("-e", 1), 0);
    EXPECT_EQ(system().getArgumentParameterAsInt("-f", 1), 3);
    EXPECT_EQ(system().getArgumentParameterAsInt("-z", 1), 1) << "absent gives the fallback";
}

TEST_F(SystemArguments, EnvironmentIsTheProcesssOwn) {
    EXPECT_EQ(system().getEnv("PATH"), nullptr);
    system().setEnv("key", "value");
    system().setEnv("key", "later");
    EXPECT_STREQ(system().getEnv("key"), "later");
    system().unsetEnv("key");
    system().unsetEnv("key");
    EXPECT_EQ(system().getEnv("key"), nullptr);
    EXPECT_NE(system().getEnv("product-version"), nullptr);
    EXPECT_EQ(String(system().getEnv("build-date")).size(), 8u);
    EXPECT_NE(system().getEnv("build-date-hmr"), nullptr);
}

} // namespace
} // namespace qel
