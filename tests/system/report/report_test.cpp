#include <qel/system/report/build_description.h>
#include <qel/system/report/report_generator.h>
#include <qel/system/report/version.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

TEST(ReportGenerator, LinesOfAnyLengthAreIndentedByTheirLevel) {
    const std::string text(100'000, 'x');
    ReportGenerator report;
    report.begin("files: %d", 2);
    report.addText("a\n\nb\n");
    report.add("%.2f<%s>", 1.5, text.c_str());
    EXPECT_EQ(std::string(report.getReport()), "files: 2\n  a\n  \n  b\n  1.50<" + text + ">\n");
}

/// Returns the flags as letters: r release, c CE, s research, d dirty.
std::string flagsOf(const internal::BuildDescription& build) {
    return std::string(build.isRelease ? "r" : "") + (build.isCE ? "c" : "") + (build.isResearch ? "s" : "") +
           (build.isDirty ? "d" : "");
}

TEST(BuildDescription, IsParsedToTheVersionTextAndFlags) {
    struct Case {
        const char* description;
        const char* version;
        const char* flags;
    };
    const Case cases[] = {{"", "", ""},
                          {"dirty", "dirty", ""},
                          {"4.2.0-release", "4.2.0", "r"},
                          {"4.2.0-release-12-gabc1234", "4.2.0 release+12 [abc1234]", ""},
                          {"4.2.0-beta.77", "4.2.0 beta", ""},
                          {"4.2.0-ce-dirty", "4.2.0", "rcd"},
                          {"4.2.0-research-dirty", "4.2.0 [+]", "sd"},
                          {"4.2.0-ce-12-gabc1234-dirty", "4.2.0 ce+12 [abc1234+]", "d"},
                          {"4.2.0-ce-gabc1234", "4.2.0 [abc1234]", "rc"}};
    for (const auto& [description, version, flags] : cases) {
        const internal::BuildDescription build = internal::parseBuildDescription(description);
        EXPECT_EQ(build.version, version) << description;
        EXPECT_EQ(flagsOf(build), flags) << description;
    }
}

TEST(Version, NumbersHaveTwoDigitsForMinorAndPatch) {
    const std::pair<const char*, uint32> cases[] = {
        {"4.2.0", 40200}, {"7", 70000}, {" 4. 2.1 ce+12", 40201}, {"4-2-1", 40000}, {".2.1", 0},
        {"", 0},          {nullptr, 0}, {"4.100.0", 50000}};
    for (const auto& [text, number] : cases) EXPECT_EQ(Version::toVersionNumber(text), number) << number;
    EXPECT_EQ(Version::fromVersionNumber(0xFFFFFFFF), "429496.72.95");
    EXPECT_EQ(Version::createFullUDI("0426"), "(01)0426(8012)6.9.0");
    EXPECT_EQ(Version::createFullUDI(nullptr), "NOT AVAILABLE");
}

} // namespace
} // namespace qel
