#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <qel/foundation/base/string_id.h>
#include <qel/foundation/base/string_pool.h>
#include <qel/script/vm.h>
#include <qel/system/tasks/alarm.h>
#include <qel/system/tasks/task_queue.h>

#include <filesystem>
#include <thread>

namespace qel {
namespace {

/// Uses many parts: tasks on all queues, scripts that end and sleep, interned strings.
void live() {
    System& system = *Object::system();
    const StringId kept("a text that lives as long as this function");
    for (TaskQueue* const queue : {system.getGlobalParallelQueue(), system.getGlobalDeleteIOQueue(),
                                   system.getGlobalMainQueue(), system.getGlobalBlockingDestructorQueue()})
        queue->pushTaskN(3, new TaskQueue::LambdaNoContextTask([] { StringId("of a task"); }), 1);
    system.getVM()->executeString("std.async(function() { std.sleep(100000); });\n"
                                  "local waits = std.serial_queue(); waits.push(@() std.sleep_forever());\n"
                                  "std.async(function() { waits.wait(); });\n"
                                  "std.async(function() { return 1; });\n"
                                  "std.queue().push(function() { std[\"yield\"](); });",
                                  "test");
    for (int pass = 0; pass < 3; ++pass) system.processEvents(0);
    system.getGlobalParallelQueue()->wait();
    system.getGlobalDeleteIOQueue()->wait();
}

ptrdiff_t countEntries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

TEST(SystemLifecycle, OpenReferencesKeepTheSystem) {
    test::LogCapture log;
    System::initialize({});
    SmartPointer<System> open = Object::system();
    System::deinitialize();
    log.expect(2, "trying to deinitialize qel::System, but there are still open references");
    open->processEvents(0);
    open = nullptr;
    const SmartPointer<Object> timed(new Object);
    timed->takeTimedReference();
    const SmartPointer<Alarm> alarm = new Alarm;
    alarm->scheduleInSeconds(5);
    System::deinitialize();
    EXPECT_EQ(timed->getReferenceCount(), 1);
    EXPECT_EQ(alarm->getReferenceCount(), 1);
    alarm->cancel(); // harmless, although the wheel is destroyed
    System::deinitialize();
    log.expect(3, "trying to deinitialize non-existant qel::System");
}

TEST(SystemLifecycle, NothingIsLeftAfterDeinitialize) {
    ManualClock clock;
    Clock::install(&clock);
    std::thread([] {}).join(); // a sanitizer may start its own thread together with the first one
    const ptrdiff_t threads = countEntries("/proc/self/task");
    ptrdiff_t descriptors = 0;
    unsigned texts = 0;
    for (int round = 0; round < 6; ++round) {
        System::initialize({});
        live();
        System::deinitialize();
        if (round == 0) {
            descriptors = countEntries("/proc/self/fd");
            texts = internal::g_stringPool.getNumberOfStrings();
        }
    }
    EXPECT_EQ(countEntries("/proc/self/fd"), descriptors);
    EXPECT_EQ(internal::g_stringPool.getNumberOfStrings(), texts);
    for (int i = 0; i < 1'000'000 && countEntries("/proc/self/task") > threads; ++i)
        std::this_thread::yield();
    EXPECT_LE(countEntries("/proc/self/task"), threads)
        << "they disappear a moment after they leave the pool";
    Clock::install(nullptr);
}

} // namespace
} // namespace qel
