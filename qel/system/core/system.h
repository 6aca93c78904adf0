// The one object that everything hangs from: life cycle, main loop, time, arguments, and the host's hooks.
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
/// deinitialize(). That thread is the main thread; what is not said to be safe from any thread belongs to
/// it. The members are defined in the units that know what they need: time, arguments, environment and
/// plain state in system/core; directories, machine, random numbers, commands and keyboard in
/// system/services; the file blacklist in files; resources in plugins; reports and crash dumps in
/// system/report; construction, destruction and the pass in system/assembly.
class QEL_API System : public Object {
    QEL_CLASS(System, Object)

public:
    /// Makes an `Application`; the library takes the first reference.
    using ApplicationFactory = std::function<Application*()>;

    /// Bits of the flags of a pass. Other bits are the host's own and pass through to getEventFlags().
    enum EventFlag : int {
        kEventLowPower = 1, ///< nothing moves: this pass may skip what only animation needs
        kEventFullPass = 2, ///< demands a full pass; wins over kEventLowPower
    };

    /// Bits of the flags of runCommand().
    enum CommandFlag : int {
        kCommandNoWait = 1,   ///< return at once, result 0
        kCommandDetached = 2, ///< the command lives on without this process
        kCommandElevated = 4, ///< ask for administrator's rights; result 1 for success, 0 for failure
    };

    // --- start and end ------------------------------------------------------------------------------

    /// Makes the one System. A later call while it exists logs an error and does nothing.
    /// @param factory  makes the application on first getApplication(); empty for a plain `Application`.
    static void initialize(const ApplicationFactory& factory);
    /// The same, then processCommandLine() with the host's arguments.
    static void initialize(int& argc, char** argv, const ApplicationFactory& factory);
    /// Stops everything and deletes the System. initialize() works again afterwards.
    /// @errors logged, and nothing is torn down, when there is no System or others still hold references.
    static void deinitialize();
    /// Whether this is the main thread: that which called initialize(). @threads any thread.
    bool isMainThread() const { return std::this_thread::get_id() == m_mainThread; }

    /// The host's application, made by the factory on first use and held until clearApplication().
    Application* getApplication();
    /// Lets go of the application; the next getApplication() makes a new one.
    void clearApplication();

    /// Calls syncUnsaved(), then the C library's exit().
    void exitProcess(int status);
    /// Ends the process at once; nothing is flushed. @threads any thread.
    [[noreturn]] static void forceExitProcess(int status);
    /// Lets an interrupt from the terminal or the session set a flag instead of ending the process.
    static void installInterruptHandler();
    /// Whether an interrupt has come since the flag was last cleared. @threads any thread.
    static bool wasInterruptHandlerCalled();
    /// Sets or clears the interrupt flag. @threads any thread.
    static void setHitSIGINT(bool hit);

    // --- main loop ----------------------------------------------------------------------------------

    /// One pass of the main loop: tick, scripts, main-thread tasks, alarms, timed references, idle work.
    /// @param flags  bits of EventFlag and bits of the host's own.
    void processEvents(int flags);
    /// Runs passes until an interrupt comes; sleeps 1 ms through delegateSleep after a short pass.
    void runSimpleMainLoop();
    /// The flags of the pass under way, as the low-power decision left them.
    int getEventFlags() const { return m_eventFlags; }

    /// Notes that something wants the process to live on for the next 30 seconds.
    void stayAlive();
    /// Whether stayAlive() was called in the last 30 seconds.
    bool shouldStayAlive() const;

    /// Sets the time by which the work of a frame should end. @param milliseconds from now.
    void setDeadlineIn(unsigned milliseconds);
    /// From now on there is no deadline.
    void clearDeadline() { m_deadline.store(0, std::memory_order_relaxed); }
    /// Whether the deadline has passed; false without one. @threads any thread.
    bool isDeadlineExceeded();
    /// Whether the deadline will have passed in @p milliseconds; false without one. @threads any thread.
    bool isDeadlineExceededIn(unsigned milliseconds);

    /// Whether nothing has moved for more than a second.
    bool isLowPowerModeApplicable() const;
    /// Notes that something moves: full passes for the next second.
    void disableLowPowerModeShortly();

    /// Enters or leaves background mode, with signalEnterBackground or signalLeaveBackground on a change.
    void setBackgroundMode(bool on);
    /// Whether background mode is on.
    bool getBackgroundMode() const { return m_backgroundMode; }
    /// Plain state for the host: may it go on ticking in the background?
    void setBackgroundTickAllowed(bool allowed) { m_backgroundTickAllowed = allowed; }
    /// What setBackgroundTickAllowed() stored; false at the start.
    bool isBackgroundTickAllowed() const { return m_backgroundTickAllowed; }

    /// Emits signalSyncUnsaved twice, so that what the first round flushes into a second place is saved too.
    void syncUnsaved();
    /// Tells the host through delegateSecureClose that closing now would lose work; fires on a change only,
    /// and on the first call.
    void setSecureClose(bool on);

    /// Takes over a new size of the framebuffer. @param width, height  pixels.
    void processFramebufferSizeChange(int width, int height);

    // --- arguments ----------------------------------------------------------------------------------

    /// Appends the arguments behind the program's name; the name becomes the executable path if there is
    /// none.
    void processCommandLine(int& argc, char** argv);
    /// How many arguments there are, without the program's name.
    unsigned getNumberOfArguments() const { return static_cast<unsigned>(m_arguments.size()); }
    /// Argument @p index, or null past the end. The pointer lasts until processCommandLine().
    const char* getArgument(unsigned index) const;
    /// Whether any argument equals one of @p names, which are joined by `|`.
    bool hasArgument(const char* names) const;
    /// The argument behind the first one that equals one of @p names, else @p fallback.
    const char* getArgumentParameter(const char* names, const char* fallback) const;
    /// The same as a decimal number; a parameter that is no number gives 0.
    int getArgumentParameterAsInt(const char* names, int fallback) const;

    // --- environment of the process's own -----------------------------------------------------------

    /// Stores @p value under @p key. It has nothing to do with the operating system's environment.
    void setEnv(SmartCStr key, SmartCStr value);
    /// Forgets @p key.
    void unsetEnv(SmartCStr key);
    /// The value of @p key, or null. The pointer lasts until the key is set or unset.
    const char* getEnv(SmartCStr key) const;

    // --- time ---------------------------------------------------------------------------------------

    /// Milliseconds since construction, never 0; wraps after 49.7 days, so compare by subtraction.
    /// Stored as the reading of getTimeFast(). @threads any thread.
    uint32 getTime();
    /// The same as getTime(). @threads any thread.
    uint32 getTimeNotZero() { return getTime(); }
    /// The last reading that anyone took; 0 before the first. @threads any thread.
    uint32 getTimeFast() const { return m_timeFast.load(std::memory_order_relaxed); }
    /// The last reading that anyone took, with 1 in place of 0. @threads any thread.
    uint32 getTimeFastNotZero() const;
    /// The reading at the start of the pass under way.
    uint32 getPresentationTime() const { return m_presentationTime; }

    /// Reads the wall clock: ticks of 100 ns since 1601-01-01 00:00 UTC. @threads any thread.
    int64 getUTCDateTime();
    /// The stamp last handed out, without reading the clock. @threads any thread.
    int64 getUTCDateTimeFast() const { return m_lastUTC.load(std::memory_order_relaxed); }
    /// A stamp greater than every one handed out so far. @threads any thread.
    int64 getUTCDateTimeUnique();
    /// Reads the wall clock and stores nothing; needs no System. @threads any thread.
    static int64 getUTCDateTimeStatic();
    /// The present local date and time in the short form of the System's language.
    /// Defined in foundation/locale/system_date.cpp. @threads any thread.
    static String getUTCDateTimeString();
    /// The stamp taken at construction.
    int64 getFirstUTCDateTime() const { return m_firstUTC; }
    /// The stamp taken at the start of the pass under way.
    int64 getPassUTCDateTime() const { return m_passUTC; }
    /// Time since construction as "days:hours:minutes:seconds".
    String getUptime();

    // --- what the System holds ----------------------------------------------------------------------

    /// The timing wheel behind `Alarm`.
    Scheduler* getScheduler() const { return m_scheduler.get(); }
    /// The script machine.
    qelSq::VM* getVM() const { return m_vm.get(); }
    /// The performance monitor, made on first use.
    PerfMon* getPerfMon();
    /// The worker threads.
    ThreadPool* getThreadPool() const { return m_threadPool.get(); }
    /// The queues that run on the main thread.
    MainPool* getMainPool() const { return m_mainPool.get(); }
    /// The search for resources.
    ResourceLocator* getResourceLocator() const { return m_resourceLocator.get(); }
    /// The touches of the display.
    TouchState* getTouchState();

    /// Serial queue of the main thread. @threads any thread.
    TaskQueue* getGlobalMainQueue() const { return m_mainQueue.get(); }
    /// Parallel queue for computing. @threads any thread.
    TaskQueue* getGlobalParallelQueue() const { return m_parallelQueue.get(); }
    /// Parallel IO queue for destructors that block. @threads any thread.
    TaskQueue* getGlobalBlockingDestructorQueue() const { return m_blockingDestructorQueue.get(); }
    /// Serial IO queue for deletions. @threads any thread.
    TaskQueue* getGlobalDeleteIOQueue() const { return m_deleteIOQueue.get(); }

    /// Runs @p kernel over its parts on the shared `Parallel` and waits for it.
    void execute(ParallelKernel& kernel);

    /// The theme on top of the stack; a default one is made when the stack is empty.
    Theme* getTheme();
    /// Puts @p theme on top of the stack; null is ignored.
    void pushTheme(Theme* theme);
    /// Takes the topmost theme off the stack.
    void popTheme();
    /// Makes @p theme the only one; null is ignored.
    void setTheme(Theme* theme);

    /// Packets from standard input; made on first use. Defined in packet/system_packets.cpp.
    StdInPacketReader* getStdInPacketReader();
    /// Packets to standard output; made on first use. Defined in packet/system_packets.cpp.
    StdOutPacketWriter* getStdOutPacketWriter();
    /// The lock under which everyone writes to standard output. @threads any thread.
    static Mutex& getStdOutMutex();

    /// Forwards to the ResourceLocator. Defined in plugins/system_resources.cpp, like the next three.
    void addResourcePackagesFromDirectory(SmartCStr directory);
    /// Whether any provider has the resource @p name.
    bool hasResource(SmartCStr name);
    /// Loads the resource @p name; false, with @p buffer as the providers left it, when nobody has it.
    bool loadResource(SmartCStr name, Buffer& buffer);
    /// Asks for the resource @p name; false when no provider loads it asynchronously.
    bool loadResourceAsync(SmartCStr name, const std::function<void(const Buffer&)>& callback);

    /// The font @p name from the cache, loaded on first use.
    BitmapFont* getBitmapFont(SmartCStr name);
    /// The font @p name of @p size pixels from the cache, loaded on first use.
    TrueTypeFont* getTrueTypeFont(SmartCStr name, int size);
    /// The sprite @p name from the cache.
    Sprite* getSprite(SmartCStr name);
    /// The sprite of code point @p key in @p size pixels from the cache.
    Sprite* getSprite(const IVec2<unsigned>& size, unsigned key);
    /// The sprite @p name in the form for @p language.
    Sprite* getSpriteByLanguage(SmartCStr name, SmartCStr language);
    /// Drops the textures of all cached sprites, and the sprites from the cache.
    void clearSpriteCache();
    /// Loads and uploads @p sprite in the next passes, one sprite at a time.
    void prefetchSprite(Sprite* sprite, Renderer* renderer, const IVec2<int>& size);

    // --- machine (system/services) ------------------------------------------------------------------

    /// Processors that can run threads at the same time; at least 1. @threads any thread.
    unsigned getProcessorCount() const { return m_processorCount; }
    /// Bytes of a memory page. @threads any thread.
    unsigned getPageSize() const { return m_pageSize; }
    /// Bytes of physical memory. @threads any thread.
    uint64 getPhysicalMemorySize() const { return m_physicalMemorySize; }
    /// Bytes of physical memory that programs can still have.
    uint64 getFreeMemory() const;
    /// Always 0x10000000.
    uint64 getFreeVirtualMemory() const;
    /// Share of the processors in use since the last call, 0.0 to 1.0; -1.0 when it can't be told.
    float getCPUUsagePercent();
    /// Measures one processor and all of them; blocks for seconds and logs two lines.
    void performCPUBenchmark();
    /// Result of performCPUBenchmark() for one processor; 0 before.
    float getCPUSingleIndex() const { return m_cpuSingleIndex; }
    /// Result of performCPUBenchmark() for all processors; 0 before.
    float getCPUMultiIndex() const { return m_cpuMultiIndex; }
    /// Number of this process. @threads any thread.
    unsigned getProcessID() const;
    /// Whether the process runs with administrator's rights.
    static bool isUserAdmin();
    /// Tells how the process got its rights. @param type  1 default, 2 elevated, 3 limited.
    static bool getElevationType(int* type);
    /// Code of the calling thread's last failed system call. @threads any thread.
    static int64 getLastSysCallErrorCode();
    /// Text of the calling thread's last failed system call. @threads any thread.
    static String getLastSysCallErrorMessage();
    /// Text of error @p code of the system. @threads any thread.
    static String getErrorMessageFromCode(int64 code);
    /// Stops in a debugger.
    static void breakPoint();
    /// Blocks the calling thread. @param milliseconds on the Clock in use. @threads any thread.
    static void sleep(unsigned milliseconds);
    /// Keeps the system's own crash reporter from taking over.
    void disableOperatingSystemErrorReporting();

    // --- random numbers (system/services); from any thread ------------------------------------------

    /// One draw of 32 bits.
    uint32 randomUInt();
    /// The top 8 bits of a draw.
    uint8 randomUChar();
    /// 64 bits.
    uint64 randomULong();
    /// `lo + draw % (hi - lo + 1)`; a range of all 2^32 values gives @p lo + draw.
    uint32 randomUIntRange(uint32 lo, uint32 hi);
    /// Fills @p size bytes at @p bytes.
    void randomBytes(void* bytes, size_t size);
    /// The same generator as randomBytes(): not fit for keys.
    void secureRandomBytes(void* bytes, size_t size);

    // --- identifiers (store/records/system_guid.cpp); from any thread ------------------------------------

    /// A new identifier: of the domain, if there is one in use, else a random one.
    GUID generateGUID();
    /// The next sub-domain of the domain in use, for another node.
    /// @errors without a domain in use an error is logged and the result has the zero identifier.
    GUIDDomain generateGUIDDomain();
    /// An identifier of 256 random bits.
    GUID generateRandomGUID();
    /// Takes identifiers from the domain of @p database from now on; null stops that. Each pass flushes it.
    /// @owner keeps a reference; the store of @p database must outlive it.
    void setGUIDDomainDB(GUIDDomainDB* database);
    /// Whether there is a domain in use: the database has one, and domains were not disabled.
    bool hasGUIDDomain() const;
    /// From now on identifiers are random ones, for good.
    void disableGUIDDomains();

    /// One of 256 mutexes, chosen by @p key. @threads any thread.
    Mutex& accessHashedMutex(uint32 key);

    // --- plain state --------------------------------------------------------------------------------

    /// Language of texts, a short lower-case code such as "en". @threads any thread.
    String getLanguage() const;
    /// Stores @p language in lower case. @threads any thread.
    void setLanguage(SmartCStr language);
    /// How the display may turn; 2 at the start, the meaning is the host's.
    int getRotateMode() const { return m_rotateMode; }
    /// Stores how the display may turn.
    void setRotateMode(int mode) { m_rotateMode = mode; }
    /// How the display is turned now.
    Rotation getCurrentRotation() const { return m_currentRotation; }
    /// Stores how the display is turned.
    void setCurrentRotation(Rotation rotation) { m_currentRotation = rotation; }
    /// What kind of device this is.
    DeviceType getDeviceType() const { return m_deviceType; }
    /// Stores what kind of device this is.
    void setDeviceType(DeviceType type) { m_deviceType = type; }
    /// Pixels that an on-screen keyboard covers at the bottom.
    int getKeyboardHeight() const { return m_keyboardHeight; }
    /// Stores the pixels that an on-screen keyboard covers.
    void setKeyboardHeight(int heightPx) { m_keyboardHeight = heightPx; }
    /// Pixels that a status bar covers at the top.
    float getStatusBarSize() const { return m_statusBarSize; }
    /// Stores the pixels that a status bar covers.
    void setStatusBarSize(float sizePx) { m_statusBarSize = sizePx; }
    /// Asks renderers for a depth buffer.
    void enableDepthBuffer() { m_depthBufferEnabled = true; }
    /// Asks renderers for no depth buffer; this is the state at the start.
    void disableDepthBuffer() { m_depthBufferEnabled = false; }
    /// Whether renderers should have a depth buffer.
    bool isDepthBufferEnabled() const { return m_depthBufferEnabled; }
    /// Whether the host should draw in every pass.
    bool isForceRenderWhileTickEnabled() const { return m_forceRenderWhileTick; }
    /// Stores whether the host should draw in every pass.
    void setForceRenderWhileTickEnabled(bool enabled) { m_forceRenderWhileTick = enabled; }
    /// Width of the framebuffer in pixels.
    int getFramebufferWidth() const { return m_framebufferWidth; }
    /// Height of the framebuffer in pixels.
    int getFramebufferHeight() const { return m_framebufferHeight; }
    /// The framebuffer size of the largest area so far, in pixels.
    const IVec2<int>& getMaxFrameBufferSize() const { return m_maxFramebufferSize; }
    /// The URL that the process was started with, if the host has not taken it; then it is forgotten.
    String popSavedStartupURL();
    /// The notification that came before the host listened, if it has not been taken; then it is forgotten.
    /// Defined in script/notification_message.cpp.
    SmartPointer<NotificationMessage> popSavedStartupMessage();

    // --- commands and directories (system/services) -------------------------------------------------

    /// Runs @p command without a shell. @param flags  bits of CommandFlag.
    /// @return the exit code when waited for, 0 when not, 1 when it could not be started; with
    ///         kCommandElevated 1 for success and 0 for failure.
    static int runCommand(SmartCStr command, int flags);
    /// Stores the base of application data; warns when it can't be reached.
    void setApplicationDirectory(SmartCStr path);
    /// Stores the directory of caches; warns when it can't be reached.
    void setCacheDirectory(SmartCStr path);
    /// Stores the directory of keys.
    void setSecureKeyDirectory(SmartCStr path) { m_secureKeyDirectory = path.c_str(); }
    /// The directory of keys.
    const String& getSecureKeyDirectory() const { return m_secureKeyDirectory; }
    /// Directory of application data of @p product, created on the way; "." on failure.
    String getApplicationDirectory(SmartCStr product);
    /// The same path, with nothing created.
    String getApplicationDirectoryNoCreate(SmartCStr product);
    /// Directory of caches; an empty text is logged as an error.
    const String& getCacheDirectory();
    /// Directory of the executable + "/Plugins".
    String getPluginsDirectory() const;
    /// Where update packages of @p product are unpacked.
    String getUpdatePackageDirectory(SmartCStr product);
    /// A temporary directory of this process, made on first use.
    /// @errors std::filesystem::filesystem_error when the system has no temporary path.
    String getTmpDirectoryPath();
    /// Puts application, cache and key directory below the machine-wide data folder. @return true always.
    bool trySetApplicationDirectoryToGlobal();
    /// Folder of program data: of the machine when @p common, else of the user; empty on failure.
    static String getProgramDataPath(bool common);
    /// Folder where programs are installed; empty on failure.
    static String getProgramsPath();
    /// Folder of start-menu entries: of the machine when @p common, else of the user; empty on failure.
    static String getProgramsStartmenuPath(bool common);
    /// Full path of the program.
    const String& getExecutablePath() const { return m_executablePath; }
    /// Directory of the program, without a separator at the end.
    String getExecutableDirectory() const;
    /// File name of the program.
    String getExecutableFilename() const;
    /// Puts another path in place of the program's.
    void overrideExecutablePath(SmartCStr path) { m_executablePath = path.c_str(); }
    /// What file names of programs end in; empty on Linux.
    static const char* getExecutableExtension();

    // --- files hidden while they are being deleted (files/system_blacklist.cpp) -----------------------

    /// Hides @p path, whose deletion is under way. The library's own calls hide absolute paths.
    /// @threads any thread.
    void addPathToFilesystemBlacklist(SmartCStr path);
    /// Shows @p path again. @threads any thread.
    void removePathFromFilesystemBlacklist(SmartCStr path);
    /// The hidden paths; hold getFilesystemBlacklistMutex() while reading.
    const std::unordered_set<std::string>& getFilesystemBlacklist() const
        QEL_REQUIRES(m_filesystemBlacklistMutex) {
        return m_filesystemBlacklist;
    }
    /// The lock of the hidden paths.
    Mutex& getFilesystemBlacklistMutex() QEL_RETURN_CAPABILITY(m_filesystemBlacklistMutex) {
        return m_filesystemBlacklistMutex;
    }

    // --- keyboard (system/services) -----------------------------------------------------------------

    /// Opens the keyboard for @p receiver. The flags and the layout are handed on to the host.
    /// @param text       what is being edited; repaired to valid UTF-8.
    /// @param selection  code points, clamped into the text.
    /// @owner keeps a weak pointer to @p receiver.
    void showKeyboard(KeyboardReceiver* receiver, SmartCStr text, int layout, const IVec2<int>& selection,
                      const Rect& rect, bool multiline, bool obscured);
    /// Closes the keyboard; ignored when @p receiver is not null and not the current one.
    void hideKeyboard(KeyboardReceiver* receiver);
    /// Tells the host where the edited text has moved; ignored unless @p receiver is the current one.
    void moveKeyboard(KeyboardReceiver* receiver, const Rect& rect);
    /// Tells the host where to clip its overlay; ignored unless @p receiver is the current one.
    void clipKeyboardOverlay(KeyboardReceiver* receiver, const Rect& rect);
    /// Forgets the receiver without telling anyone.
    void disableKeyboardReceiver();
    /// The object that gets keyboard input, or null.
    KeyboardReceiver* getKeyboardReceiver() const;
    /// The layout that showKeyboard() was last given.
    int getLastKeyboardLayout() const { return m_lastKeyboardLayout; }
    /// Whether keys can be stored: delegateSecureKeyStore is connected.
    bool hasSecureKeyImplementation() const;

    // --- information (system/report) ----------------------------------------------------------------

    /// Logs version, revision, tags and build date.
    void printInformation();
    /// Adds the section "system:" to @p report.
    void report(ReportGenerator* report);
    /// Makes unhandled faults leave a dump file in @p directory + "/dumps".
    static void registerCrashHandler(const char* directory);

    /// Fills the script class @p cls. Defined in script/system_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

    // --- hooks of the host --------------------------------------------------------------------------

    Delegate<void(unsigned)> delegateSleep; ///< waits for so many ms; default System::sleep
    Signal<void()> signalApplicationTick;   ///< each pass, before scripts and tasks
    Delegate<int(bool)> delegateIdleWork;   ///< a piece of idle work; true first in a pass; negative: done
    Signal<void()> signalSyncUnsaved;       ///< save now what is unsaved
    Signal<void()> signalFreeCaches;        ///< memory is short: drop caches
    /// A notification has come; default keeps it for popSavedStartupMessage().
    Delegate<void(NotificationMessage*)> delegateDeliverNotification;
    Delegate<void(const String&)>
        delegateHandleURL;                        ///< a URL to open; default keeps it for popSavedStartupURL
    Delegate<URLFetch*()> delegateCreateURLFetch; ///< makes a download
    Delegate<void()> delegateBeforeSpriteUpload;  ///< right before a prefetched sprite becomes a texture
    Delegate<IVec4<float>()>
        delegateSafeArea; ///< display without bars and keyboard: left, top, right, bottom
    Delegate<IVec4<float>()> delegateSafeAreaForControls; ///< the same for what must stay operable
    /// Asks the user for permission number; default answers yes at once.
    Delegate<void(int, std::function<void(bool)>)> delegateAskPermission;
    Delegate<Camera*(const CameraParameters&)> delegateCreateCamera;                ///< opens a camera
    Delegate<const Vector<CameraMetadata>&()> delegateCameraList;                   ///< lists the cameras
    Delegate<AudioInput*(const AudioInputParameters&)> delegateCreateAudioInput;    ///< default null
    Delegate<AudioOutput*(const AudioOutputParameters&)> delegateCreateAudioOutput; ///< default null
    /// Draws a code point in a size into an image; default false.
    Delegate<bool(const IVec2<unsigned>&, unsigned, Image&)> delegateRenderGlyph;
    Delegate<float(const IVec2<unsigned>&)> delegateGlyphMetric; ///< metric of a glyph size; default 0
    Signal<void()> signalEnterBackground;                        ///< background mode was entered
    Signal<void()> signalLeaveBackground;                        ///< background mode was left
    Delegate<void(bool)> delegateSecureClose;                    ///< closing now would (not) lose work
    Delegate<bool(const char*, Buffer&)> delegateSecureKeyLoad;  ///< reads a key by name
    /// Stores a key by name.
    Delegate<bool(const char*, const Buffer&, const KeyGenSpec&)> delegateSecureKeyStore;
    Delegate<bool(const char*)> delegateSecureKeyRemove; ///< removes a key by name
    /// Opens the keyboard: text, layout, selection, place, multiline, obscured.
    Delegate<void(const char*, int, const IVec2<int>&, const Rect&, bool, bool)> delegateKeyboardShow;
    Delegate<void(const Rect&)> delegateKeyboardMove;        ///< the edited text has moved
    Delegate<void()> delegateKeyboardHide;                   ///< closes the keyboard
    Delegate<void(const Rect&)> delegateKeyboardClipOverlay; ///< where the host's overlay is clipped
    Delegate<void()> delegateKeyboardChanged;                ///< the receiver has changed
    Signal<void()> signalKeyboardChanged;                    ///< the receiver has changed

    // What only hosts use, on the desktop, a server or without any display.
    Delegate<const char*()> delegateDeviceName;            ///< name of the device; default ""
    Delegate<const char*()> delegatePlatformName;          ///< name of the platform; default "Linux"
    Delegate<const char*()> delegatePlatformVersion;       ///< version of the platform; default ""
    Delegate<const char*()> delegateDeviceModel;           ///< model of the device; default ""
    Delegate<const char*()> delegateOperatingSystem;       ///< name of the operating system; default "Linux"
    Delegate<const char*()> delegateBundleIdentifier;      ///< identity of the program; default "org.qel"
    Delegate<void(KeyboardAction)> delegateKeyboardAction; ///< an editing command of the host's menu
    /// Lets the user pick files or folders.
    Delegate<void(
        ExternalPickerType,
        const std::function<void(const Vector<Pair<SmartPointer<SystemStream>, SmartPointer<Object>>>&)>&)>
        delegatePickExternal;
    Signal<void(SystemSound)> signalPlaySound;                    ///< play a sound of the desktop
    Delegate<void(const char*)> delegateOpenURL;                  ///< open a URL outside the program
    Delegate<void(const char*, const char*)> delegateShowMessage; ///< tell the user: title, text
    Delegate<void(const char*)> delegateSetClipboardText;         ///< put text onto the clipboard
    Delegate<String()> delegateGetClipboardText;                  ///< text on the clipboard; default empty
    Delegate<void(Image*)> delegateSetClipboardImage;             ///< put an image onto the clipboard
    Delegate<bool()> delegateIsDarkAppearance;   ///< does the desktop ask for dark colours? default false
    Delegate<bool()> delegateIsNetworkAvailable; ///< is there a network? default true
    Delegate<bool(IVec2<float>&)> delegatePointerPosition; ///< where the pointer is; default false
    Delegate<uint64()> delegateGraphicsMemoryInUse;        ///< bytes; default 0
    Delegate<uint64()> delegateGraphicsMemoryLimit;        ///< bytes; default 0x1000000000
    Delegate<int()> delegateThermalState;                  ///< 0 cool and rising; default 0
    Delegate<int()> delegateBatteryPercent;                ///< 0 to 100; default -1, no battery
    Delegate<void()> delegateRequestFrame;                 ///< draw a frame soon
    Delegate<void()> delegateRaiseWindow;                  ///< bring the window to the front
    Delegate<void(bool)> delegateSetFullscreen;            ///< fill the display with the window
    Signal<void()> signalNetworkChanged;                   ///< the network came or went
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
