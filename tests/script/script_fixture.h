// A fixture with a script machine on virtual time that captures the log.
#pragma once

#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <string>

namespace qel::test {

/// Runs scripts in the machine of a System whose clock only the test advances.
class ScriptFixture : public SystemFixture {
protected:
    qelSq::VM& vm() { return *system().getVM(); }

    /// Runs @p source at once. @return true if it compiled and ended without an error.
    bool run(const std::string& source) { return vm().executeString(source.c_str(), "test"); }

    /// Returns the value of the expression @p source; null if it fails.
    qelSq::Object evaluate(const std::string& source) {
        if (!run("::result <- " + source)) return {};
        return vm().getRootTable().get("result");
    }

    /// Returns the value of the expression @p source as a string.
    std::string text(const std::string& source) { return evaluate("(" + source + ").tostring()").asString(); }

    /// Starts @p source as a script thread.
    void start(const std::string& source) { vm().createThread(vm().newClosure(source, "test")); }

    /// Advances the clock by @p milliseconds and runs one pass of the script threads.
    void pass(int64 milliseconds = 0) {
        clock.advanceMs(milliseconds);
        vm().processEvents();
    }

    /// Checks that @p source fails with @p error.
    void expectError(const std::string& source, const std::string& error) {
        LogCapture capture;
        EXPECT_FALSE(run(source)) << source;
        auto lines = capture.take();
        ASSERT_EQ(lines.size(), 1u) << source;
        EXPECT_EQ(lines[0].level, 3);
        EXPECT_EQ(lines[0].text.substr(0, lines[0].text.find('\n')), "[SQ.INTERPRETER] " + error) << source;
    }
};

} // namespace qel::test
