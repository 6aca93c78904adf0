// The functions of the table `std` by which scripts run programs.
#include <qel/script/script_library_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/process/process.h>
#include <qel/script/access.h>
#include <qel/script/vm.h>

namespace qelSq::internal {

namespace {

using qel::Process;
using qel::String;

constexpr int kInfoLevel = 1;
constexpr int kErrorLevel = 3;
/// A pass logs at most this many lines of each of a program's streams, so that a flood does not delay it.
constexpr int kLinesPerPass = 500;
/// Passes that are enough to read everything that a program left in its pipes, even if it is all empty lines.
/// Output that a descendant writes after that is not awaited.
constexpr int kMostPassesAfterEnd = 2 * 0x100000 / kLinesPerPass;

/// A running program whose output goes to the log.
struct RunningProgram {
    qel::SmartPointer<Process> process;
    int errorLevel;
    int passesAfterEnd = 0;

    /// Logs the lines that have arrived. @return true if the program has ended and all its lines are logged.
    bool hasEnded() {
        // This comes first, so that the reads below find all that was written before the end.
        const bool runs = process->tick();
        const bool hasOutput = !logLines(&Process::readLine, kInfoLevel);
        const bool hasErrors = !logLines(&Process::readErrLine, errorLevel);
        return !runs && ((!hasOutput && !hasErrors) || ++passesAfterEnd > kMostPassesAfterEnd);
    }

private:
    bool logLines(bool (Process::*read)(String&), int level) const {
        String line;
        for (int count = 0; count < kLinesPerPass; ++count) {
            if (!(process.get()->*read)(line)) return true;
            const String text = line.trim_spaces();
            if (!text.empty()) qel::logging::MessageStream(level, 2) << "[PROCESS] " << text;
        }
        return false;
    }
};

/// Starts the program named by the first of @p args. The calling script thread waits for its end and receives
/// its exit status. Outside a script thread, the program runs on by itself.
SQInteger runProgram(SQVM* vm, const qel::List<String>& args, const char* directory, int errorLevel) {
    RunningProgram program{new Process(), errorLevel};
    if (!program.process->spawn(args.front(), args, directory, false)) {
        qel::logging::error() << "starting process failed";
        return 0;
    }
    VM* machine = VM::from(vm);
    if (!machine->isRunning(vm)) {
        machine->addBackgroundWork([program]() mutable { return program.hasEnded(); });
        return 0;
    }
    return machine->suspend(vm, [machine, program](SQVM* thread) mutable {
        const bool isAborting = machine->isCurrentThreadsAsyncQueueAborting();
        if (isAborting) program.process->terminate(false);
        if (!isAborting && !program.hasEnded()) return false;
        sq_pushinteger(thread, isAborting ? -1 : program.process->exitStatus());
        return true;
    });
}

/// Returns the string forms of the parameters at index @p first and above.
qel::List<String> textsFrom(SQVM* vm, SQInteger first) {
    qel::List<String> texts;
    for (SQInteger i = first; i <= sq_gettop(vm); ++i) texts.emplace_back(TextAccess(vm, i).view());
    return texts;
}

SQInteger system(SQVM* vm) {
    if (sq_gettop(vm) < 2) return sq_throwerror(vm, "invalid argument count on system call");
    return runProgram(vm, textsFrom(vm, 2), nullptr, kErrorLevel);
}

SQInteger systemIn(SQVM* vm) {
    if (sq_gettop(vm) < 3) return sq_throwerror(vm, "invalid argument count on system call");
    return runProgram(vm, textsFrom(vm, 3), TextAccess(vm, 2).c_str(), kErrorLevel);
}

SQInteger systemWithArray(SQVM* vm) {
    const SQInteger top = sq_gettop(vm);
    if (top < 4 || top > 5) return sq_throwerror(vm, "invalid argument count on system_ext_array call");
    if (sq_gettype(vm, 4) != OT_ARRAY) {
        return sq_throwerror(vm, "3rd argument on system_ext_array must be an array of strings");
    }
    SQBool isErrorLevel = SQFalse;
    if (top == 5) sq_tobool(vm, 5, &isErrorLevel);
    qel::List<String> args{String(TextAccess(vm, 3).view())};
    for (const Object& value : Object(vm, 4).asArray().getValues()) {
        value.push(vm);
        args.emplace_back(TextAccess(vm, -1).view());
        sq_poptop(vm);
    }
    return runProgram(vm, args, TextAccess(vm, 2).c_str(), isErrorLevel ? kErrorLevel : kInfoLevel);
}

} // namespace

void addProcessFunctions(Object& table) {
    table.asTable()
        .squirrelFunction("system", &system)
        .squirrelFunction("system_ext", &systemIn)
        .squirrelFunction("system_ext_array", &systemWithArray);
}

} // namespace qelSq::internal
