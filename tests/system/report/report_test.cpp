#include <qel/system/report/report_generator.h>

#include <tests/support/environment.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace qel {
namespace {

TEST(ReportGenerator, LinesAreIndentedByTheirLevelAndTheReportGoesOnAfterItWasRead) {
    ReportGenerator report;
    report.end(); // a level below zero counts and indents nothing
    report.begin();
    report.begin("files: %d", 2);
    report.addText("a\n\nb\n");
    report.addText("");
    report.addText(nullptr);
    EXPECT_STREQ(report.getReport(), "files: 2\n  a\n  \n  b\n");
    report.end();
    report.add("%s", "c");
    EXPECT_STREQ(report.getReport(), "files: 2\n  a\n  \n  b\nc\n");
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

using SystemInformation = test::SystemFixture;

TEST_F(SystemInformation, BuildAndMachineAreLoggedInTheirOrder) {
    test::LogCapture log;
    system().printInformation();
    std::string heads;
    for (const test::LogLine& line : log.take()) heads += line.text.substr(0, line.text.find(':')) + "\n";
    EXPECT_EQ(heads, "[SYSTEM] build version\n[SYSTEM] build githash\n[SYSTEM] build tags\n"
                     "[SYSTEM] build date\n[SYSTEM] system tags\n");
}

TEST_F(SystemInformation, TheReportHasASectionOfTheSystem) {
    const test::TimeZone zone("UTC0");
    system().overrideExecutablePath("/opt/novix/viewer");
    ReportGenerator report;
    system().report(&report);
    const std::string text = report.getReport();
    EXPECT_TRUE(text.starts_with("system:\n  current time: Mon Jan  1 00:00:0")) << text;
    for (const char* line : {"build version: ", "executable path: /opt/novix/viewer\n",
                             "performance monitoring:\n", "process memory: workingset="})
        EXPECT_NE(text.find(std::string("\n  ") + line), std::string::npos) << line << " is not in\n" << text;
    system().report(nullptr);
}

} // namespace
} // namespace qel
