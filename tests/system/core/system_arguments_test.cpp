#include <tests/support/system_fixture.h>

#include <utility>
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
    for (const char* names : {"-v|--verbose", "-x"}) EXPECT_TRUE(system().hasArgument(names)) << names;
    for (const char* names : {"-v|--verb", "--verbose-x", ""})
        EXPECT_FALSE(system().hasArgument(names)) << names;
    EXPECT_FALSE(system().hasArgument(nullptr));
}

TEST_F(SystemArguments, AParameterNeedsAnArgumentBehindItsName) {
    give({"-o", "first", "-o", "second", "-x"});
    EXPECT_STREQ(system().getArgumentParameter("--out|-o", "none"), "first");
    EXPECT_STREQ(system().getArgumentParameter("-x", "none"), "none");
    EXPECT_EQ(system().getArgumentParameter("-y", nullptr), nullptr);
}

TEST_F(SystemArguments, NumbersReadAsAStreamReadsThem) {
    const std::pair<const char*, int> cases[] = {
        {" 12rest", 12}, {"-7", -7}, {"word", 0}, {"99999999999999999999", INT32_MAX}, {"--5", 0}, {"+3", 3}};
    for (const auto& [text, number] : cases) {
        give({text, text});
        EXPECT_EQ(system().getArgumentParameterAsInt(text, 1), number) << text;
    }
    EXPECT_EQ(system().getArgumentParameterAsInt("-z", 1), 1) << "absent gives the fallback";
}

TEST_F(SystemArguments, EnvironmentIsTheProcesssOwn) {
    EXPECT_EQ(system().getEnv("PATH"), nullptr);
    for (const char* value : {"value", "later"}) system().setEnv("key", value);
    EXPECT_STREQ(system().getEnv("key"), "later");
    for (int call = 0; call < 2; ++call) system().unsetEnv("key");
    EXPECT_EQ(system().getEnv("key"), nullptr);
    EXPECT_EQ(String(system().getEnv("build-date")).size(), 8u);
}

} // namespace
} // namespace qel
