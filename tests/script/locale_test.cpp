// Tests scripts in a host that has set a locale with a decimal comma.
#include "script_fixture.h"

#include <tests/support/comma_locale.h>

#include <cstdio>

namespace {

using qelSq::Object;

/// Returns 1.5 as the C library formats it.
std::string formatHere() {
    char text[16];
    std::snprintf(text, sizeof(text), "%.1f", 1.5);
    return text;
}

class ScriptLocale : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        if (!locale.isSet()) GTEST_SKIP() << "localedef cannot build a locale here";
        ASSERT_EQ(formatHere(), "1,5");
        ScriptFixture::SetUp();
    }

    const qel::test::CommaLocale locale;
};

TEST_F(ScriptLocale, NumbersAreReadAndFormattedWithADecimalPoint) {
    EXPECT_EQ(evaluate("1.5 * 2").asFloat(), 3.0);
    EXPECT_EQ(evaluate("1.5e1").asFloat(), 15.0);
    EXPECT_EQ(evaluate("\"2.5\".tofloat()").asFloat(), 2.5);
    EXPECT_EQ(text("0.25"), "0.25");
    EXPECT_EQ(evaluate("\"\" + 0.25").asString(), "0.25");
    EXPECT_EQ(evaluate("string.format(\"%.2f\", 1.25)").asString(), "1.25");
    EXPECT_EQ(evaluate("compilestring(\"return 1.5\")()").asFloat(), 1.5);
    EXPECT_EQ(evaluate("std.encode_json([1.5])").asString(), "[1.5]");
    EXPECT_EQ(evaluate("std.decode_json(\"[1.5]\")[0]").asFloat(), 1.5);
}

TEST_F(ScriptLocale, PrintedNumbersHaveADecimalPoint) {
    qel::test::LogCapture capture;
    run("print(1.5 * 3)");
    capture.expect(1, "4.5");
}

TEST_F(ScriptLocale, EveryCallFromNativeCodeUsesADecimalPoint) {
    run("::trace <- []; ::pause <- std[\"yield\"]; ::half <- 0.5");
    start("trace.append(half.tostring()); pause(); trace.append(\"1.5\".tofloat().tostring())");
    for (int i = 0; i < 2; ++i) pass();
    evaluate("@() trace.append(half.tostring())").asClosure().getFunctorOnRoot().execute();
    EXPECT_EQ(evaluate("trace.reduce(@(a, b) a + \" \" + b)").asString(), "0.5 1.5 0.5");
    const Object computed = evaluate("class { function _get(key) { return ::half.tostring() } }()");
    EXPECT_EQ(computed.get("any").asString(), "0.5");
    qel::test::LogCapture capture;
    run("throw 0.5 + \" failed\"");
    EXPECT_EQ(vm().getLastError(), "0.5 failed");
    capture.take();
}

TEST_F(ScriptLocale, HostKeepsItsOwnLocale) {
    EXPECT_TRUE(run("::x <- 1.5"));
    pass();
    EXPECT_EQ(formatHere(), "1,5");
}

} // namespace
