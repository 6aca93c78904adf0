#include <tests/support/system_fixture.h>

#include <vector>

namespace qel {
namespace {

class SystemState : public test::SystemFixture {
protected:
    void give(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "program");
        int argc = static_cast<int>(arguments.size());
        system().processCommandLine(argc, const_cast<char**>(arguments.data()));
    }
};

TEST_F(SystemState, ArgumentsAreAppendedAndMatchAlternativesExactly) {
    give({"--verbose"});
    give({"-x"});
    EXPECT_STREQ(system().getArgument(1), "-x");
    EXPECT_EQ(system().getArgument(2), nullptr);
    EXPECT_TRUE(system().hasArgument("-v|--verbose"));
    for (const char* names : {"-v|--verb", "--verbose-x", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(system().hasArgument(names));
}

} // namespace
} // namespace qel
