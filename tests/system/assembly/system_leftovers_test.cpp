#include <tests/support/system_fixture.h>

#include <qel/foundation/base/string_id.h>
#include <qel/foundation/base/string_pool.h>
#include <qel/script/vm.h>
#include <qel/system/tasks/task_queue.h>

#include <algorithm>
#include <filesystem>

namespace qel {
namespace {

/// What a process holds of the system's and the library's own.
struct Holdings {
    ptrdiff_t threads;
    ptrdiff_t descriptors;
    unsigned strings;

    static Holdings now() {
        const auto count = [](const char* folder) {
            return std::distance(std::filesystem::directory_iterator(folder), {});
        };
        return {count("/proc/self/task"), count("/proc/self/fd"),
                internal::g_stringPool.getNumberOfStrings()};
    }
};

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
    round();
    const Holdings before = Holdings::now();
    for (int i = 0; i < 5; ++i) round();
    const Holdings after = Holdings::now();
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.strings, before.strings);
    Clock::install(nullptr);
}

} // namespace
} // namespace qel
