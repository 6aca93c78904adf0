#include <qel/system/report/build_description.h>
#include <qel/system/report/report_generator.h>
#include <qel/system/report/version.h>

#include <tests/support/environment.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

namespace qel {
namespace {

TEST(ReportGenerator, LinesOfAnyLengthAreIndentedByTheirLevel) {
    ReportGenerator report;
    report.end(); // a level below zero is counted and not indented
    report.begin();
    report.begin("files: %d", 2);
    for (const char* text : {"a\n\nb\n", "", static_cast<const char*>(nullptr)}) report.addText(text);
    const std::string before = report.getReport();
    EXPECT_EQ(before, "files: 2\n  a\n  \n  b\n");
    report.end();
    const std::string text(100'000, 'x');
    report.add("%.2f<%s>", 1.5, text.c_str());
    EXPECT_EQ(report.getReport(), before + "1.50<" + text + ">\n");
}

using SystemInformation = test::SystemFixture;

TEST_F(SystemInformation, BuildAndMachineAreLogged) {
    const test::TimeZone zone("UTC0");
    test::LogCapture log;
    system().printInformation();
    EXPECT_EQ(log.take().size(), 5u);
    system().overrideExecutablePath("/opt/novix/viewer");
    ReportGenerator report;
    for (ReportGenerator* target : {&report, static_cast<ReportGenerator*>(nullptr)}) system().report(target);
    const std::string text = report.getReport();
    EXPECT_TRUE(text.starts_with("system:\n  current time: Mon Jan  1 00:00:0")) << text;
    for (const char* line : {"build version: ", "executable path: /opt/novix/viewer\n",
                             "performance monitoring:\n", "process memory: workingset="})
        EXPECT_NE(text.find(std::string("\n  ") + line), std::string::npos) << line << " is not in\n" << text;
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
                          {"4.2.0-ce-gabc1234", "4.2.0 [abc1234]", "rc"},
                          {"4.2.0-ce-12a-gabc1234", "4.2.0", "rc"},
                          {"4.2.0--g", "4.2.0 []", ""}};
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
