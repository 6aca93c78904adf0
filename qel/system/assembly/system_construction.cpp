#include <qel/system/core/system.h>

#include <qel/foundation/locale/gregorian_date.h>
#include <qel/packet/std_in_packet_reader.h>
#include <qel/packet/std_out_packet_writer.h>
#include <qel/platform/known_folders.h>
#include <qel/platform/machine.h>
#include <qel/platform/process_self.h>
#include <qel/plugins/resource_locator.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/script/notification_message.h>
#include <qel/script/vm.h>
#include <qel/store/records/guid_domain_db.h>
#include <qel/system/core/clock.h>
#include <qel/system/report/version.h>
#include <qel/system/services/random_engine.h>
#include <qel/system/tasks/main_pool.h>
#include <qel/system/tasks/parallel.h>
#include <qel/system/tasks/perfmon.h>
#include <qel/system/tasks/scheduler.h>
#include <qel/system/tasks/task_queue.h>
#include <qel/system/tasks/thread_pool.h>

namespace qel {

namespace {

String languageOfUser() {
    return platform::userLocaleName().starts_with("de_") ? "de" : "en";
}

} // namespace

// The order matters: each part may use those created before it, through g_system.
System::System() {
    m_randomEngine = std::make_unique<RandomEngine>();
    internal::g_system = this;
    m_applicationFactory = [] { return new Application; };
    readMachine();
    m_threadPool = new ThreadPool;
    m_mainPool = new MainPool;
    m_parallel = new Parallel;
    m_resourceLocator = new ResourceLocator;
    m_scheduler = new Scheduler;
    m_executablePath = platform::executablePath();
    setDefaultDirectories(platform::userLocalDataFolder());
    setLanguage(languageOfUser());
    connectDefaultHooks();
    m_vm = std::make_unique<qelSq::VM>();
    m_touchState = new TouchState;
    m_presentationTime = getTime();
    m_firstUTC = m_passUTC = getUTCDateTime();
    String::utf8_init_charset_conversion();
    createGlobalQueues();
    m_parallel = new Parallel; // not on first use: any thread may ask for it
    setBuildEnvironment();
}

// Queued tasks are dropped and running ones finish. Queues are destroyed before pools, and the script machine
// after everything that tasks could still use it from.
System::~System() {
    m_blockingDestructorQueue->wait();
    m_blockingDestructorQueue = nullptr;
    m_deleteIOQueue = nullptr;
    m_parallelQueue = nullptr;
    m_mainQueue = nullptr;
    m_mainPool = nullptr;
    m_parallel = nullptr;
    m_threadPool = nullptr;
    m_resourceLocator = nullptr;
    m_vm = nullptr;
    m_scheduler = nullptr;
    setGUIDDomainDB(nullptr);
    m_perfMon = nullptr;
    m_touchState = nullptr;
    m_application = nullptr;
}

void System::readMachine() {
    if (const unsigned pageSize = platform::pageSize(); pageSize != 0) m_pageSize = pageSize;
    m_processorCount = platform::processorCount();
    m_physicalMemorySize = platform::physicalMemorySize();
    m_steadyBaseMs = Clock::current().steadyNanoseconds() / 1'000'000;
}

void System::createGlobalQueues() {
    m_mainQueue = new TaskQueue(TaskQueue::kMain, 0);
    m_parallelQueue = new TaskQueue(TaskQueue::kParallel, 0);
    m_deleteIOQueue = new TaskQueue(TaskQueue::kDeleteIO, 0);
    m_blockingDestructorQueue = new TaskQueue(TaskQueue::kBlockingDestructor, 0);
}

void System::setBuildEnvironment() {
    setEnv("product-version", Version::getVersionString());
    setEnv("build-date", Version::getBuildDate());
    setEnv("build-date-hmr", GregorianDate::fromYYYYMMDD(Version::getBuildDate()).formatAsShortTextDate(""));
}

} // namespace qel
