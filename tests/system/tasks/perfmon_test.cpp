#include <qel/system/tasks/perfmon.h>

#include "../../support/log_capture.h"
#include "../../support/system_fixture.h"

namespace qel {
namespace {

class PerfMonTest : public test::SystemFixture {
protected:
    /// A section @p name that takes @p milliseconds.
    void section(const char* name, int64 milliseconds) {
        perfMon.begin(name);
        clock.advanceMs(milliseconds);
        perfMon.end(name);
    }
    std::string reportAfter(int64 milliseconds) {
        clock.advanceMs(milliseconds);
        system().getTime();
        perfMon.updateReport();
        return perfMon.getReport();
    }

    test::LogCapture log;
    PerfMon perfMon;
};

TEST_F(PerfMonTest, SharesMultiplyDownTheTree) {
    perfMon.begin("Main");
    char name[] = "b";
    section(name, 25);
    name[0] = 'a';
    perfMon.begin(name);
    clock.advanceMs(30);
    section("half", 30);
    perfMon.end("a");
    perfMon.beginLiteral("b", 0);
    perfMon.endLiteral("b", 150'000);
    clock.advanceMs(15);
    perfMon.end("Main");
    section("Alone", 50);
    EXPECT_EQ(reportAfter(3000), " * 100.00% 100.00% 50.0ms Alone\n"
                                 " * 100.00% 100.00% 100.0ms Main\n"
                                 "  * 60.00% 60.00% 60.0ms a\n"
                                 "   * 30.00% 50.00% 30.0ms half\n"
                                 "  * 40.00% 40.00% 25.0ms b\n");
}

TEST_F(PerfMonTest, EachReportCoversTheTwoSecondsSinceTheLast) {
    const char* none = " * 100.00% 100.00%  0.0ms a\n";
    reportAfter(2001);
    section("a", 100);
    EXPECT_EQ(reportAfter(1900), ""); // not yet
    EXPECT_EQ(reportAfter(1), " * 100.00% 100.00% 100.0ms a\n");
    EXPECT_EQ(reportAfter(2001), none);
    perfMon.begin("a");
    clock.setUtcTicks(clock.utcTicks() - 36'000'000'000);
    perfMon.end("a");
    EXPECT_EQ(reportAfter(3000), none) << "a wall clock set back is no time";
}

TEST_F(PerfMonTest, AnUnmatchedBeginOrEndIsLogged) {
    for (int i = 0; i < 33; ++i) perfMon.begin("x");
    perfMon.begin("34th");
    log.expect(3, "[PERFMON] too much recursion at begin");
    perfMon.end("34th");
    log.expect(3, "[PERFMON] mismatch begin(x) to end(34th)");
    for (int i = 0; i < 33; ++i) perfMon.end("x");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(PerfMonTest, ABlockingSectionIsLoggedOnTheTopmostLevel) {
    perfMon.begin("Main");
    section("Tick", 5001);
    log.expect(2, "[PERFMON] blocking section 'Main/Tick' time=5001ms #total=0");
    perfMon.end("Main");
    log.expect(2, "[PERFMON] blocking section 'Main' time=5001ms #total=1");
    section("Main", 4000); // exactly four seconds don't block
    EXPECT_EQ(perfMon.getBlockingCount(), 1u);
    EXPECT_EQ(perfMon.getBlockingTimeMillis(), 10'002u);
}

} // namespace
} // namespace qel
