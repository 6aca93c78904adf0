#include <qel/store/core/store.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/store/core/item.h>
#include <qel/store/core/scoped_transaction.h>
#include <qel/store/core/store_cursor.h>
#include <qel/store/core/subtree_walk_p.h>
#include <qel/system/core/clock.h>

#include <utility>

namespace qel {
namespace {

double millisecondsSince(int64 start) {
    const int64 milliseconds = (Clock::current().steadyNanoseconds() - start) / 1'000'000;
    return static_cast<double>(milliseconds);
}

/// The common part of both forms of copyFrom(). @param copyAll  writes every entry and returns their number.
template <typename CopyAll>
void copyInTransaction(Store* target, const CopyAll& copyAll) {
    const int64 start = Clock::current().steadyNanoseconds();
    ScopedTransaction transaction(target);
    const int64 count = copyAll();
    transaction.commit();
    target->flush();
    const double seconds = millisecondsSince(start) / 1000;
    const double rate = static_cast<double>(count) / seconds;
    // The seconds are divided once more, because hosts expect the line in this form.
    logging::info() << "[STORE] copied " << count << " items in " << seconds / 1000 << "s (" << rate
                    << "items/s)";
}

/// Calls @p visit(key, value) for every entry.
template <typename Visit>
void visitEntries(Store* store, const Visit& visit) {
    for (const auto cursor = store->openCursor(); cursor->next();) {
        if (const Item* const value = cursor->value()) visit(cursor->key(), *value);
    }
}

String dumpLine(const Item& key, const Item& value) {
    return key.asString() + " = " + value.asString();
}

} // namespace

int64 Store::g_compareCount = 0;

Store::Store() = default;
Store::Store(const Store&) = default;
Store& Store::operator=(const Store&) = default;
Store::~Store() = default;

String Store::lastError() const {
    return {};
}

void Store::clearLastError() {}

bool Store::tryCommit() {
    commit();
    return lastError().empty();
}

bool Store::tryFlush() {
    flush();
    return lastError().empty();
}

uint64 Store::getLossCount() const {
    return 0;
}

void Store::copyFrom(Store* source) {
    logging::info() << "[STORE] copying database";
    copyInTransaction(this, [&] {
        int64 count = 0;
        visitEntries(source, [&](const Item& key, const Item& value) {
            set(key, value);
            ++count;
        });
        return count;
    });
}

void Store::copyFrom(Store* source, const Set<Item>& excludes) {
    logging::info() << "[STORE] copying database with exclude filters";
    copyInTransaction(this, [&] {
        int64 count = 0;
        internal::SubtreeWalk walk{Item(source)};
        for (bool found = true; found;) {
            const bool isExcluded = excludes.contains(walk.node());
            const Item* const value = isExcluded ? nullptr : walk.node().fetch();
            if (value) {
                set(walk.node(), *value);
                ++count;
            }
            found = isExcluded ? walk.nextBeside() : walk.next();
        }
        return count;
    });
}

void Store::dumpraw() {
    logging::info() << "store raw dump begin:";
    visitEntries(this, [](const Item& key, const Item& value) { logging::info() << dumpLine(key, value); });
    logging::info() << "store raw dump end";
}

void Store::dumpToFile(const char* path) {
    logging::info() << "store raw dump to " << path;
    platform::FileError error;
    const auto file = platform::openStandardStream(path ? path : "", std::ios::out | std::ios::trunc, error);
    if (file) {
        visitEntries(this,
                     [&](const Item& key, const Item& value) { *file << dumpLine(key, value) << '\n'; });
        file->flush();
    }
    if (!file || !*file) logging::error() << "cant write store dump to '" << path << "'";
    logging::info() << "store raw dump end";
}

void Store::benchmark() {
    const int64 start = Clock::current().steadyNanoseconds();
    Item copy;
    visitEntries(this, [&copy](const Item&, const Item& value) { copy = value; });
    logging::info() << "store benchmark: " << millisecondsSince(start) << "ms";
}

} // namespace qel
