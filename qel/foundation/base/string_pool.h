// The process-wide pool of interned texts, which StringId uses.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <array>
#include <atomic>
#include <cstddef>

namespace qel {

/// One interned text: a header followed by the bytes and a NUL, allocated in one piece.
struct StringElement {
    std::atomic<uint32> referenceCount; ///< number of StringIds that share it; 0 while it is being removed
    uint64 hash;                        ///< String::hash() of the text
    uint64 length;                      ///< bytes before the NUL

    /// Returns the bytes, NUL-terminated.
    const char* text() const { return reinterpret_cast<const char*>(this + 1); }
};

/// Keeps one StringElement for each text that is in use. Hosts use StringId instead.
///
/// Texts are spread over shards by a key, a hash that is faster to compute than the one their elements carry.
/// Each shard is an open-addressed table that starts empty and stores the key beside the pointer, so that a
/// search touches an element only if its key matches.
/// @threads any thread. A shard's lock is the innermost: no other lock is taken under it. Only printStats()
/// holds several, taken in the order of the shards.
class QEL_API StringPool {
public:
    /// Creates an empty pool, which allocates nothing.
    constexpr StringPool() = default;
    StringPool(const StringPool&) = delete;
    StringPool& operator=(const StringPool&) = delete;

    /// Returns the element of a text, which is created if it does not exist.
    /// @param text  @p length bytes, which may hold NUL.
    /// @param hash  String::hash() of the text.
    /// @owner the caller gets one reference.
    StringElement* allocate(const char* text, std::size_t length, std::size_t hash);
    /// As the form with the hash, which is computed only if the element has to be created.
    StringElement* allocate(const char* text, std::size_t length);
    /// Removes and frees an element whose count has reached 0; does nothing if it has references again.
    /// Only the thread that took the last reference may call it, and only once.
    void release(StringElement* element);

    /// Returns the number of elements.
    unsigned getNumberOfStrings() const;
    /// Logs one line at info level: "StringId Stats" and the current figures.
    void printStats() const;

protected:
    /// Frees all elements without looking at their counts. A pool has no destructor: static StringIds of
    /// other modules may outlive the statics of this one. Classes derived from it call this in theirs.
    void clear();

private:
    struct Slot {
        uint64 key;
        StringElement* element;
    };
    /// Guards the few instructions of a search. Taking it costs one atomic operation and releasing it none,
    /// half as much as a Mutex; that is a third of what finding a text takes. Whoever finds it taken for long
    /// yields the processor, so that an interrupted holder can continue.
    class QEL_CAPABILITY("mutex") SearchLock {
    public:
        void lock() QEL_ACQUIRE() {
            if (m_isTaken.exchange(true, std::memory_order_acquire)) waitAndLock();
        }
        void unlock() QEL_RELEASE() { m_isTaken.store(false, std::memory_order_release); }

    private:
        void waitAndLock();

        std::atomic<bool> m_isTaken{false};
    };
    class QEL_SCOPED_CAPABILITY SearchGuard {
    public:
        explicit SearchGuard(SearchLock& mutex) QEL_ACQUIRE(mutex) : m_mutex(mutex) { mutex.lock(); }
        ~SearchGuard() QEL_RELEASE() { m_mutex.unlock(); }
        SearchGuard(const SearchGuard&) = delete;
        SearchGuard& operator=(const SearchGuard&) = delete;

    private:
        SearchLock& m_mutex;
    };
    struct alignas(64) Shard {
        mutable SearchLock mutex;
        Slot* slots QEL_GUARDED_BY(mutex) = nullptr;
        std::size_t capacity QEL_GUARDED_BY(mutex) = 0;
        std::size_t count QEL_GUARDED_BY(mutex) = 0;

        StringElement* findLocked(const char* text, std::size_t length, uint64 key) QEL_REQUIRES(mutex);
        void insertLocked(StringElement* element, uint64 key) QEL_REQUIRES(mutex);
        void eraseLocked(const StringElement* element, uint64 key) QEL_REQUIRES(mutex);
        void reserveOneLocked() QEL_REQUIRES(mutex);
    };
    static constexpr unsigned kShardBits = 5;

    Shard& shardOf(uint64 key);
    template <typename Hash>
    StringElement* allocateWith(const char* text, std::size_t length, Hash&& hash);

    std::array<Shard, std::size_t(1) << kShardBits> m_shards{};
};

namespace internal {

/// The pool of the process. It exists before the first static StringId and outlives the last one.
QEL_API extern StringPool& g_stringPool;

} // namespace internal
} // namespace qel
