// VM: the script machine, its threads and its imports.
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

/// The only script machine of a process. It compiles and runs source text, serves imports, and keeps the list
/// of script threads that the main loop resumes. Scripts are trusted code; docs/scripting.md describes what a
/// runaway script can and cannot do to its host.
/// @threads main thread.
class QEL_API VM {
public:
    /// A native function that serves an import; @p argument is the string registered with it.
    using ImportFunction = void (*)(VM* vm, const char* argument);
    /// Decides whether a suspended thread resumes. Before it returns true, it must push one value onto the
    /// thread's stack: the result of the suspended call.
    using WakeCondition = std::function<bool(SQVM* thread)>;

    /// A cooperative script thread.
    struct QEL_API Thread {
        /// Handle of the script machine's thread; the closure to call is already on its stack.
        SQVM* vm = nullptr;
        /// Keeps the thread alive.
        Object object;
        /// Number of values on the stack for the first call, including the receiver.
        qel::int32 argumentCount = 1;
        /// The queue that started the thread; null if none did.
        qel::SmartPointer<AsyncQueue> queue;
        /// Set while the thread is suspended.
        WakeCondition wakeCondition;

        /// Adds an argument to the first call.
        void pushArgument(const Object& value);
    };

    /// Bytes of stack that the compiler may use. It recurses for everything that is nested in a source;
    /// sources that need more are refused. A level of brackets, operators or statements takes up to 1.2 KB, a
    /// level of functions or classes up to 2 KB, so that 1,000 levels of any kind compile. Callers must have
    /// this much stack left.
    static constexpr size_t kCompilerStackBytes = 2 << 20;

    /// Opens the machine, fills its root tables and runs the prelude.
    VM();
    /// Closes the machine. Handles that are still held elsewhere first become null.
    ~VM();
    VM(const VM&) = delete;
    VM& operator=(const VM&) = delete;

    /// Returns true if @p source compiles. @errors are logged by the compiler's error handler.
    bool compileSource(const char* source, size_t length, const char* sourceName);
    /// Compiles @p source and runs it with the root table as its `this`.
    /// @return true if it compiled and ended without an error.
    /// @errors are logged by the error handlers.
    bool executeBuffer(const char* source, size_t length, const char* sourceName);
    /// Calls executeBuffer() with a zero-terminated string.
    bool executeString(const char* source, const char* sourceName);

    /// Compiles @p source and returns its closure; null on failure.
    Object newClosure(std::string_view source, const char* sourceName);
    /// Creates a closure from serialised bytecode, which is as trusted as native code; null on failure.
    Object newClosure(qel::ConstByteSpan bytecode);
    /// Creates a closure of a native function; see the constructors of Object for @p data.
    Object newClosure(SQFUNCTION function, const void* data, size_t size);
    /// Creates an array of @p size nulls.
    Object newArray(SQInteger size);
    /// Creates an empty table.
    Object newTable();
    /// Returns the null value.
    Object newNull() { return {}; }
    /// Returns the root table.
    Object getRootTable();
    /// Returns the table of constants and enumerations.
    Object getConstTable();
    /// Imports the script class @p className and creates an instance of it; null on failure.
    Object construct(const char* className);

    /// Returns the message of the last error; empty if nothing has failed.
    qel::String getLastError();
    /// Returns the message of the last compiler error.
    const qel::String& getLastCompilerDescription() const { return m_lastCompilerDescription; }
    /// Returns the name of the source that contains the last compiler error.
    const qel::String& getLastCompilerSource() const { return m_lastCompilerSource; }
    /// Returns the line of the last compiler error, counted from 1.
    qel::int32 getLastCompilerLine() const { return m_lastCompilerLine; }

    /// Creates a script thread that runs @p closure with the root table as its receiver. It starts in the
    /// next processEvents(), or in the current one if one is running.
    /// @return the thread, which is valid until it ends.
    Thread* createThread(const Object& closure);
    /// Returns true if any thread has not ended.
    bool threadsActive() const { return !m_threads.empty(); }
    /// Returns true if the last processEvents() started or resumed any thread. While it returns true, a host
    /// should run the next pass without a pause.
    bool ranThreads() const { return m_ranThreads; }
    /// Returns true if there are threads or background work for the next processEvents().
    bool hasWork() const { return threadsActive() || !m_backgroundWork.empty(); }
    /// Returns the thread that processEvents() is running now, or null.
    Thread* getCurrentThread() const { return m_currentThread; }
    /// Resumes each thread whose condition holds and starts each new one, once, in the order of creation.
    /// A call from within a script does nothing.
    void processEvents();
    /// Suspends the running thread until @p condition holds. @p vm must be the handle passed to the calling
    /// native function, which must return the result of this call at once.
    /// @return 0, without suspending anything, if @p vm is not the running thread.
    /// @errors raises a script error if the script was called through native code and so cannot be suspended.
    SQInteger suspend(SQVM* vm, WakeCondition condition);
    /// Returns true if @p vm is the handle of the running thread, so that suspend() can suspend it.
    bool isRunning(SQVM* vm) const { return m_currentThread && m_currentThread->vm == vm; }
    /// Calls @p work in each processEvents() until it returns true. It does not count as a thread and must
    /// not add further work.
    void addBackgroundWork(std::function<bool()> work) { m_backgroundWork.push_back(std::move(work)); }
    /// Returns true if the running thread belongs to a queue that is being aborted.
    bool isCurrentThreadsAsyncQueueAborting() const;

    /// Appends a directory to those in which import() searches.
    void addImportSearchPath(const qel::String& path);
    /// Registers @p function for the import @p name; it replaces an earlier one.
    /// @param argument  passed to @p function; null counts as empty.
    void setImportCallback(const char* name, ImportFunction function, const char* argument);
    /// Runs the import @p name, unless this process has already requested it.
    /// @errors are logged.
    void import(const char* name);
    /// Runs a file as a new script thread on every call. @errors are logged.
    void include(const char* path);
    /// Returns a view of the machine that offers only its imports.
    ImportLibrary getLibrary();

    /// Returns the raw handle of the root machine.
    SQVM* getSquirrelVM() const { return m_vm; }
    /// Returns the machine to which the handle @p vm, of the root or of a thread, belongs.
    static VM* from(SQVM* vm);
    /// Returns the handle of the thread that runs now, or of the root; for crash dumps.
    static SQVM* getRunningScript();
    /// Installs the handler that logs run-time errors with the call stack.
    static void seterrorhandlers(SQVM* vm);
    /// Stores and logs a compiler error.
    void reportCompilerError(const char* description, const char* sourceName, qel::int32 line);
    /// Returns how many scripts have failed since the machine was opened: threads, sources, imports, includes
    /// and functors that did not compile, or that ended with an error that no script caught.
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

/// The part of a VM that a library of script classes needs: its imports.
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
