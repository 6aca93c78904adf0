#include <qel/system/tasks/perfmon.h>

#include "../../support/log_capture.h"
#include "../../support/system_fixture.h"

namespace qel {
namespace {

using PerfMonTest = test::SystemFixture;

TEST_F(PerfMonTest, AnUnmatchedBeginOrEndIsLogged) {
    test::LogCapture log;
    PerfMon perfMon;
    for (int i = 0; i < 33; ++i) perfMon.begin("x");
    perfMon.begin("34th");
    log.expect(3, "[PERFMON] too much recursion at begin");
    perfMon.end("34th");
    log.expect(3, "[PERFMON] mismatch begin(x) to end(34th)");
    for (int i = 0; i < 33; ++i) perfMon.end("x");
    EXPECT_TRUE(log.take().empty());
}

} // namespace
} // namespace qel
