#include "script_fixture.h"

namespace {

using qel::test::LogCapture;
using qelSq::Object;

class ScriptThreads : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        run("::trace <- []; ::pause <- std[\"yield\"]");
    }

    void passes(int count) {
        for (int i = 0; i < count; ++i) pass();
    }

    // Returns the strings that scripts have appended to `trace`, joined by spaces.
    std::string trace() { return evaluate("trace.reduce(@(a, b) a + \" \" + b)").asString(); }

    // Starts @p source and returns the trace after @p count passes.
    std::string traceOf(const std::string& source, int count = 1) {
        start(source);
        passes(count);
        return trace();
    }
};

TEST_F(ScriptThreads, ThreadsTakeTurnsInOrderOfCreation) {
    for (const std::string name : {"a", "b"})
        start("for (local i = 0; i < 2; i++) { trace.append(\"" + name + "\" + i); pause() }");
    for (const char* expected : {"", "a0 b0", "a0 b0 a1 b1"}) {
        EXPECT_TRUE(vm().threadsActive());
        EXPECT_EQ(trace(), expected);
        pass();
    }
    EXPECT_FALSE(vm().threadsActive());
}

TEST_F(ScriptThreads, ThreadsStartedInAThreadRunInTheSamePass) {
    const char* source = R"(
        std.async(function(a, b) { trace.append(a + b) }, "x", 1); trace.append("outer")
        local values = [getroottable(), function(...) { trace.append(vargv.len()) }]
        for (local i = 0; i < 5000; i++) values.append(i) // more than the stack has room for
        std.async.acall(values))";
    EXPECT_EQ(traceOf(source), "outer x1 5000");
}

TEST_F(ScriptThreads, SleepersWakeAfterTheirTimeAcrossTheWrap) {
    clock.advanceMs(0xFFFFFFFFLL - 60'000);
    for (const int duration : {0, 10, 120'000}) {
        SCOPED_TRACE(duration);
        start("trace.clear(); std.sleep(" + std::to_string(duration) + "); trace.append(\"awake\")");
        pass();
        EXPECT_TRUE(vm().ranThreads());
        pass(duration);
        EXPECT_FALSE(vm().ranThreads());
        pass(1);
        EXPECT_TRUE(vm().ranThreads());
        EXPECT_EQ(trace(), "awake");
    }
}

TEST_F(ScriptThreads, NothingSuspendsTheRootMachine) {
    EXPECT_TRUE(run("std.sleep(1000); pause(); std.sleep_forever(); suspend(1); trace.append(\"went on\")"));
    EXPECT_EQ(trace(), "went on");
    EXPECT_FALSE(vm().threadsActive());
}

TEST_F(ScriptThreads, ErrorEndsOnlyItsOwnThread) {
    LogCapture capture;
    vm().createThread(Object());
    start("pause(); throw \"later\"");
    EXPECT_EQ(traceOf("pause(); pause(); trace.append(\"alive\")", 3), "alive");
    for (const char* when : {"call", "wake"})
        capture.expect(3, std::string("[SUPPORT] squirrel thread failed (") + when + ")");
    EXPECT_EQ(capture.take().size(), 1u);
}

TEST_F(ScriptThreads, SuspendInTheWrongPlaceIsHarmless) {
    LogCapture capture;
    start("try { [1, 2].sort(function(a, b) { std.sleep(1); return 0 }) } catch (e) { trace.append(e) }");
    start("suspend(1); trace.append(\"never\")");
    EXPECT_EQ(traceOf(R"(local t = newthread(function() { std.sleep(50); trace.append("in"); suspend(7) })
                         trace.append(t.call().tostring()); trace.append(t.getstatus()))"),
              "cannot suspend through native calls/metamethods in 7 suspended");
    EXPECT_FALSE(vm().threadsActive());
    capture.take();
}

TEST_F(ScriptThreads, PassWithinAScriptDoesNothing) {
    auto nested = [](HSQUIRRELVM machine) -> SQInteger {
        qelSq::VM::from(machine)->processEvents();
        return 0;
    };
    vm().getRootTable().asTable().squirrelFunction("nested", nested);
    start("nested(); trace.append(\"a\")");
    EXPECT_EQ(traceOf("trace.append(\"b\")"), "a b");
}

// --- queues --------------------------------------------------------------------------------------------

TEST_F(ScriptThreads, SerialQueueContinuesAfterAFailedJob) {
    LogCapture capture;
    start(R"(local q = std.serial_queue(); q.push(function() { throw "job" })
             foreach (name in ["a", "b", "c"]) q.push(function(n) { trace.append(n); pause() }, name)
             q.wait(); trace.append("done"))");
    for (const char* expected : {"a", "a b", "a b c", "a b c", "a b c done"}) {
        pass();
        EXPECT_EQ(trace(), expected);
    }
    EXPECT_EQ(capture.take().size(), 2u);
}

TEST_F(ScriptThreads, JobKnowsItsQueueAndKeepsItAlive) {
    run(R"(trace.append(std.get_current_queue() == null && std.queue().wait.call(5) == null)
           std.queue().push(function() {
               pause(); trace.append(std.get_current_queue().getClassName()) })
           collectgarbage())");
    passes(2);
    EXPECT_EQ(trace(), "true AsyncQueue");
}

TEST_F(ScriptThreads, QueueKeepsToItsLimit) {
    const char* source = R"(
        ::q <- std.queue(); q.set_concurrency(2); ::now <- 0; ::most <- 0
        for (local i = 0; i < 7; i++) q.push(function() {
            if (++::now > ::most) ::most = ::now
            pause(); pause(); --::now })
        q.wait(); trace.append("most " + most)
        ::q <- std.serial_queue()
        for (local i = 0; i < 4; i++) q.push(function() { trace.append("one"); std.sleep_forever() })
        q.set_concurrency(0))";
    EXPECT_EQ(traceOf(source, 25), "most 2 one");
}

TEST_F(ScriptThreads, AbortWakesSleepersAndRefusesJobs) {
    start(R"(::q <- std.queue()
             q.push(function() { std.sleep_forever(); trace.append("forever") })
             q.push(function() { std.sleep(1000000); trace.append("sleep"); pause(); trace.append("end") })
             pause(); q.abort(); q.push(@() trace.append("again")))");
    passes(2);
    EXPECT_EQ(trace(), "forever sleep");
    run("q.push(@() trace.append(\"refused\"))");
    passes(4);
    EXPECT_EQ(trace(), "forever sleep end again");
    EXPECT_TRUE(run("::q <- std.queue(); q.abort(); q.push(); q.push(@() trace.append(\"x\"))"));
    pass();
    EXPECT_EQ(text("q.is_aborting()"), "true") << "an abort from the root machine stays";
    EXPECT_EQ(trace(), "forever sleep end again");
}

} // namespace
