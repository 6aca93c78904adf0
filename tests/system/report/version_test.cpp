#include <qel/system/report/version.h>

#include <qel/system/report/build_description.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

using internal::BuildDescription;
using internal::parseBuildDescription;

/// The version's text, a bar, and the flags as letters: r release, c CE, s research, d dirty.
std::string parsed(const char* description) {
    const BuildDescription build = parseBuildDescription(description);
    return build.version + "|" + (build.isRelease ? "r" : "") + (build.isCE ? "c" : "") +
           (build.isResearch ? "s" : "") + (build.isDirty ? "d" : "");
}

TEST(BuildDescription, TellsVersionTextAndFlags) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "|"},
        {"4.2.0", "4.2.0|"},
        {"dirty", "dirty|"},
        {"4.2.0-dirty", "4.2.0|d"},
        {"4.2.0-ce", "4.2.0|rc"},
        {"4.2.0-release", "4.2.0|r"},
        {"4.2.0-research", "4.2.0|s"},
        {"4.2.0-ce.77", "4.2.0|rc"},
        {"4.2.0-beta.77", "4.2.0 beta|"},
        {"4.2.0-ce-dirty", "4.2.0|rcd"},
        {"4.2.0-research-dirty", "4.2.0 [+]|sd"},
        {"4.2.0-ce-12-gabc1234-dirty", "4.2.0 ce+12 [abc1234+]|d"},
        {"4.2.0-release-3-gabc1234", "4.2.0 release+3 [abc1234]|"},
        {"4.2.0-research-3", "4.2.0 research+3|"},
        {"4.2.0-ce-gabc1234", "4.2.0 [abc1234]|rc"},
        {"4.2.0-ce-12a-gabc1234", "4.2.0|rc"},
        {"4.2.0--g", "4.2.0 []|"}};
    for (const auto& [description, expected] : cases) EXPECT_EQ(parsed(description), expected) << description;
}

TEST(Version, TagsTellTheBuildsOwnFacts) {
    const std::string tags = Version::getBuildTags();
    EXPECT_TRUE(tags.starts_with(" buildtype-distribution arch-")) << tags;
#if defined(__clang__)
    EXPECT_TRUE(tags.ends_with(" compiler-clang")) << tags;
#elif defined(__GNUC__)
    EXPECT_TRUE(tags.ends_with(" compiler-gcc")) << tags;
#endif
}

TEST(Version, TheDeviceIdentifierHasANumberOfItsOwn) {
    EXPECT_EQ(Version::createFullUDI("0426"), "(01)0426(8012)6.9.0");
    EXPECT_EQ(Version::createFullUDI(nullptr), "NOT AVAILABLE");
}

TEST(Version, NumbersHaveTwoDigitsForMinorAndPatch) {
    const std::pair<const char*, uint32> cases[] = {
        {"4.2.0", 40200}, {"7", 70000}, {" 4. 2.1 ce+12", 40201}, {"4-2-1", 40000}, {".2.1", 0},
        {"", 0},          {nullptr, 0}, {"4.100.0", 50000}};
    for (const auto& [text, number] : cases) EXPECT_EQ(Version::toVersionNumber(text), number) << number;
    EXPECT_EQ(Version::fromVersionNumber(40200), "4.2.0");
    EXPECT_EQ(Version::fromVersionNumber(0xFFFFFFFF), "429496.72.95");
}

} // namespace
} // namespace qel
