// VM: the script machine with its threads and imports.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/script/object.h>

#include <functional>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace qelSq {

class AsyncQueue;
class ImportLibrary;
struct VMControl;

/// The one script machine of a process. It compiles and runs texts, serves imports, and keeps the list of
/// script threads that the main loop resumes. Scripts are trusted code; docs/scripting.md tells what a
/// runaway script can and cannot do to its host.
/// @threads main thread.
class QEL_API VM {
public:
    /// A native function that serves an import, with the text registered for it.
    using ImportFunction = void (*)(VM* vm, const char* argument);
    /// Whether a suspended thread goes on. One that returns true has pushed one value onto the thread's
    /// stack: what the suspended call gives to the script.
    using WakeCondition = std::function<bool(SQVM* thread)>;

    /// A cooperative script thread.
    struct QEL_API Thread {
        /// Handle of the script machine's thread; its first call is already on its stack.
        SQVM* vm = nullptr;
        /// Keeps the thread alive.
        Object object;
        /// Values on the stack for the first call, the receiver included.
        qel::int32 argumentCount = 1;
        /// The queue that started the thread; null for a free one.
        qel::SmartPointer<AsyncQueue> queue;
        /// Set while the thread is suspended.
        WakeCondition wakeCondition;

        /// Adds an argument to the first call.
        void pushArgument(const Object& value);
    };

    /// Stack that the compiler may use, which calls itself for whatever is nested in a source; deeper sources
    /// are refused. A level of brackets, operators or statements takes up to 1.2 KB, one of functions or
    /// classes up to 2 KB, so that 1,000 levels of any kind pass. Callers need that much stack to be left.
    static constexpr size_t kCompilerStackBytes = 2 << 20;

    /// Opens the machine, fills its root tables and runs the prelude.
    VM();
    /// Closes the machine. Handles that are still held elsewhere turn into nulls first.
    ~VM();
    VM(const VM&) = delete;
    VM& operator=(const VM&) = delete;

    /// Whether @p source compiles. @errors logged by the compiler's handler.
    bool compileSource(const char* source, size_t length, const char* sourceName);
    /// Compiles and runs a text on the root table. @return whether it compiled and ended without an error.
    /// @errors logged by the handlers.
    bool executeBuffer(const char* source, size_t length, const char* sourceName);
    /// executeBuffer() of a zero-terminated text.
    bool executeString(const char* source, const char* sourceName);

    /// Compiles a text; null on failure.
    Object newClosure(std::string_view source, const char* sourceName);
    /// A closure from serialised bytecode, which is trusted like native code; null on failure.
    Object newClosure(qel::ConstByteSpan bytecode);
    /// A closure of a native function; see Object for the block of bytes.
    Object newClosure(SQFUNCTION function, const void* data, size_t size);
    /// An array of @p size nulls.
    Object newArray(SQInteger size);
    /// An empty table.
    Object newTable();
    /// The null value.
    Object newNull() { return {}; }
    /// The root table.
    Object getRootTable();
    /// The table of constants and enumerations.
    Object getConstTable();
    /// Imports the script class @p className and makes an instance of it; null on failure.
    Object construct(const char* className);

    /// The text of the last error; empty when there is none.
    qel::String getLastError();
    /// What the last compiler error said.
    const qel::String& getLastCompilerDescription() const { return m_lastCompilerDescription; }
    /// The source in which it was.
    const qel::String& getLastCompilerSource() const { return m_lastCompilerSource; }
    /// The line on which it was, from 1.
    qel::int32 getLastCompilerLine() const { return m_lastCompilerLine; }

    /// Makes a script thread on @p closure, with the root table as its receiver. It starts in the next (or
    /// the running) processEvents().
    /// @return valid until the thread ends.
    Thread* createThread(const Object& closure);
    /// Whether there is any thread that has not ended.
    bool threadsActive() const { return !m_threads.empty(); }
    /// Whether the last processEvents() started or resumed any thread. While it does, a host should go on
    /// without a pause.
    bool ranThreads() const { return m_ranThreads; }
    /// Whether the next processEvents() has anything to do: threads or background work.
    bool hasWork() const { return threadsActive() || !m_backgroundWork.empty(); }
    /// The thread that processEvents() is running now, else null.
    Thread* getCurrentThread() const { return m_currentThread; }
    /// Resumes each thread whose condition holds and starts each new one, once, in the order of creation.
    /// A call from within a script does nothing.
    void processEvents();
    /// Suspends the running thread until @p condition holds. @p vm must be the handle that the calling native
    /// function was given; it returns the result of this call at once.
    /// @return 0, with nothing suspended, when @p vm is not the running thread.
    /// @errors a script error when the script was called through native code and so can't be suspended.
    SQInteger suspend(SQVM* vm, WakeCondition condition);
    /// Whether @p vm is the handle of the running thread, so that suspend() can suspend it.
    bool isRunning(SQVM* vm) const { return m_currentThread && m_currentThread->vm == vm; }
    /// Calls @p work in each processEvents() until it returns true. It counts as no thread and must not add
    /// further work.
    void addBackgroundWork(std::function<bool()> work) { m_backgroundWork.push_back(std::move(work)); }
    /// Whether the running thread belongs to a queue that is being aborted.
    bool isCurrentThreadsAsyncQueueAborting() const;

    /// Adds a directory in which import() looks, behind those that are there.
    void addImportSearchPath(const qel::String& path);
    /// Lets @p function serve the import @p name, in place of an earlier one. @param argument  null: empty.
    void setImportCallback(const char* name, ImportFunction function, const char* argument);
    /// Runs the import @p name, unless it was already asked for in this process.
    /// @errors logged.
    void import(const char* name);
    /// Runs a file as a new script thread, each time it is asked for. @errors logged.
    void include(const char* path);
    /// The view of the machine that only serves imports.
    ImportLibrary getLibrary();

    /// The raw handle of the root machine.
    SQVM* getSquirrelVM() const { return m_vm; }
    /// The machine that @p vm or one of its threads belongs to.
    static VM* from(SQVM* vm);
    /// The machine's thread that runs now, or the root; for crash dumps.
    static SQVM* getRunningScript();
    /// Installs the handler that logs run-time errors with the call stack.
    static void seterrorhandlers(SQVM* vm);
    /// Remembers and logs an error of the compiler.
    void reportCompilerError(const char* description, const char* sourceName, qel::int32 line);
    /// How many scripts have failed since the machine was opened: threads, texts, imports, includes and
    /// functors that did not compile, or that ended by an error that no script caught.
    qel::uint32 getFailedScriptCount() const { return m_failedScriptCount; }
    /// Adds one to getFailedScriptCount().
    void noteFailedScript() { ++m_failedScriptCount; }

private:
    using ThreadList = qel::List<Thread>;
    struct Import {
        ImportFunction function;
        qel::String argument;
    };

    void initImport();
    qel::String findImport(const char* name) const;
    bool runThread(Thread& thread);
    void reportFailedThread(const char* step);
    ThreadList::iterator endThread(ThreadList::iterator thread);

    SQVM* m_vm = nullptr;
    std::unique_ptr<VMControl> m_control;
    ThreadList m_threads;
    Thread* m_currentThread = nullptr;
    bool m_ranThreads = false;
    qel::Vector<std::function<bool()>> m_backgroundWork;
    std::unordered_set<qel::String> m_importedNames;
    qel::Vector<qel::String> m_importSearchPaths;
    std::unordered_map<qel::String, Import> m_importCallbacks;
    qel::String m_lastCompilerDescription;
    qel::String m_lastCompilerSource;
    qel::int32 m_lastCompilerLine = 0;
    qel::uint32 m_failedScriptCount = 0;
};

/// What a library of script classes needs of a VM: its imports.
/// @threads main thread.
class QEL_API ImportLibrary {
public:
    /// Views @p vm, which must outlive the view.
    explicit ImportLibrary(VM& vm) : m_vm(&vm) {}
    /// @copydoc VM::addImportSearchPath
    void addImportSearchPath(const qel::String& path) { m_vm->addImportSearchPath(path); }
    /// @copydoc VM::setImportCallback
    void setImportCallback(const char* name, VM::ImportFunction function, const char* argument) {
        m_vm->setImportCallback(name, function, argument);
    }
    /// @copydoc VM::import
    void import(const char* name) { m_vm->import(name); }

private:
    VM* m_vm;
};

} // namespace qelSq
