// Prints what the library and its common objects take: one line for each, the bytes and what they are for.
// Bytes of objects are those that the allocator has handed out, with its own overhead.
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/signal.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string_id.h>
#include <qel/store/core/item.h>
#include <qel/store/core/memory_store.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/task_queue.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kCount = 10000;

void print(const char* what, double bytes) {
    std::printf("%.1f %s\n", bytes, what);
}

/// Prints the bytes that each of kCount calls of @p make leaves allocated. Keep what it creates in memory
/// that is reserved beforehand.
template <typename Make>
void printEach(const char* what, const Make& make) {
    const size_t before = mallinfo2().uordblks;
    for (int i = 0; i < kCount; ++i) make(i);
    print(what, static_cast<double>(mallinfo2().uordblks - before) / kCount);
}

/// Returns a text of 16 bytes that no other number has.
std::string textOf(int i) {
    std::string digits = std::to_string(i);
    return "benchmark-" + std::string(6 - digits.size(), '0') + digits;
}

/// Returns the value of a line of /proc/self/status in bytes.
double processBytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1)) * 1024;
    }
    return 0;
}

} // namespace

int main() {
    qel::System::initialize({});
    qel::Object::system()->processEvents(0);
    print("an idle host, private memory", processBytes("RssAnon"));
    print("an idle host, with the mapped pages of files", processBytes("VmRSS"));

    std::vector<std::unique_ptr<qel::Object>> objects(kCount);
    printEach("an Object", [&](int i) { objects[static_cast<size_t>(i)] = std::make_unique<qel::Object>(); });

    std::vector<qel::StringId> ids(kCount);
    printEach("a StringId's text of 16 bytes", [&](int i) { ids[static_cast<size_t>(i)] = textOf(i); });

    const qel::SmartPointer<qel::MemoryStore> store(new qel::MemoryStore);
    printEach("an entry of a MemoryStore, key of 16 bytes and a number",
              [&](int i) { store->set(qel::Item(textOf(i)), qel::Item(i)); });

    qel::Signal<void(int)> signal;
    printEach("a connection of a callable", [&](int) { signal.connect([](int) {}); });

    qel::TaskQueue queue(qel::TaskQueue::kParallel);
    queue.pause();
    printEach("a queued task",
              [&](int) { queue.pushTask(new qel::TaskQueue::LambdaNoContextTask([] {}), 0); });
    queue.abort();
    qel::System::deinitialize();
    return EXIT_SUCCESS;
}
