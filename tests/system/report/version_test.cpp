#include <qel/system/report/version.h>

#include <qel/system/report/build_description.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

using internal::BuildDescription;
using internal::parseBuildDescription;

/// The flags as letters: r release, c CE, s research, d dirty.
std::string flagsOf(const BuildDescription& build) {
    return std::string(build.isRelease ? "r" : "") + (build.isCE ? "c" : "") + (build.isResearch ? "s" : "") +
           (build.isDirty ? "d" : "");
}

TEST(BuildDescription, TellsVersionTextAndFlags) {
    const struct {
        const char* description;
        const char* version;
        const char* flags;
    } kCases[] = {
        {"", "", ""},
        {"4.2.0", "4.2.0", ""},
        {"dirty", "dirty", ""},
        {"4.2.0-dirty", "4.2.0", "d"},
        {"4.2.0-ce", "4.2.0", "rc"},
        {"4.2.0-release", "4.2.0", "r"},
        {"4.2.0-research", "4.2.0", "s"},
        {"4.2.0-ce.77", "4.2.0", "rc"},
        {"4.2.0-beta.77", "4.2.0 beta", ""},
        {"4.2.0-ce-dirty", "4.2.0", "rcd"},
        {"4.2.0-research-dirty", "4.2.0 [+]", "sd"},
        {"4.2.0-beta-dirty", "4.2.0 beta [+]", "d"},
        {"4.2.0-ce-12-gabc1234-dirty", "4.2.0 ce+12 [abc1234+]", "d"},
        {"4.2.0-release-3-gabc1234", "4.2.0 release+3 [abc1234]", ""},
        {"4.2.0-research-3", "4.2.0 research+3", ""},
        {"4.2.0-beta-3-gabc1234", "4.2.0 beta+3 [abc1234]", ""},
        {"4.2.0-ce-gabc1234", "4.2.0 [abc1234]", "rc"},
        {"4.2.0-ce-12a-gabc1234", "4.2.0", "rc"},
        {"4.2.0--g", "4.2.0 []", ""},
    };
    for (const auto& expected : kCases) {
        const BuildDescription build = parseBuildDescription(expected.description);
        EXPECT_EQ(build.version, expected.version) << expected.description;
        EXPECT_EQ(flagsOf(build), expected.flags) << expected.description;
    }
}

TEST(Version, TextsOfThisBuildAreWellFormed) {
    EXPECT_GE(std::string(Version::getGitHash()).size(), 40u);
    EXPECT_EQ(std::string(Version::getBuildDate()).size(), 8u);
    EXPECT_STRNE(Version::getCopyrightString(), "");
}

TEST(Version, TagsTellTheBuildsOwnFacts) {
    const std::string tags = Version::getBuildTags();
    EXPECT_TRUE(tags.starts_with(" buildtype-distribution arch-")) << tags;
    EXPECT_NE(tags.find(sizeof(void*) == 8 ? " arch-64bit platform-" : " arch-32bit platform-"),
              std::string::npos);
#if defined(__clang__)
    EXPECT_TRUE(tags.ends_with(" compiler-clang")) << tags;
#elif defined(__GNUC__)
    EXPECT_TRUE(tags.ends_with(" compiler-gcc")) << tags;
#endif
}

TEST(Version, TheTitleJoinsProductNameAndVersion) {
    EXPECT_EQ(Version::decideProductName(), Version::isVersionResearch() ? "Novix Research" : "Novix");
    EXPECT_EQ(Version::getAppTitle("Viewer"),
              Version::decideProductName() + " Viewer " + Version::getVersionString());
}

TEST(Version, TheDeviceIdentifierHasANumberOfItsOwn) {
    EXPECT_EQ(Version::createFullUDI("0426"), "(01)0426(8012)6.9.0");
    EXPECT_EQ(Version::createFullUDI(nullptr), "NOT AVAILABLE");
}

TEST(Version, NumbersHaveTwoDigitsForMinorAndPatch) {
    EXPECT_EQ(Version::toVersionNumber("4.2.0"), 40200u);
    EXPECT_EQ(Version::toVersionNumber("7"), 70000u);
    EXPECT_EQ(Version::toVersionNumber(" 4. 2.1 ce+12"), 40201u);
    EXPECT_EQ(Version::toVersionNumber("4-2-1"), 40000u);
    EXPECT_EQ(Version::toVersionNumber(".2.1"), 0u);
    EXPECT_EQ(Version::toVersionNumber(""), 0u);
    EXPECT_EQ(Version::toVersionNumber(nullptr), 0u);
    EXPECT_EQ(Version::fromVersionNumber(40200), "4.2.0");
    EXPECT_EQ(Version::fromVersionNumber(Version::toVersionNumber("4.100.0")), "5.0.0");
    EXPECT_EQ(Version::fromVersionNumber(0xFFFFFFFF), "429496.72.95");
}

} // namespace
} // namespace qel
