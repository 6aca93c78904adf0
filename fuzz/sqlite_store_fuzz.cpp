// Files of a SqliteStore with random damage: either the store is closed for good, or every walk and every
// operation behaves like an ordered map of the readable entries. Every walk ends.
//
// An input selects records, changes to bytes of the file, whether it is truncated, whether it appears too
// large to be checked when it is opened, and operations.
#include <fuzz/drawn_bytes.h>
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/store/sqlite/sqlite_store.h>
#include <tests/support/store_model.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace qel;

/// A path in the temporary folder; the file is removed at the end.
class FilePath {
public:
    FilePath()
        : m_path(
              (std::filesystem::temp_directory_path() / ("qel-fuzz-" + std::to_string(getpid()))).string()) {}
    ~FilePath() { remove(); }

    const std::string& text() const { return m_path; }
    void remove() const {
        for (const char* ending : {"", "-wal", "-journal"}) std::filesystem::remove(m_path + ending);
    }
    std::string read() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void write(const std::string& content) const {
        std::ofstream(m_path, std::ios::binary | std::ios::trunc) << content;
    }

private:
    std::string m_path;
};

constexpr unsigned kMostSteps = 4000; // more than the entries of any input

void writeRecords(const std::string& path, DrawnBytes& bytes) {
    SqliteStore store(path);
    require(store.good());
    const unsigned count = 1 + bytes.draw(120);
    for (unsigned i = 0; i < count; ++i) {
        const unsigned form = bytes.draw(256);
        Item key("key");
        for (unsigned depth = form % 3; depth > 0; --depth) key.add(static_cast<int>(i % 7));
        key.add(static_cast<int>(i));
        key.setStore(&store);
        key.store(form < 200 ? Item(form) : Item(std::string((form - 199) * 40, 'v')));
    }
}

/// The header's count of pages, which SQLite trusts if the file is at least as long.
constexpr size_t kPageCountAt = 28, kPageSize = 4096;
constexpr size_t kManyPages = SqliteStore::kCheckedBytes / kPageSize + 1;

/// @return true if the file appears too large to be checked.
bool damage(const FilePath& path, DrawnBytes& bytes) {
    std::string content = path.read();
    for (unsigned count = bytes.draw(8); count > 0; --count) {
        const size_t page = bytes.draw(256) % (content.size() / kPageSize);
        char& byte = content[page * kPageSize + bytes.drawWide() % kPageSize];
        byte = static_cast<char>(bytes.draw(2) == 0 ? bytes.draw(256) : byte ^ 1 << bytes.draw(8));
    }
    if (bytes.draw(8) == 1) content.resize(content.size() - bytes.drawWide() % content.size());
    const bool isLarge = bytes.draw(2) == 1 && content.size() > kPageCountAt + 4;
    if (isLarge) {
        content[kPageCountAt + 2] = static_cast<char>(kManyPages >> 8);
        content[kPageCountAt + 3] = static_cast<char>(kManyPages & 0xFF);
    }
    path.write(content);
    if (isLarge) std::filesystem::resize_file(path.text(), kManyPages * kPageSize);
    return isLarge;
}

/// Copies the result of a walk up. @return true if the store is still good.
bool readAll(Store& store, test::ModelStore& model) {
    Item key;
    unsigned steps = 0;
    for (bool found = store.first(key); found; found = store.next(key, key)) {
        require(++steps < kMostSteps);
        const Item* const value = store.get(key);
        if (!value) break;
        model.set(key, *value);
    }
    return store.good();
}

std::string walkDown(Store& store) {
    std::string keys;
    Item key = Item().addEnd();
    for (unsigned steps = 0; store.prev(key, key); ++steps) {
        require(steps < kMostSteps);
        keys += key.getBase16() + " ";
    }
    return keys;
}

/// Returns the keys that Item::child() and Item::next() reach, each level before the next one.
std::string walkTree(Store& store) {
    std::string keys;
    std::vector<Item> level{Item(&store)};
    for (unsigned steps = 0; !level.empty();) {
        std::vector<Item> below;
        for (const Item& node : level) {
            Item child;
            for (bool found = node.child(child); found; found = child.next()) {
                require(++steps < kMostSteps);
                keys += child.getBase16() + " ";
                below.push_back(child);
            }
        }
        level = std::move(below);
    }
    return keys;
}

/// Returns true if both results are equal; a store that was closed meanwhile may return anything.
bool isSame(const SqliteStore& store, const std::string& answer, const std::string& expected) {
    return !store.good() || answer == expected;
}

void checkWalks(SqliteStore& store, test::ModelStore& model) {
    require(isSame(store, test::contentOf(store), test::contentOf(model)));
    require(isSame(store, walkDown(store), walkDown(model)));
    require(isSame(store, walkTree(store), walkTree(model)));
}

void checkOperations(SqliteStore& store, test::ModelStore& model, DrawnBytes& bytes) {
    constexpr int kMostOperations = 100;
    test::StoreOperations operations([&bytes](unsigned limit) { return bytes.draw(limit); }, true);
    for (int i = 0; i < kMostOperations && store.good() && !bytes.isAtEnd(); ++i) {
        const test::StoreOperation operation = operations.next();
        const std::string expected = operation.perform(model);
        require(isSame(store, operation.perform(store), expected));
    }
    checkWalks(store, model);
}

void checkClosed(SqliteStore& store) {
    Item out;
    require(!store.first(out) && !store.next(Item(), out) && !store.prev(Item().addEnd(), out));
    require(!store.get(Item("key")) && !store.verify() && !store.tryFlush() && !store.lastError().empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const auto quiet = logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    (void)quiet;
    static const FilePath path;
    constexpr size_t kLongest = 1024;
    DrawnBytes bytes(data, std::min(size, kLongest));
    path.remove();
    writeRecords(path.text(), bytes);
    const bool isLarge = damage(path, bytes);
    const std::string damaged = isLarge ? "" : path.read();
    SqliteStore store(path.text());
    test::ModelStore model;
    const bool isOpen = store.good();
    if (isOpen && readAll(store, model)) {
        checkWalks(store, model);
        // A list of free pages that was not checked may direct writes to pages in use.
        if (store.good() && !isLarge) checkOperations(store, model, bytes);
    }
    if (!store.good()) checkClosed(store);
    if (!isOpen && !isLarge) require(path.read() == damaged);
    return 0;
}
