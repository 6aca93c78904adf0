#include <qel/text/fonts/ft_library_singleton_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/task_queue.h>

#include <freetype/ftmodapi.h>

#include <cstdlib>
#include <utility>

namespace qel {

namespace {

constexpr const char* kSingletonName = "FTLibrarySingleton";
/// More than any font needs in one piece. Pictures and compressed tables in a font state their own sizes.
constexpr long kMaxBlockSize = 64L << 20;

void* allocateBlock(FT_Memory, long size) {
    return size <= kMaxBlockSize ? std::malloc(static_cast<size_t>(size)) : nullptr;
}

void freeBlock(FT_Memory, void* block) {
    std::free(block);
}

void* reallocateBlock(FT_Memory, long, long size, void* block) {
    return size <= kMaxBlockSize ? std::realloc(block, static_cast<size_t>(size)) : nullptr;
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
