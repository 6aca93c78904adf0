// Records read from a store that somebody else wrote: whatever it contains, they load it or log an error,
// their own data remains readable, and no identifier or line number is assigned twice.
// || An input selects a kind of record and entries below its root. An entry is a path, which may begin with a
// name that the record knows, and a value; both continue with bytes of the input.
#include <fuzz/require.h>
#include <qel/files/delete_later.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/store/core/log_db.h>
#include <qel/store/core/memory_store.h>
#include <qel/store/records/guid_domain_db.h>
#include <qel/store/records/options_db.h>
#include <qel/store/records/table.h>
#include <qel/system/core/system.h>
#include <qel/testing/faults.h>

#include <set>
#include <span>
#include <string>

using namespace qel;

namespace {

void checkOptions(const Item& root) {
    for (int round = 0; round < 2; ++round) {
        const auto options = makeObject<OptionsDB>(root);
        for (const char* name : {"plain", "client_options:one", "group_options:two", ""}) {
            options->addOption(name, "default", "Pool", "label", "description", 0x80);
            const String expected = options->getValue(name).string();
            require(!expected.empty());
            require(round == 0 || expected == "default" || expected == "set");
            options->getValueAsLong(name);
            require(options->setValue(name, *name == 'p' ? "" : "set"));
        }
    }
}

uint64 readNumber(const Item& root, const char* name) {
    const Item* const stored = Item(root).add(name).fetch();
    int64 number = 0;
    if (stored) stored->getIterator().asInteger(number);
    const auto wide = static_cast<uint64>(number);
    return std::min<uint64>(wide, 8 * GUID::kSize);
}

/// Returns the number of random bits in the identifiers of a stored domain.
int countRandomBits(const Item& root) {
    GUID base;
    if (const Item* const stored = Item(root).add("base.guid").fetch()) stored->getIterator().asGUID(base);
    uint64 bit = 0;
    for (const char* name : {"base.num", "domainBits", "personalBits"}) bit += readNumber(root, name);
    int count = 0;
    for (; bit < 8 * GUID::kSize; ++bit) count += (base.bytes[bit / 8] >> bit % 8 & 1) == 0;
    return count;
}

void checkDomain(const Item& root) {
    constexpr int kEnoughBits = 64; // for identifiers that do not repeat
    const bool isRandom = countRandomBits(root) >= kEnoughBits;
    std::set<GUID> identifiers;
    constexpr int kRounds = 3, kEach = 8;
    for (int round = 0; round < kRounds; ++round) {
        const auto database = makeObject<GUIDDomainDB>(root);
        for (int i = 0; i < kEach; ++i) identifiers.insert(database->generateGUID());
        const GUIDDomain domain = database->generateDomain();
        require(database->hasDomain() || !domain.guid);
        if (round == 0) database->flush(); // the next round starts from the state that was not saved
    }
    require(!isRandom || identifiers.size() == kRounds * kEach);
}

/// Returns the numbers of the lines below @p data. Foreign keys can mislead a walk, so it is bounded.
std::set<int64> lineNumbers(const Item& data) {
    std::set<int64> numbers;
    Item key(data), parent;
    int64 number;
    for (int steps = 0; steps < 300 && data.getStore()->next(key, key); ++steps)
        if (key.parent(parent) && parent == data && key.trail().getIterator().asInteger(number))
            numbers.insert(number);
    return numbers;
}

constexpr int64 kMaxCount = int64{1} << 62;

void checkLog(const Item& root) {
    int64 end = 0;
    for (const int64 range : {int64{0}, int64{1}, INT64_MAX, INT64_MIN}) {
        const auto log = makeObject<LogDB>(root);
        require(log->getEnd() >= end && log->getBegin() <= log->getEnd());
        require(!lineNumbers(log->getData()).contains(log->getEnd()));
        log->setMaxNumLines(range == 0 ? 0 : 5);
        log->setMaxTimeRange(range);
        for (int time = 0; time < 2; ++time) {
            LogMessage message(time, "line");
            log->addLine(&message);
        }
        end = log->getEnd();
        if (end > kMaxCount) end = 0; // cannot result from counting, so it may be reset
    }
}

/// A table whose rows can be created from outside.
struct Rows : Table {
    using Table::createEntry, Table::createTable, Table::deleteEntry, Table::findEntry, Table::Table;
};

void checkTable(const Item& root) {
    const auto rows = makeObject<Rows>(root);
    rows->createTable();
    Item first, second, found;
    String error;
    require(rows->createEntry(first, error) && rows->createEntry(second, error) && first != second);
    GUID id;
    require(first.trail().getIterator().asGUID(id) && rows->findEntry(id, found, error) && found == first);
    require(rows->deleteEntry(first, error) && !rows->deleteEntry(first, error) && second.exists());
}

/// Prevents all file operations.
class NoFiles : public seams::Faults {
public:
    NoFiles() { seams::setFaults(this); }
    ~NoFiles() override { seams::setFaults(nullptr); }

    platform::FileError before(platform::Operation, size_t&) override {
        return std::make_error_code(std::errc::operation_not_permitted);
    }
};

int countKeys(Store& store) {
    int count = 0;
    Item key;
    for (bool more = store.first(key); more; more = store.next(key, key)) ++count;
    return count;
}

/// Returns true if every key of the store equals only itself.
bool hasPlainKeys(Store& store) {
    Item key;
    for (bool more = store.first(key); more; more = store.next(key, key)) {
        for (Item::Iterator it(key); it.hasNextElement(); it.skip())
            if (it.getType() == ValueType::Wildcard || it.getType() == ValueType::Float) return false;
    }
    return true;
}

// Only valid entries are left, and only absolute paths are valid. A round may end at a key that was set
// without its parent, when it has removed that key.
void checkDeletions(const Item& root) {
    const NoFiles none;
    const bool plain = hasPlainKeys(*root.getStore());
    const int rounds = plain ? countKeys(*root.getStore()) + 5 : 5;
    const auto list = makeObject<DeleteLater>();
    list->setDBPath(root);
    for (int round = 0; round < rounds; ++round) {
        list->maintainDeletes();
        int problematic = 0;
        Map<String, int> report;
        list->getReport(report);
        for (const auto& [origin, count] : report) problematic += count;
        require(problematic == list->getProblematicCount());
    }
    Item entry;
    for (bool more = plain && root.child(entry); more; more = entry.next()) {
        String path, origin;
        int64 tries;
        require(entry.trail().getIterator().asString(path) && path.starts_with('/'));
        require(path.find_first_not_of("/.") != String::npos);
        auto fields = entry.fetch()->getIterator();
        require(fields.asString(origin) && fields.asInteger(tries));
    }
}

/// A kind of record: the names below its root, and the invariants when it is opened there.
struct RecordKind {
    std::span<const char* const> names;
    void (*check)(const Item& root);
};

constexpr const char* kOptionNames[] = {"plain", "client_options:one", "group_options:two", ""};
constexpr const char* kDomainNames[] = {"base.guid",    "base.num",    "domainBits",
                                        "personalBits", "domainIndex", "personalIndex"};
constexpr const char* kLogNames[] = {"pos", "firstPos", "data"};
constexpr const char* kTableNames[] = {"field"};
constexpr const char* kPaths[] = {"/dev/null", "/dev/null/", "/", "//..", "/tmp/../", "tmp", "", "/nowhere"};

constexpr RecordKind kKinds[] = {
    {kOptionNames, &checkOptions}, {kDomainNames, &checkDomain}, {kLogNames, &checkLog},
    {kTableNames, &checkTable},    {kPaths, &checkDeletions},
};

/// Reads bytes from the front of an input; after its end it returns zeros.
class Input {
public:
    explicit Input(ConstByteSpan bytes) : m_bytes(bytes) {}

    bool empty() const { return m_bytes.empty(); }
    unsigned take() {
        if (m_bytes.empty()) return 0;
        const unsigned byte = m_bytes[0];
        m_bytes = {m_bytes.data + 1, m_bytes.size - 1};
        return byte;
    }
    /// Reads the size from the next byte, and returns that number of bytes as an Item.
    Item takeItem() {
        const size_t size = std::min<size_t>(take(), m_bytes.size);
        const Item item(Item::PlainMode, m_bytes.data, size);
        m_bytes = {m_bytes.data + size, m_bytes.size - size};
        return item;
    }

private:
    ConstByteSpan m_bytes;
};

/// Bits of the first byte of an entry; the low six select a name.
constexpr unsigned kHasName = 0x40, kHasPath = 0x80;

void fill(Store& store, const Item& root, const RecordKind& kind, Input& input) {
    while (!input.empty()) {
        const unsigned form = input.take();
        Item key(root);
        if ((form & kHasName) != 0) key.add(kind.names[(form & 0x3F) % kind.names.size()]);
        if ((form & kHasPath) != 0) key.concatItem(input.takeItem());
        store.set(key, input.takeItem());
    }
}

void startSystem() {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    System::initialize({});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    if (!internal::g_system) startSystem();
    Input input({data, size});
    const RecordKind& kind = kKinds[input.take() % std::size(kKinds)];
    const auto store = makeObject<MemoryStore>();
    Item root(store.get());
    root.add("root");
    root.store(Item());
    fill(*store, root, kind, input);
    kind.check(root);
    return 0;
}
