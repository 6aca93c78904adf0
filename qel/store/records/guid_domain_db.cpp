#include <qel/store/records/guid_domain_db.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/scoped_transaction.h>

#include <algorithm>
#include <limits>

namespace qel {

namespace {

constexpr const char* kBaseGUID = "base.guid";
constexpr const char* kBaseNum = "base.num";
constexpr const char* kDomainBits = "domainBits";
constexpr const char* kPersonalBits = "personalBits";
constexpr const char* kDomainIndex = "domainIndex";
constexpr const char* kPersonalIndex = "personalIndex";

constexpr uint64 kFirstDomainIndex = 1; // 0 is the node itself
constexpr uint64 kFirstPersonalIndex = 0;

template <typename T>
void storeAt(const Item& root, const char* name, const T& value) {
    Item(root).add(name).store(Item(value));
}

// A missing value, or one of another type, leaves the field unchanged.
void readAt(const Item& root, const char* name, GUID& value) {
    if (const Item* stored = Item(root).add(name).fetch()) stored->getIterator().asGUID(value);
}
void readAt(const Item& root, const char* name, uint64& value) {
    if (const Item* stored = Item(root).add(name).fetch()) stored->getIterator().asInteger(value);
}
void readAt(const Item& root, const char* name, uint32& value) {
    uint64 wide = value;
    readAt(root, name, wide);
    value = static_cast<uint32>(std::min<uint64>(wide, std::numeric_limits<uint32>::max()));
}

/// Returns the number of values of an index with @p bits bits; the widest has one less than 2^64.
uint64 countOfIndices(uint32 bits) {
    return bits < 64 ? uint64{1} << bits : std::numeric_limits<uint64>::max();
}

/// Returns the index and increments it; after the last one it starts again.
uint64 takeIndex(uint64& index, uint64 count, uint64 first) {
    const uint64 taken = index;
    index = index < count - 1 ? index + 1 : first;
    return taken;
}

/// Checks a stored index: it must not overlap the bits above it, nor be the index of the node.
void checkIndex(const char* name, uint64& index, uint64 count, uint64 first) {
    if (index == first || (index > first && index < count)) return;
    logging::error() << "[STORE] " << name << " of the guid domain is out of range, starting over";
    index = first;
}

} // namespace

GUIDDomainDB::GUIDDomainDB(const Item& root) : m_root(root) {
    if (m_root.exists()) loadDomainFromDatabase();
}

template <typename Visit>
void GUIDDomainDB::forEachField(const Visit& visit) {
    visit(kBaseGUID, m_base.guid);
    visit(kBaseNum, m_base.num);
    visit(kDomainBits, m_domainBits);
    visit(kPersonalBits, m_personalBits);
    visit(kDomainIndex, m_domainIndex);
    visit(kPersonalIndex, m_personalIndex);
}

bool GUIDDomainDB::hasDomain() const {
    const MutexLock lock(m_mutex);
    return m_hasDomain;
}

void GUIDDomainDB::initializeDomain(const GUIDDomain& base, uint32 domainBits, uint32 personalBits) {
    const MutexLock lock(m_mutex);
    m_base = base;
    m_domainBits = domainBits;
    m_personalBits = personalBits;
    m_domainIndex = kFirstDomainIndex;
    m_personalIndex = kFirstPersonalIndex;
    ScopedTransaction transaction(m_root);
    forEachField([this](const char* name, const auto& value) { storeAt(m_root, name, value); });
    transaction.commit();
    initializeInternals();
}

void GUIDDomainDB::loadDomainFromDatabase() {
    const MutexLock lock(m_mutex);
    forEachField([this](const char* name, auto& value) { readAt(m_root, name, value); });
    initializeInternals();
}

void GUIDDomainDB::initializeInternals() {
    m_hasDomain = true;
    m_maxDomain = countOfIndices(m_domainBits);
    m_maxPersonal = countOfIndices(m_personalBits);
    checkIndex(kDomainIndex, m_domainIndex, m_maxDomain, kFirstDomainIndex);
    checkIndex(kPersonalIndex, m_personalIndex, m_maxPersonal, kFirstPersonalIndex);
    m_personal = m_base.selectSubDomain(m_domainBits, 0);
    m_domainDirty = m_personalDirty = false;
}

GUIDDomain GUIDDomainDB::generateDomain() {
    const MutexLock lock(m_mutex);
    if (!m_hasDomain) {
        logging::error() << "[STORE] there is no guid domain to take a domain from";
        return {};
    }
    m_domainDirty = true;
    return m_base.selectSubDomain(m_domainBits, takeIndex(m_domainIndex, m_maxDomain, kFirstDomainIndex));
}

GUID GUIDDomainDB::generateGUID() {
    return takePersonalDomain().createRandomGUID();
}

GUIDDomain GUIDDomainDB::takePersonalDomain() {
    const MutexLock lock(m_mutex);
    if (!m_hasDomain) return {};
    m_personalDirty = true;
    return m_personal.selectSubDomain(m_personalBits,
                                      takeIndex(m_personalIndex, m_maxPersonal, kFirstPersonalIndex));
}

void GUIDDomainDB::flush() {
    const MutexLock lock(m_mutex);
    if (std::exchange(m_personalDirty, false)) storeAt(m_root, kPersonalIndex, m_personalIndex);
    if (std::exchange(m_domainDirty, false)) storeAt(m_root, kDomainIndex, m_domainIndex);
}

} // namespace qel
