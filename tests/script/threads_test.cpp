#include "script_fixture.h"

namespace {

using qel::test::LogCapture;
using qelSq::Object;

class ScriptThreads : public qel::test::ScriptFixture {
protected:
    void SetUp() override {
        ScriptFixture::SetUp();
        run("::trace <- []; ::pause <- std[\"yield\"]");
        clock.advanceMs(1000);
    }

    void passes(int count) {
        for (int i = 0; i < count; ++i) pass();
    }

    // The texts that scripts have appended to `trace`, joined by blanks.
    std::string trace() { return evaluate("trace.reduce(@(a, b) a + \" \" + b)").asString(); }

    // The trace some passes after @p source was started.
    std::string traceOf(const std::string& source, int count = 1) {
        start(source);
        passes(count);
        return trace();
    }
};

TEST_F(ScriptThreads, StartInTheNextPassAndTakeTurnsInTheOrderOfCreation) {
    for (const char* name : {"a", "b"}) {
        start(std::string("for (local i = 0; i < 2; i++) { trace.append(\"") + name + "\" + i); pause() }");
    }
    EXPECT_TRUE(vm().threadsActive());
    EXPECT_EQ(trace(), "");
    pass();
    EXPECT_EQ(trace(), "a0 b0");
    passes(2);
    EXPECT_EQ(trace(), "a0 b0 a1 b1");
    EXPECT_FALSE(vm().threadsActive());
}

TEST_F(ScriptThreads, MadeInAThreadRunInTheSamePass) {
    start("std.async(function(a, b) { trace.append(a + b) }, \"x\", 1); trace.append(\"outer\")");
    EXPECT_EQ(
        traceOf(R"(local values = [getroottable(), function(...) { trace.append(vargv.len().tostring()) }]
                         for (local i = 0; i < 5000; i++) values.append(i) // more than a stack holds
                         std.async.acall(values))"),
        "outer x1 5000");
}

TEST_F(ScriptThreads, SleepersWakeStrictlyBehindTheirTimeAlsoOverTheWrapOfTheClock) {
    clock.advanceMs(0xFFFFFFFFLL - 60'000);
    for (const int duration : {0, 10, 120'000}) {
        SCOPED_TRACE(duration);
        start("trace.clear(); std.sleep(" + std::to_string(duration) + "); trace.append(\"awake\")");
        pass();
        EXPECT_TRUE(vm().ranThreads());
        pass(duration);
        EXPECT_EQ(trace(), "");
        EXPECT_FALSE(vm().ranThreads());
        pass(1);
        EXPECT_EQ(trace(), "awake");
        EXPECT_TRUE(vm().ranThreads());
    }
}

TEST_F(ScriptThreads, NothingSuspendsTheRootMachine) {
    EXPECT_TRUE(run("std.sleep(1000); pause(); std.sleep_forever(); suspend(1); trace.append(\"went on\")"));
    EXPECT_EQ(trace(), "went on");
    EXPECT_FALSE(vm().threadsActive());
}

TEST_F(ScriptThreads, AnErrorEndsItsOwnThreadOnly) {
    LogCapture capture;
    start("throw \"at once\"");
    vm().createThread(Object());
    start("pause(); throw \"later\"");
    EXPECT_EQ(traceOf("pause(); pause(); trace.append(\"alive\")", 3), "alive");
    for (const char* when : {"call", "call", "wake"})
        capture.expect(3, std::string("[SUPPORT] squirrel thread failed (") + when + ")");
    EXPECT_EQ(capture.take().size(), 2u);
}

TEST_F(ScriptThreads, SuspendInTheWrongPlaceIsAnErrorOrTheEndOrDoesNothing) {
    LogCapture capture;
    start("try { [1, 2].sort(function(a, b) { std.sleep(1); return 0 }) } catch (e) { trace.append(e) }");
    start("suspend(1); trace.append(\"never\")");
    EXPECT_EQ(traceOf(R"(local t = newthread(function() { std.sleep(50); trace.append("in"); suspend(7) })
                         trace.append(t.call().tostring()); trace.append(t.getstatus()))"),
              "cannot suspend through native calls/metamethods in 7 suspended");
    EXPECT_FALSE(vm().threadsActive());
    capture.take();
}

TEST_F(ScriptThreads, APassWithinAScriptDoesNothing) {
    auto nested = [](HSQUIRRELVM machine) -> SQInteger {
        qelSq::VM::from(machine)->processEvents();
        return 0;
    };
    vm().getRootTable().asTable().squirrelFunction("nested", nested);
    start("nested(); trace.append(\"a\")");
    EXPECT_EQ(traceOf("trace.append(\"b\")"), "a b");
}

TEST_F(ScriptThreads, SuspendedThreadsEndWithTheMachine) {
    run("::keep <- std.queue()");
    for (int i = 0; i < 20; ++i) {
        start("local big = array(100, \"text\"); local q = std.serial_queue(); keep.push(function() {"
              " std.sleep_forever() }); q.push(function() { std.sleep_forever() }); q.wait(); big.len()");
    }
    pass();
    EXPECT_TRUE(vm().threadsActive());
} // the leak checker looks at what the fixture leaves

// --- queues --------------------------------------------------------------------------------------------

TEST_F(ScriptThreads, ASerialQueueRunsItsJobsOneAfterTheOtherEvenWhenOneFails) {
    LogCapture capture;
    start(R"(local q = std.serial_queue(); q.push(function() { throw "job" })
             foreach (name in ["a", "b", "c"]) q.push(function(n) { trace.append(n); pause() }, name)
             q.wait(); trace.append("done"))");
    pass();
    EXPECT_EQ(capture.take().size(), 2u);
    EXPECT_EQ(trace(), "a");
    pass();
    EXPECT_EQ(trace(), "a b");
    passes(3);
    EXPECT_EQ(trace(), "a b c done");
}

TEST_F(ScriptThreads, AJobKnowsItsQueueAndKeepsItAlive) {
    run(R"(trace.append((std.get_current_queue() == null).tostring() + std.current_queue_is_aborting())
           std.queue().push(function() {
               std.get_current_queue().push(@() trace.append("pushed")); pause()
               trace.append(std.get_current_queue().getClassName()) })
           collectgarbage())");
    passes(2);
    EXPECT_EQ(trace(), "truefalse pushed AsyncQueue");
}

TEST_F(ScriptThreads, AQueueKeepsToItsLimitAndARaisedOneStartsNothingByItself) {
    EXPECT_EQ(
        traceOf(R"(::q <- std.queue(); q.set_concurrency(2); trace.append(q.get_concurrency().tostring())
                         ::now <- 0; ::most <- 0
                         for (local i = 0; i < 7; i++) q.push(function() {
                             if (++::now > ::most) ::most = ::now
                             pause(); pause(); --::now })
                         q.wait(); trace.append(most.tostring()))",
                20),
        "2 2");
    EXPECT_EQ(traceOf(R"(::q <- std.serial_queue()
                         for (local i = 0; i < 4; i++)
                             q.push(function() { trace.append("x"); std.sleep_forever() })
                         q.set_concurrency(0))",
                      5),
              "2 2 x");
}

TEST_F(ScriptThreads, AbortWakesSleepersRefusesJobsAndEndsWithTheLast) {
    start(R"(::q <- std.queue()
             q.push(function() { std.sleep_forever(); trace.append("forever" + std.current_queue_is_aborting()) })
             q.push(function() { std.sleep(1000000); trace.append("sleep"); pause(); trace.append("end") })
             pause(); q.abort(); trace.append("aborted" + q.is_aborting()))");
    pass();
    EXPECT_EQ(trace(), "");
    pass();
    EXPECT_EQ(trace(), "forevertrue sleep");
    run("q.push(@() trace.append(\"refused\"))");
    passes(4);
    EXPECT_EQ(trace(), "forevertrue sleep end abortedfalse");
    run("q.push(@() trace.append(\"again\"))");
    pass();
    EXPECT_EQ(trace(), "forevertrue sleep end abortedfalse again");
    run("::q <- std.queue(); q.abort(); q.push(@() trace.append(\"x\"))");
    pass();
    EXPECT_EQ(text("q.is_aborting()"), "true") << "an abort from the root machine stays";
    EXPECT_EQ(trace(), "forevertrue sleep end abortedfalse again");
}

TEST_F(ScriptThreads, QueueErrorsAreTold) {
    for (const auto& [source, error] :
         {std::pair("std.queue().push()", "invalid argument count on queue.push call"),
          {"std.async()", "invalid argument count on async call"},
          {"std.queue().push.call({}, print)", "native method call on null-pointer"},
          {"clone std.queue()", "clone called on native nocopy qel class"}})
        expectError(source, error);
    EXPECT_TRUE(run("if (std.queue().wait.call(5) != null) throw 1"));
    EXPECT_TRUE(run("local q = std.queue(); q.abort(); q.push()"));
}

} // namespace
