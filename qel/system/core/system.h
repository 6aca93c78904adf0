// System: the singleton behind a host: life cycle, main loop, time, arguments and hooks.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/signal.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/system/core/application.h>
#include <qel/system/core/host_types.h>
#include <qel/system/core/parallel_kernel.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <unordered_map>
#include <unordered_set>

namespace qelSq {
class VM;
}

namespace qel {

class AudioInput;
class AudioInputParameters;
class AudioOutput;
class AudioOutputParameters;
class BitmapFont;
class Buffer;
class Camera;
class CameraMetadata;
class CameraParameters;
class GUID;
class GUIDDomain;
class GUIDDomainDB;
class Image;
class KeyboardReceiver;
class KeyGenSpec;
class MainPool;
class NotificationMessage;
class Parallel;
class PassClock;
class PerfMon;
class RandomEngine;
class Renderer;
class ReportGenerator;
class ResourceLocator;
class Scheduler;
class Sprite;
class StdInPacketReader;
class StdOutPacketWriter;
class SystemStream;
class TaskQueue;
class Theme;
class ThreadPool;
class TouchState;
class TrueTypeFont;
class URLFetch;
struct Float3x3;

/// The singleton that a host starts, drives and stops.
///
/// A host calls initialize(), then processEvents() from one thread for as long as it lives, then
/// deinitialize(). That thread is the main thread; what is not documented as safe from any thread belongs to
/// it. The members are defined in the units that have what they need: time, arguments, environment and plain
/// state in system/core; directories, machine, random numbers, commands and keyboard in system/services; the
/// file blacklist in files; resources in plugins; reports and crash dumps in system/report; construction,
/// destruction and the pass in system/assembly.
class QEL_API System : public Object {
    QEL_CLASS(System, Object)

public:
    /// Creates an `Application`; the library takes the first reference.
    using ApplicationFactory = std::function<Application*()>;

    /// Bits of the flags of a pass. Other bits belong to the host and are passed through to getEventFlags().
    enum EventFlag : int {
        kEventLowPower = 1, ///< nothing moves, so this pass may skip what only animation needs
        kEventFullPass = 2, ///< requests a full pass; overrides kEventLowPower
    };

    /// Bits of the flags of runCommand().
    enum CommandFlag : int {
        kCommandNoWait = 1,   ///< return at once with the result 0
        kCommandDetached = 2, ///< the command may outlive this process
        kCommandElevated = 4, ///< ask for administrator rights; the result is 1 for success, 0 for failure
    };

    // --- start and end ------------------------------------------------------------------------------

    /// Creates the only System. Another call while it exists logs an error and does nothing.
    /// @param factory  creates the application in the first getApplication(); if empty, a plain `Application`
    ///                 is created.
    static void initialize(const ApplicationFactory& factory);
    /// Does the same, then calls processCommandLine() with the host's arguments.
    static void initialize(int& argc, char** argv, const ApplicationFactory& factory);
    /// Stops everything and deletes the System. initialize() works again afterwards.
    /// @errors logs an error if there is no System, or a warning if others still hold references to it;
    /// nothing is torn down in either case.
    static void deinitialize();
    /// Returns true on the main thread, which is the one that called initialize(). @threads any thread.
    bool isMainThread() const { return std::this_thread::get_id() == m_mainThread; }

    /// Returns the host's application, created by the factory on first use and held until clearApplication().
    Application* getApplication();
    /// Releases the application; the next getApplication() creates a new one.
    void clearApplication();

    /// Calls syncUnsaved(), then the C library's exit().
    void exitProcess(int status);
    /// Ends the process at once without flushing anything. @threads any thread.
    [[noreturn]] static void forceExitProcess(int status);
    /// Makes an interrupt from the terminal or the session set a flag instead of ending the process.
    static void installInterruptHandler();
    /// Returns true if an interrupt has arrived since the flag was last cleared. @threads any thread.
    static bool wasInterruptHandlerCalled();
    /// Sets or clears the interrupt flag. @threads any thread.
    static void setHitSIGINT(bool hit);

    // --- main loop ----------------------------------------------------------------------------------

    /// Runs one pass of the main loop: tick, scripts, main-thread tasks, alarms, timed references, idle work.
    /// @param flags  bits of EventFlag and bits that belong to the host.
    void processEvents(int flags);
    /// Runs passes until an interrupt arrives; sleeps 1 ms through delegateSleep after a short pass.
    void runSimpleMainLoop();
    /// Returns the flags of the current pass, after the low-power decision.
    int getEventFlags() const { return m_eventFlags; }

    /// Asks for the process to stay alive for the next 30 seconds.
    void stayAlive();
    /// Returns true if stayAlive() was called in the last 30 seconds.
    bool shouldStayAlive() const;

    /// Sets the time by which the work of a frame should end. @param milliseconds  counted from now.
    void setDeadlineIn(unsigned milliseconds);
    /// Removes the deadline.
    void clearDeadline() { m_deadline.store(0, std::memory_order_relaxed); }
    /// Returns true if the deadline has passed; false if none is set. @threads any thread.
    bool isDeadlineExceeded();
    /// Returns true if the deadline will have passed in @p milliseconds; false if none is set.
    /// @threads any thread.
    bool isDeadlineExceededIn(unsigned milliseconds);

    /// Returns true if nothing has moved for more than a second.
    bool isLowPowerModeApplicable() const;
    /// Reports that something moves; passes are full ones for the next second.
    void disableLowPowerModeShortly();

    /// Enters or leaves background mode; a change emits signalEnterBackground or signalLeaveBackground.
    void setBackgroundMode(bool on);
    /// Returns true if background mode is on.
    bool getBackgroundMode() const { return m_backgroundMode; }
    /// Stores, for the host, whether it may continue to tick in the background.
    void setBackgroundTickAllowed(bool allowed) { m_backgroundTickAllowed = allowed; }
    /// Returns the value stored by setBackgroundTickAllowed(); false initially.
    bool isBackgroundTickAllowed() const { return m_backgroundTickAllowed; }

    /// Emits signalSyncUnsaved twice, so that data which the first round moves to another place is saved too.
    void syncUnsaved();
    /// Tells the host through delegateSecureClose whether closing now would lose work. The delegate is called
    /// only on the first call and on a change.
    void setSecureClose(bool on);

    /// Stores a new size of the framebuffer. @param width, height  in pixels.
    void processFramebufferSizeChange(int width, int height);

    // --- arguments ----------------------------------------------------------------------------------

    /// Appends the arguments after the program's name. The name becomes the executable path if none is set.
    void processCommandLine(int& argc, char** argv);
    /// Returns the number of arguments, without the program's name.
    unsigned getNumberOfArguments() const { return static_cast<unsigned>(m_arguments.size()); }
    /// Returns argument @p index, or null past the end. The pointer is valid until processCommandLine().
    const char* getArgument(unsigned index) const;
    /// Returns true if any argument equals one of @p names, which are separated by `|`.
    bool hasArgument(const char* names) const;
    /// Returns the argument after the first one that equals one of @p names, otherwise @p fallback.
    const char* getArgumentParameter(const char* names, const char* fallback) const;
    /// Returns the same argument as a decimal number; 0 if it is not a number.
    int getArgumentParameterAsInt(const char* names, int fallback) const;

    // --- environment of the library -----------------------------------------------------------------

    /// Stores @p value under @p key. This environment is independent of the operating system's.
    void setEnv(SmartCStr key, SmartCStr value);
    /// Removes @p key.
    void unsetEnv(SmartCStr key);
    /// Returns the value of @p key, or null. The pointer is valid until the key is set or unset.
    const char* getEnv(SmartCStr key) const;

    // --- time ---------------------------------------------------------------------------------------

    /// Returns the milliseconds since construction, never 0. The value wraps after 49.7 days, so compare by
    /// subtraction. It is also stored as the reading of getTimeFast(). @threads any thread.
    uint32 getTime();
    /// Returns the same as getTime(). @threads any thread.
    uint32 getTimeNotZero() { return getTime(); }
    /// Returns the last reading of the time; 0 before the first. @threads any thread.
    uint32 getTimeFast() const { return m_timeFast.load(std::memory_order_relaxed); }
    /// Returns the last reading of the time, with 1 instead of 0. @threads any thread.
    uint32 getTimeFastNotZero() const;
    /// Returns the reading at the start of the current pass.
    uint32 getPresentationTime() const { return m_presentationTime; }

    /// Reads the wall clock, in ticks of 100 ns since 1601-01-01 00:00 UTC. @threads any thread.
    int64 getUTCDateTime();
    /// Returns the last stamp returned, without reading the clock. @threads any thread.
    int64 getUTCDateTimeFast() const { return m_lastUTC.load(std::memory_order_relaxed); }
    /// Returns a stamp that is greater than all stamps returned so far. @threads any thread.
    int64 getUTCDateTimeUnique();
    /// Reads the wall clock without storing the stamp; needs no System. @threads any thread.
    static int64 getUTCDateTimeStatic();
    /// Returns the current local date and time in the short form of the System's language.
    /// Defined in foundation/locale/system_date.cpp. @threads any thread.
    static String getUTCDateTimeString();
    /// Returns the stamp taken at construction.
    int64 getFirstUTCDateTime() const { return m_firstUTC; }
    /// Returns the stamp taken at the start of the current pass.
    int64 getPassUTCDateTime() const { return m_passUTC; }
    /// Returns the time since construction as "days:hours:minutes:seconds".
    String getUptime();

    // --- parts of the System ------------------------------------------------------------------------

    /// Returns the timing wheel that `Alarm` uses.
    Scheduler* getScheduler() const { return m_scheduler.get(); }
    /// Returns the script machine.
    qelSq::VM* getVM() const { return m_vm.get(); }
    /// Returns the performance monitor, created on first use.
    PerfMon* getPerfMon();
    /// Returns the worker threads.
    ThreadPool* getThreadPool() const { return m_threadPool.get(); }
    /// Returns the queues that run on the main thread.
    MainPool* getMainPool() const { return m_mainPool.get(); }
    /// Returns the locator of resources.
    ResourceLocator* getResourceLocator() const { return m_resourceLocator.get(); }
    /// Returns the touches of the display. Defined in scene/actors/system_touch.cpp. @threads any thread.
    TouchState* getTouchState();

    /// Returns the serial queue of the main thread. @threads any thread.
    TaskQueue* getGlobalMainQueue() const { return m_mainQueue.get(); }
    /// Returns the parallel queue for computations. @threads any thread.
    TaskQueue* getGlobalParallelQueue() const { return m_parallelQueue.get(); }
    /// Returns the parallel IO queue for destructors that block. @threads any thread.
    TaskQueue* getGlobalBlockingDestructorQueue() const { return m_blockingDestructorQueue.get(); }
    /// Returns the serial IO queue for deletions. @threads any thread.
    TaskQueue* getGlobalDeleteIOQueue() const { return m_deleteIOQueue.get(); }

    /// Runs @p kernel over its parts on the shared `Parallel` and waits for it.
    void execute(ParallelKernel& kernel);

    /// Returns the theme on top of the stack; creates a default one if the stack is empty. The functions of
    /// themes are defined in style/system_theme.cpp.
    Theme* getTheme();
    /// Pushes @p theme onto the stack; null is ignored.
    void pushTheme(Theme* theme);
    /// Removes the topmost theme from the stack.
    void popTheme();
    /// Makes @p theme the only one; null is ignored.
    void setTheme(Theme* theme);

    /// Returns the reader of packets from standard input, created on first use. Defined in
    /// packet/system_packets.cpp.
    StdInPacketReader* getStdInPacketReader();
    /// Returns the writer of packets to standard output, created on first use. Defined in
    /// packet/system_packets.cpp.
    StdOutPacketWriter* getStdOutPacketWriter();
    /// Returns the lock that every writer to standard output holds. @threads any thread.
    static Mutex& getStdOutMutex();

    /// Forwards to the ResourceLocator, like the next three functions, which are defined in
    /// plugins/system_resources.cpp too.
    void addResourcePackagesFromDirectory(SmartCStr directory);
    /// Returns true if any provider has the resource @p name.
    bool hasResource(SmartCStr name);
    /// Loads the resource @p name. @return false if no provider has it; @p buffer is then as the providers
    /// left it.
    bool loadResource(SmartCStr name, Buffer& buffer);
    /// Requests the resource @p name. @return false if no provider loads it asynchronously.
    bool loadResourceAsync(SmartCStr name, const std::function<void(const Buffer&)>& callback);

    /// Returns the font @p name from the cache, loaded on first use; never null: the font is empty if loading
    /// fails. The functions of fonts are defined in text/fonts/system_fonts.cpp.
    BitmapFont* getBitmapFont(SmartCStr name);
    /// Returns the font @p name of @p size pixels from the cache, loaded on first use; never null, as above.
    TrueTypeFont* getTrueTypeFont(SmartCStr name, int size);
    /// Returns the sprite of the resource @p name from the cache, created on first use. The sprite functions
    /// are defined in render/system_sprites.cpp.
    Sprite* getSprite(SmartCStr name);
    /// Returns the sprite of code point @p key in the font with the descriptor @p size from the cache,
    /// created on first use. A sprite whose glyph turned out not to exist is released by the next call.
    Sprite* getSprite(const IVec2<unsigned>& size, unsigned key);
    /// Returns the sprite of the variant of @p name for @p language, whose name has "." and the language in
    /// front of the extension; the sprite of @p name itself if there is no such resource.
    Sprite* getSpriteByLanguage(SmartCStr name, SmartCStr language);
    /// Drops the pixels and textures of all cached sprites, as Sprite::clearTextureCache() does, and removes
    /// the sprites from the cache.
    void clearSpriteCache();
    /// Loads @p sprite in one of the next passes and makes its texture for @p renderer in a later one. Does
    /// nothing while another sprite is being prefetched, or if loading @p sprite has failed.
    /// @param renderer  null only loads the pixels.
    /// @param size      of the texture in pixels.
    /// @owner keeps weak pointers to both.
    void prefetchSprite(Sprite* sprite, Renderer* renderer = nullptr, const IVec2<int>& size = {});

    // --- machine (system/services) ------------------------------------------------------------------

    /// Returns the number of processors that can run threads at the same time; at least 1. @threads any
    /// thread.
    unsigned getProcessorCount() const { return m_processorCount; }
    /// Returns the size of a memory page in bytes. @threads any thread.
    unsigned getPageSize() const { return m_pageSize; }
    /// Returns the size of the physical memory in bytes. @threads any thread.
    uint64 getPhysicalMemorySize() const { return m_physicalMemorySize; }
    /// Returns the bytes of physical memory that are available to programs.
    uint64 getFreeMemory() const;
    /// Returns 0x10000000 on every machine.
    uint64 getFreeVirtualMemory() const;
    /// Returns the share of the processors in use since the last call, 0.0 to 1.0; -1.0 if it cannot be
    /// determined.
    float getCPUUsagePercent();
    /// Measures the speed of one processor and of all of them; blocks for seconds and logs two lines.
    void performCPUBenchmark();
    /// Returns the result of performCPUBenchmark() for one processor; 0 before the first call.
    float getCPUSingleIndex() const { return m_cpuSingleIndex; }
    /// Returns the result of performCPUBenchmark() for all processors; 0 before the first call.
    float getCPUMultiIndex() const { return m_cpuMultiIndex; }
    /// Returns the identifier of this process. @threads any thread.
    unsigned getProcessID() const;
    /// Returns true if the process runs with administrator rights.
    static bool isUserAdmin();
    /// Reports how the process obtained its rights. @param type  out: 1 default, 2 elevated, 3 limited.
    static bool getElevationType(int* type);
    /// Returns the error code of the calling thread's last failed system call. @threads any thread.
    static int64 getLastSysCallErrorCode();
    /// Returns the error message of the calling thread's last failed system call. @threads any thread.
    static String getLastSysCallErrorMessage();
    /// Returns the system's message for the error @p code. @threads any thread.
    static String getErrorMessageFromCode(int64 code);
    /// Triggers a breakpoint for a debugger.
    static void breakPoint();
    /// Blocks the calling thread. @param milliseconds  on the Clock in use. @threads any thread.
    static void sleep(unsigned milliseconds);
    /// Prevents the operating system's own crash reporter from taking over.
    void disableOperatingSystemErrorReporting();

    // --- random numbers (system/services); any thread -----------------------------------------------

    /// Draws 32 random bits.
    uint32 randomUInt();
    /// Returns the top 8 bits of one draw.
    uint8 randomUChar();
    /// Draws 64 random bits.
    uint64 randomULong();
    /// Returns `lo + draw % (hi - lo + 1)`; for a range of all 2^32 values, @p lo + draw.
    uint32 randomUIntRange(uint32 lo, uint32 hi);
    /// Fills the @p size bytes at @p bytes with random bits.
    void randomBytes(void* bytes, size_t size);
    /// Does the same as randomBytes(), from the same generator: not suitable for keys.
    void secureRandomBytes(void* bytes, size_t size);

    // --- identifiers (store/records/system_guid.cpp); any thread -----------------------------------------

    /// Returns a new identifier: one of the domain if a domain is in use, otherwise a random one.
    GUID generateGUID();
    /// Returns the next sub-domain of the domain in use, for another node.
    /// @errors if no domain is in use, logs an error and returns a domain with the zero identifier.
    GUIDDomain generateGUIDDomain();
    /// Returns an identifier of 256 random bits.
    GUID generateRandomGUID();
    /// Takes identifiers from the domain of @p database from now on; null stops that. Each pass flushes the
    /// database.
    /// @owner keeps a reference; the store of @p database must outlive it.
    void setGUIDDomainDB(GUIDDomainDB* database);
    /// Returns true if a domain is in use: the database has one, and domains were not disabled.
    bool hasGUIDDomain() const;
    /// Makes all further identifiers random ones; this cannot be undone.
    void disableGUIDDomains();

    /// Returns one of 256 mutexes, chosen by @p key. @threads any thread.
    Mutex& accessHashedMutex(uint32 key);

    // --- plain state --------------------------------------------------------------------------------

    /// Returns the language of texts, a short lower-case code such as "en". @threads any thread.
    String getLanguage() const;
    /// Stores @p language in lower case. @threads any thread.
    void setLanguage(SmartCStr language);
    /// Returns how the display may rotate, in values that the host defines; 2 initially.
    int getRotateMode() const { return m_rotateMode; }
    /// Stores how the display may rotate.
    void setRotateMode(int mode) { m_rotateMode = mode; }
    /// Returns how pictures that follow the device are to be drawn: None, Clockwise90 or Clockwise270.
    Rotation getCurrentRotation() const { return m_currentRotation; }
    /// Stores how the device is held.
    /// @param deviceRotation  1: pictures that follow the device are drawn a quarter turn clockwise; 2: a
    /// quarter turn counter-clockwise; anything else: upright.
    void setCurrentRotation(int deviceRotation);
    /// Returns the kind of device.
    DeviceType getDeviceType() const { return m_deviceType; }
    /// Stores the kind of device.
    void setDeviceType(DeviceType type) { m_deviceType = type; }
    /// Returns the number of pixels that an on-screen keyboard covers at the bottom.
    int getKeyboardHeight() const { return m_keyboardHeight; }
    /// Stores the number of pixels that an on-screen keyboard covers.
    void setKeyboardHeight(int heightPx) { m_keyboardHeight = heightPx; }
    /// Returns the number of pixels that a status bar covers at the top.
    float getStatusBarSize() const { return m_statusBarSize; }
    /// Stores the number of pixels that a status bar covers.
    void setStatusBarSize(float sizePx) { m_statusBarSize = sizePx; }
    /// Asks renderers for a depth buffer.
    void enableDepthBuffer() { m_depthBufferEnabled = true; }
    /// Asks renderers for no depth buffer, which is the initial state.
    void disableDepthBuffer() { m_depthBufferEnabled = false; }
    /// Returns true if renderers should have a depth buffer.
    bool isDepthBufferEnabled() const { return m_depthBufferEnabled; }
    /// Returns true if the host should draw in every pass.
    bool isForceRenderWhileTickEnabled() const { return m_forceRenderWhileTick; }
    /// Stores whether the host should draw in every pass.
    void setForceRenderWhileTickEnabled(bool enabled) { m_forceRenderWhileTick = enabled; }
    /// Returns the width of the framebuffer in pixels.
    int getFramebufferWidth() const { return m_framebufferWidth; }
    /// Returns the height of the framebuffer in pixels.
    int getFramebufferHeight() const { return m_framebufferHeight; }
    /// Returns the framebuffer size that had the largest area so far, in pixels.
    const IVec2<int>& getMaxFrameBufferSize() const { return m_maxFramebufferSize; }
    /// Returns and clears the URL with which the process was started; empty if the host has already taken it.
    String popSavedStartupURL();
    /// Returns and clears the notification that arrived before the host listened; null if it has been taken.
    /// Defined in script/notification_message.cpp.
    SmartPointer<NotificationMessage> popSavedStartupMessage();

    // --- commands and directories (system/services) -------------------------------------------------

    /// Runs @p command without a shell. @param flags  bits of CommandFlag.
    /// @return the exit code if the call waits for the command, 0 if not, 1 if the command could not be
    /// started; with kCommandElevated 1 for success and 0 for failure.
    static int runCommand(SmartCStr command, int flags);
    /// Stores the base directory of application data; logs a warning if it is not accessible.
    void setApplicationDirectory(SmartCStr path);
    /// Stores the directory of caches; logs a warning if it is not accessible.
    void setCacheDirectory(SmartCStr path);
    /// Stores the directory of keys.
    void setSecureKeyDirectory(SmartCStr path) { m_secureKeyDirectory = path.c_str(); }
    /// Returns the directory of keys.
    const String& getSecureKeyDirectory() const { return m_secureKeyDirectory; }
    /// Returns the directory of application data of @p product and creates it; "." on failure.
    String getApplicationDirectory(SmartCStr product);
    /// Returns the same path without creating anything.
    String getApplicationDirectoryNoCreate(SmartCStr product);
    /// Returns the directory of caches; logs an error if it is empty.
    const String& getCacheDirectory();
    /// Returns the directory of the executable followed by "/Plugins".
    String getPluginsDirectory() const;
    /// Returns the directory where update packages of @p product are unpacked.
    String getUpdatePackageDirectory(SmartCStr product);
    /// Returns a temporary directory of this process, created on first use.
    /// @errors throws std::filesystem::filesystem_error if the system has no temporary path.
    String getTmpDirectoryPath();
    /// Moves the application, cache and key directories below the machine-wide data folder. @return always
    /// true.
    bool trySetApplicationDirectoryToGlobal();
    /// Returns the folder of program data, of the machine if @p common, otherwise of the user; empty on
    /// failure.
    static String getProgramDataPath(bool common);
    /// Returns the folder where programs are installed; empty on failure.
    static String getProgramsPath();
    /// Returns the folder of start-menu entries, of the machine if @p common, otherwise of the user; empty on
    /// failure.
    static String getProgramsStartmenuPath(bool common);
    /// Returns the full path of the program.
    const String& getExecutablePath() const { return m_executablePath; }
    /// Returns the directory of the program, without a separator at the end.
    String getExecutableDirectory() const;
    /// Returns the file name of the program.
    String getExecutableFilename() const;
    /// Replaces the path of the program.
    void overrideExecutablePath(SmartCStr path) { m_executablePath = path.c_str(); }
    /// Returns the extension of the file names of programs; empty on Linux.
    static const char* getExecutableExtension();

    // --- files hidden while they are being deleted (files/system_blacklist.cpp) -----------------------

    /// Hides @p path, which is being deleted. The library's own calls pass absolute paths.
    /// @threads any thread.
    void addPathToFilesystemBlacklist(SmartCStr path);
    /// Shows @p path again. @threads any thread.
    void removePathFromFilesystemBlacklist(SmartCStr path);
    /// Returns the hidden paths; hold getFilesystemBlacklistMutex() while reading.
    const std::unordered_set<std::string>& getFilesystemBlacklist() const
        QEL_REQUIRES(m_filesystemBlacklistMutex) {
        return m_filesystemBlacklist;
    }
    /// Returns the lock that guards the hidden paths.
    Mutex& getFilesystemBlacklistMutex() QEL_RETURN_CAPABILITY(m_filesystemBlacklistMutex) {
        return m_filesystemBlacklistMutex;
    }

    // --- keyboard (system/services) -----------------------------------------------------------------

    /// Opens the keyboard for @p receiver. The flags and the layout are passed on to the host.
    /// @param text       the text being edited; repaired to valid UTF-8.
    /// @param selection  in code points, clamped to the text.
    /// @owner keeps a weak pointer to @p receiver.
    void showKeyboard(KeyboardReceiver* receiver, SmartCStr text, int layout, const IVec2<int>& selection,
                      const Rect& rect, bool multiline, bool obscured);
    /// Closes the keyboard; ignored if @p receiver is neither null nor the current one.
    void hideKeyboard(KeyboardReceiver* receiver);
    /// Tells the host where the edited text has moved; ignored unless @p receiver is the current one.
    void moveKeyboard(KeyboardReceiver* receiver, const Rect& rect);
    /// Tells the host where to clip its overlay; ignored unless @p receiver is the current one.
    void clipKeyboardOverlay(KeyboardReceiver* receiver, const Rect& rect);
    /// Clears the receiver without notifying the host or the receiver.
    void disableKeyboardReceiver();
    /// Returns the object that receives keyboard input, or null.
    KeyboardReceiver* getKeyboardReceiver() const;
    /// Returns the layout last passed to showKeyboard().
    int getLastKeyboardLayout() const { return m_lastKeyboardLayout; }
    /// Returns true if keys can be stored: delegateSecureKeyStore is connected.
    bool hasSecureKeyImplementation() const;

    // --- information (system/report) ----------------------------------------------------------------

    /// Logs version, revision, tags and build date.
    void printInformation();
    /// Adds the section "system:" to @p report.
    void report(ReportGenerator* report);
    /// Makes unhandled faults write a dump file to @p directory + "/dumps".
    static void registerCrashHandler(const char* directory);

    /// Adds the members of System to the script class @p cls. Defined in
    /// system/assembly/system_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

    // --- hooks of the host --------------------------------------------------------------------------

    Delegate<void(unsigned)> delegateSleep; ///< waits for that many milliseconds; default System::sleep
    Signal<void()> signalApplicationTick;   ///< emitted in each pass, before scripts and tasks
    /// Does a piece of idle work. The argument is true on the first call in a pass; a negative result means
    /// done.
    Delegate<int(bool)> delegateIdleWork;
    Signal<void()> signalSyncUnsaved; ///< unsaved data must be saved now
    Signal<void()> signalFreeCaches;  ///< memory is short: drop caches
    /// Receives a notification; the default keeps it for popSavedStartupMessage().
    Delegate<void(NotificationMessage*)> delegateDeliverNotification;
    Delegate<void(const String&)>
        delegateHandleURL;                        ///< opens a URL; default keeps it for popSavedStartupURL()
    Delegate<URLFetch*()> delegateCreateURLFetch; ///< creates a download
    Delegate<void()> delegateBeforeSpriteUpload;  ///< called just before a prefetched sprite is uploaded
    Delegate<IVec4<float>()> delegateSafeArea; ///< area without bars and keyboard: left, top, right, bottom
    Delegate<IVec4<float>()> delegateSafeAreaForControls; ///< the same for controls
    /// Asks the user for the permission with a number; the default grants it at once.
    Delegate<void(int, std::function<void(bool)>)> delegateAskPermission;
    Delegate<Camera*(const CameraParameters&)> delegateCreateCamera;                ///< opens a camera
    Delegate<const Vector<CameraMetadata>&()> delegateCameraList;                   ///< lists the cameras
    Delegate<AudioInput*(const AudioInputParameters&)> delegateCreateAudioInput;    ///< default null
    Delegate<AudioOutput*(const AudioOutputParameters&)> delegateCreateAudioOutput; ///< default null
    /// Draws a code point at a size into an image; default false.
    Delegate<bool(const IVec2<unsigned>&, unsigned, Image&)> delegateRenderGlyph;
    Delegate<float(const IVec2<unsigned>&)> delegateGlyphMetric; ///< metric of a glyph size; default 0
    Signal<void()> signalEnterBackground;                        ///< background mode was entered
    Signal<void()> signalLeaveBackground;                        ///< background mode was left
    Delegate<void(bool)> delegateSecureClose;                    ///< true if closing now would lose work
    Delegate<bool(const char*, Buffer&)> delegateSecureKeyLoad;  ///< reads a key by name
    /// Stores a key by name.
    Delegate<bool(const char*, const Buffer&, const KeyGenSpec&)> delegateSecureKeyStore;
    Delegate<bool(const char*)> delegateSecureKeyRemove; ///< removes a key by name
    /// Opens the keyboard; the arguments are those of showKeyboard().
    Delegate<void(const char*, int, const IVec2<int>&, const Rect&, bool, bool)> delegateKeyboardShow;
    Delegate<void(const Rect&)> delegateKeyboardMove;        ///< the edited text has moved
    Delegate<void()> delegateKeyboardHide;                   ///< closes the keyboard
    Delegate<void(const Rect&)> delegateKeyboardClipOverlay; ///< clips the host's overlay
    Delegate<void()> delegateKeyboardChanged;                ///< the receiver has changed
    Signal<void()> signalKeyboardChanged;                    ///< the receiver has changed

    // Hooks that only hosts use, on a desktop, on a server or without a display.
    Delegate<const char*()> delegateDeviceName;            ///< name of the device; default ""
    Delegate<const char*()> delegatePlatformName;          ///< name of the platform; default "Linux"
    Delegate<const char*()> delegatePlatformVersion;       ///< version of the platform; default ""
    Delegate<const char*()> delegateDeviceModel;           ///< model of the device; default ""
    Delegate<const char*()> delegateOperatingSystem;       ///< name of the operating system; default "Linux"
    Delegate<const char*()> delegateBundleIdentifier;      ///< identity of the program; default "org.qel"
    Delegate<void(KeyboardAction)> delegateKeyboardAction; ///< an editing command from the host's menu
    /// Lets the user pick files or folders.
    Delegate<void(
        ExternalPickerType,
        const std::function<void(const Vector<Pair<SmartPointer<SystemStream>, SmartPointer<Object>>>&)>&)>
        delegatePickExternal;
    Signal<void(SystemSound)> signalPlaySound;                    ///< play a sound of the desktop
    Delegate<void(const char*)> delegateOpenURL;                  ///< open a URL outside the program
    Delegate<void(const char*, const char*)> delegateShowMessage; ///< show a message: title, text
    Delegate<void(const char*)> delegateSetClipboardText;         ///< put a text onto the clipboard
    Delegate<String()> delegateGetClipboardText;                  ///< text on the clipboard; default empty
    Delegate<void(Image*)> delegateSetClipboardImage;             ///< put an image onto the clipboard
    /// Returns true on a phone. Unconnected, the display's size decides between phone and tablet.
    Delegate<bool()> delegateIsMobile;
    Delegate<bool()> delegateIsDarkAppearance;             ///< true for dark colours; default false
    Delegate<bool()> delegateIsNetworkAvailable;           ///< true if a network is available; default true
    Delegate<bool(IVec2<float>&)> delegatePointerPosition; ///< reads the pointer's position; default false
    Delegate<uint64()> delegateGraphicsMemoryInUse;        ///< bytes; default 0
    Delegate<uint64()> delegateGraphicsMemoryLimit;        ///< bytes; default 0x1000000000
    Delegate<int()> delegateThermalState;                  ///< 0 is cool, higher is hotter; default 0
    Delegate<int()> delegateBatteryPercent;                ///< 0 to 100; default -1, no battery
    Delegate<void()> delegateRequestFrame;                 ///< draw a frame soon
    Delegate<void()> delegateRaiseWindow;                  ///< bring the window to the front
    Delegate<void(bool)> delegateSetFullscreen;            ///< fill the display with the window
    Signal<void()> signalNetworkChanged;                   ///< the network became available or unavailable
    Signal<void()> signalAppearanceChanged;                ///< the desktop's colours changed
    Signal<void()> signalQuitRequested; ///< the user or the session wants the program to end
    Signal<void(unsigned, unsigned)> signalFramebufferSizeChanged; ///< new width and height in pixels

private:
    System();
    ~System() override;

    void readMachine();
    void setDefaultDirectories(const String& dataFolder);
    void connectDefaultHooks();
    void createGlobalQueues();
    void setBuildEnvironment();
    void decideEventFlags(int flags);
    void runSteps(PassClock& time);
    bool hasPendingPrefetch() const; // like the next two defined in render/system_sprites.cpp
    void stepPrefetch();
    void releaseSprites();
    void releaseFonts();  // text/fonts/system_fonts.cpp
    void releaseThemes(); // style/system_theme.cpp
    void runIdleWork();
    SmartPointer<GUIDDomainDB> getGUIDDomainInUse() const;
    bool flushGUIDDomain();
    void _default_handleURL(const String& url);
    IVec4<float> defaultSafeArea() const;
    void noteActivity() { m_lastActivityTime = getTimeFast(); }

    const std::thread::id m_mainThread = std::this_thread::get_id();
    std::array<Mutex, 256> m_hashedMutexes;
    WeakPointer<Object> m_keyboardReceiver;
    int m_lastKeyboardLayout = 0;
    std::atomic<uint32> m_timeFast{0};
    uint32 m_presentationTime = 0;
    uint32 m_stayAliveTime = 0;
    std::atomic<int64> m_lastUTC{0};
    int64 m_passUTC = 0;
    int64 m_firstUTC = 0;
    int64 m_steadyBaseMs = 0;
    bool m_forceRenderWhileTick = false;
    bool m_firstPass = true;
    Mutex m_filesystemBlacklistMutex;
    std::unordered_set<std::string> m_filesystemBlacklist QEL_GUARDED_BY(m_filesystemBlacklistMutex);
    String m_applicationDirectory;
    String m_secureKeyDirectory;
    String m_cacheDirectory;
    String m_tmpDirectory;
    String m_savedStartupURL;
    SmartPointer<NotificationMessage> m_savedStartupMessage;
    int m_framebufferWidth = 0;
    int m_framebufferHeight = 0;
    IVec2<int> m_maxFramebufferSize{0, 0};
    int m_rotateMode = 2;
    bool m_depthBufferEnabled = false;
    int m_keyboardHeight = 0;
    String m_executablePath;
    Rotation m_currentRotation = Rotation::None;
    DeviceType m_deviceType = DeviceType::Desktop;
    mutable Mutex m_languageMutex;
    String m_language QEL_GUARDED_BY(m_languageMutex);
    unsigned m_pageSize = 4096;
    bool m_backgroundMode = false;
    bool m_backgroundTickAllowed = false;
    int m_secureClose = -1;
    int m_eventFlags = 0;
    uint32 m_lastActivityTime = 0;
    uint32 m_lastFullPassTime = 0;
    std::atomic<uint32> m_deadline{0};
    unsigned m_processorCount = 1;
    uint64 m_physicalMemorySize = 0;
    float m_cpuSingleIndex = 0;
    float m_cpuMultiIndex = 0;
    float m_statusBarSize = 0;
    Vector<uint64> m_lastCpuTimes; ///< idle, kernel, user; empty before the first sample
    Vector<String> m_arguments;
    std::unordered_map<String, String> m_environment;
    ApplicationFactory m_applicationFactory;
    SmartPointer<Application> m_application;
    std::unique_ptr<RandomEngine> m_randomEngine; ///< system/services/random_engine.h
    SmartPointer<ThreadPool> m_threadPool;
    SmartPointer<MainPool> m_mainPool;
    SmartPointer<ResourceLocator> m_resourceLocator;
    SmartPointer<Scheduler> m_scheduler;
    SmartPointer<Parallel> m_parallel;
    SmartPointer<StdInPacketReader> m_stdInPacketReader;
    SmartPointer<StdOutPacketWriter> m_stdOutPacketWriter;
    SmartPointer<PerfMon> m_perfMon;
    SmartPointer<Object> m_spriteCache;    ///< a SpriteCache of the unit render, created on first use
    SmartPointer<Object> m_fontCache;      ///< a FontCache of the unit text/fonts, created on first use
    Vector<SmartPointer<Object>> m_themes; ///< each a Theme
    SmartPointer<Object> m_touchState;     ///< a TouchState
    mutable Mutex m_guidDomainMutex;
    SmartPointer<GUIDDomainDB> m_guidDomainDB QEL_GUARDED_BY(m_guidDomainMutex);
    bool m_guidDomainsDisabled QEL_GUARDED_BY(m_guidDomainMutex) = false;
    std::unique_ptr<qelSq::VM> m_vm;
    SmartPointer<TaskQueue> m_mainQueue;
    SmartPointer<TaskQueue> m_parallelQueue;
    SmartPointer<TaskQueue> m_blockingDestructorQueue;
    SmartPointer<TaskQueue> m_deleteIOQueue;
};

} // namespace qel
