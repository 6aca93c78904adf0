#include <qel/text/fonts/ft_library_singleton_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/task_queue.h>

#include <freetype/ftmodapi.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace qel {

namespace {

constexpr const char* kSingletonName = "FTLibrarySingleton";
constexpr size_t kMaxStartBytes = size_t{16} << 20;
constexpr size_t kHeaderSize = alignof(std::max_align_t);

// The bytes that FreeType uses and may use; those of the main thread, like all of it.
size_t g_used = 0;
size_t g_limit = 0;

/// Returns the start of a block, which stores its size.
void* startOf(void* block) {
    return block != nullptr ? static_cast<std::byte*>(block) - kHeaderSize : nullptr;
}

size_t sizeOf(void* block) {
    size_t size = 0;
    if (block != nullptr) std::memcpy(&size, startOf(block), sizeof size);
    return size;
}

void freeBlock(FT_Memory, void* block) {
    g_used -= sizeOf(block);
    std::free(startOf(block));
}

void* reallocateBlock(FT_Memory, long, long wanted, void* block) {
    const auto size = static_cast<size_t>(wanted);
    const size_t others = g_used - sizeOf(block);
    if (size > g_limit || others > g_limit - size) return nullptr;
    void* const start = std::realloc(startOf(block), kHeaderSize + size);
    if (start == nullptr) return nullptr;
    g_used = others + size;
    std::memcpy(start, &size, sizeof size);
    return static_cast<std::byte*>(start) + kHeaderSize;
}

void* allocateBlock(FT_Memory memory, long size) {
    return reallocateBlock(memory, 0, size, nullptr);
}

/// The formats that are not read. PFR and Type 42 have composite glyphs that cannot be checked
/// (outline_work_p.h), and PCF files can be compressed, so that a small one may take minutes. All three
/// have been out of use for decades.
constexpr const char* kUnsafeModules[] = {"pfr", "type42", "pcf"};

FT_MemoryRec_ g_memory = {nullptr, &allocateBlock, &freeBlock, &reallocateBlock};

} // namespace

SmartPointer<FTLibrarySingleton> FTLibrarySingleton::get() {
    if (Object* const known = getSingletonObject(kSingletonName))
        return static_cast<FTLibrarySingleton*>(known);
    return static_cast<FTLibrarySingleton*>(setSingleton(kSingletonName, new FTLibrarySingleton));
}

// FT_Init_FreeType() would read properties from the environment.
FTLibrarySingleton::FTLibrarySingleton() {
    allowBytes(kMaxStartBytes);
    if (FT_New_Library(&g_memory, &m_library) != 0) {
        m_library = nullptr;
        return;
    }
    FT_Add_Default_Modules(m_library);
    for (const char* const name : kUnsafeModules)
        if (FT_Module module = FT_Get_Module(m_library, name)) FT_Remove_Module(m_library, module);
}

FTLibrarySingleton::~FTLibrarySingleton() {
    if (m_library != nullptr) FT_Done_Library(m_library);
}

void FTLibrarySingleton::allowBytes(size_t further) {
    g_limit = g_used + further;
}

ConstByteSpan FTLibrarySingleton::find(std::string_view name) const {
    const auto found = m_files.find(name);
    return found != m_files.end() ? found->second.getConstByteSpan() : ConstByteSpan();
}

ConstByteSpan FTLibrarySingleton::load(SmartCStr name) {
    const ConstByteSpan known = find(name.view());
    Buffer file;
    if (!known.empty() || !file.loadFromResource(name.c_str(), true)) return known;
    return (m_files[std::string(name.view())] = std::move(file)).getConstByteSpan();
}

bool FTLibrarySingleton::request(SmartCStr name, Waiter waiter) {
    if (m_requester.get() != system()) m_waiters.clear(); // an earlier System does not answer any more
    m_requester = system();
    const std::string key(name.view());
    std::vector<Waiter>& waiters = m_waiters[key];
    waiters.push_back(std::move(waiter));
    if (waiters.size() > 1) return true;
    logging::info() << "Fetching resource: " << key;
    const SmartPointer<FTLibrarySingleton> self(this);
    const bool isAccepted =
        system()->loadResourceAsync(name, [self, key](const Buffer& file) { self->receive(key, file); });
    if (!isAccepted) m_waiters.erase(key);
    return isAccepted;
}

/// Continues on the main thread: a provider may answer on any thread.
void FTLibrarySingleton::receive(const std::string& name, const Buffer& file) {
    if (system() == nullptr) return;
    if (system()->isMainThread()) return finishRequest(name, file);
    const SmartPointer<FTLibrarySingleton> self(this);
    const auto finish = [self, name, copy = file] { self->finishRequest(name, copy); };
    system()->getGlobalMainQueue()->pushTask(new TaskQueue::LambdaNoContextTask(finish), 0);
}

void FTLibrarySingleton::finishRequest(const std::string& name, const Buffer& file) {
    const auto waiters = m_waiters.extract(name);
    if (waiters.empty()) return;
    logging::info() << "Copying into internal buffer";
    Buffer& kept = m_files[name];
    if (kept.empty()) kept = file; // otherwise faces read from the bytes already
    for (const Waiter& waiter : waiters.mapped()) waiter(kept);
}

} // namespace qel
