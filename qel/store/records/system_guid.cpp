// The identifiers that System creates.
#include <qel/system/core/system.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/records/guid_domain_db.h>

#include <atomic>

namespace qel {
namespace {

/// True if the System has a database, so that an idle pass takes no lock. Written under its mutex.
std::atomic<bool> g_hasDatabase = false;

} // namespace

SmartPointer<GUIDDomainDB> System::getGUIDDomainInUse() const {
    const MutexLock lock(m_guidDomainMutex);
    const bool isUsed = m_guidDomainDB && !m_guidDomainsDisabled && m_guidDomainDB->hasDomain();
    return isUsed ? m_guidDomainDB : nullptr;
}

GUID System::generateGUID() {
    const SmartPointer<GUIDDomainDB> domain = getGUIDDomainInUse();
    return domain ? domain->generateGUID() : generateRandomGUID();
}

GUIDDomain System::generateGUIDDomain() {
    if (const SmartPointer<GUIDDomainDB> domain = getGUIDDomainInUse()) return domain->generateDomain();
    logging::error() << "[SYSTEM] there is no guid domain to take a domain from";
    return {};
}

GUID System::generateRandomGUID() {
    return GUIDDomain().createRandomGUID();
}

void System::setGUIDDomainDB(GUIDDomainDB* database) {
    SmartPointer<GUIDDomainDB> before(database); // destroyed without the mutex
    const MutexLock lock(m_guidDomainMutex);
    m_guidDomainDB.swap(before);
    g_hasDatabase.store(database != nullptr, std::memory_order_relaxed);
}

bool System::hasGUIDDomain() const {
    return getGUIDDomainInUse() != nullptr;
}

void System::disableGUIDDomains() {
    const MutexLock lock(m_guidDomainMutex);
    m_guidDomainsDisabled = true;
}

bool System::flushGUIDDomain() {
    if (!g_hasDatabase.load(std::memory_order_relaxed)) return false;
    SmartPointer<GUIDDomainDB> database;
    {
        const MutexLock lock(m_guidDomainMutex);
        database = m_guidDomainDB;
    }
    if (database) database->flush();
    return database != nullptr;
}

} // namespace qel
