#include <tests/support/system_fixture.h>

#include <qel/foundation/base/string_id.h>
#include <qel/foundation/base/string_pool.h>
#include <qel/script/vm.h>
#include <qel/system/tasks/task_queue.h>

#include <filesystem>
#include <iterator>
#include <thread>

namespace qel {
namespace {

constexpr const char* kThreads = "/proc/self/task";
constexpr const char* kDescriptors = "/proc/self/fd";

ptrdiff_t countEntries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// Uses a bit of everything: tasks on all queues, scripts that end, sleep and throw, interned text.
void live() {
    System& system = *Object::system();
    const StringId kept("a text that lives as long as this function");
    for (TaskQueue* const queue : {system.getGlobalParallelQueue(), system.getGlobalDeleteIOQueue(),
                                   system.getGlobalMainQueue(), system.getGlobalBlockingDestructorQueue()})
        queue->pushTaskN(3, new TaskQueue::LambdaNoContextTask([] { StringId("of a task"); }), 1);
    system.getVM()->executeString("std.async(function() { std.sleep(100000); });\n"
                                  "std.async(function() { return 1; });\n"
                                  "std.queue().push(function() { std[\"yield\"](); });",
                                  "test");
    for (int pass = 0; pass < 3; ++pass) system.processEvents(0);
    system.getGlobalParallelQueue()->wait();
    system.getGlobalDeleteIOQueue()->wait();
}

TEST(SystemLeftovers, NothingStaysBehindAfterDeinitialize) {
    ManualClock clock;
    Clock::install(&clock);
    const auto round = [] {
        System::initialize({});
        live();
        System::deinitialize();
    };
    std::thread([] {}).join(); // a sanitizer may start a thread of its own beside the first one
    const ptrdiff_t threads = countEntries(kThreads);
    round();
    const ptrdiff_t descriptors = countEntries(kDescriptors);
    const unsigned strings = internal::g_stringPool.getNumberOfStrings();
    for (int i = 0; i < 5; ++i) round();
    EXPECT_EQ(countEntries(kDescriptors), descriptors);
    EXPECT_EQ(internal::g_stringPool.getNumberOfStrings(), strings);
    for (int i = 0; i < 1'000'000 && countEntries(kThreads) > threads; ++i) std::this_thread::yield();
    EXPECT_LE(countEntries(kThreads), threads) << "threads vanish a moment after they left the pool";
    Clock::install(nullptr);
}

} // namespace
} // namespace qel
