#include <qel/system/report/report_generator.h>

#include <qel/system/core/system.h>
#include <qel/system/report/version.h>

#include <tests/support/environment.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace qel {
namespace {

TEST(ReportGenerator, LinesAreIndentedByTheirLevel) {
    ReportGenerator report;
    report.begin("files: %d", 2);
    report.add("%s", "a");
    report.begin();
    report.add("b");
    report.end();
    report.end();
    report.add("c");
    EXPECT_STREQ(report.getReport(), "files: 2\n  a\n    b\nc\n");
}

TEST(ReportGenerator, LevelsBelowZeroCountAndIndentNothing) {
    ReportGenerator report;
    report.end();
    report.add("a");
    report.begin();
    report.add("b");
    report.begin();
    report.add("c");
    EXPECT_STREQ(report.getReport(), "a\nb\n  c\n");
}

TEST(ReportGenerator, ATextKeepsItsEmptyLinesBetweenOthers) {
    ReportGenerator report;
    report.begin();
    report.addText("a\n\nb\n");
    report.addText("");
    report.addText(nullptr);
    EXPECT_STREQ(report.getReport(), "  a\n  \n  b\n");
}

TEST(ReportGenerator, TheReportGoesOnAfterItWasRead) {
    ReportGenerator report;
    report.add("a");
    EXPECT_STREQ(report.getReport(), "a\n");
    report.add("b");
    EXPECT_STREQ(report.getReport(), "a\nb\n");
}

TEST(ReportGenerator, ALineMayHaveAnyLength) {
    ReportGenerator report;
    const std::string text(100'000, 'x');
    report.add("<%s>", text.c_str());
    EXPECT_EQ(report.getReport(), "<" + text + ">\n");
}

TEST(ReportGenerator, NumbersHaveAPointInEveryLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "de_DE.UTF-8"); // where it is not installed, nothing changes
    ReportGenerator report;
    report.add("%.2f", 1.5);
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_STREQ(report.getReport(), "1.50\n");
}

TEST(ReportGenerator, VerbosityIsKeptForOthers) {
    ReportGenerator report;
    EXPECT_EQ(report.getVerbosity(), 0);
    report.setVerbosity(3);
    EXPECT_EQ(report.getVerbosity(), 3);
}

class SystemInformation : public test::SystemFixture {};

TEST_F(SystemInformation, BuildAndMachineAreLoggedInTheirOrder) {
    test::LogCapture capture;
    system().printInformation();
    std::vector<std::string> heads;
    for (const test::LogLine& line : capture.take()) {
        EXPECT_EQ(line.level, 1);
        heads.push_back(line.text.substr(0, line.text.find(':')));
    }
    EXPECT_EQ(heads, (std::vector<std::string>{"[SYSTEM] build version", "[SYSTEM] build githash",
                                               "[SYSTEM] build tags", "[SYSTEM] build date",
                                               "[SYSTEM] system tags"}));
}

TEST_F(SystemInformation, TheReportHasASectionOfTheSystem) {
    const test::TimeZone zone("UTC0");
    system().overrideExecutablePath("/opt/novix/viewer");
    ReportGenerator report;
    system().report(&report);
    const std::string text = report.getReport();
    EXPECT_TRUE(text.starts_with("system:\n  current time: Mon Jan  1 00:00:0")) << text;
    for (const std::string& line :
         {std::string("  build version: ") + Version::getVersionString(),
          std::string("  build tags:") + Version::getBuildTags(),
          std::string("  executable path: /opt/novix/viewer"), std::string("  performance monitoring:")})
        EXPECT_NE(text.find(line + "\n"), std::string::npos) << line << " is not in\n" << text;
    EXPECT_NE(text.find("  process memory: workingset="), std::string::npos) << text;
    system().report(nullptr);
}

} // namespace
} // namespace qel
