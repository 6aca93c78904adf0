// GUIDDomainDB: the domain of this node and how far it has been used, kept in a store.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/store/core/item.h>
#include <qel/store/records/guid_domain.h>

namespace qel {

/// Hands out identifiers and sub-domains of this node's domain, and remembers in a store where it stopped.
///
/// From low to high an identifier holds the bits of the base, an index of the node (domainBits; 0 is this
/// node, 1 and up are the sub-domains that it hands out), an index that counts up (personalBits), and random
/// bits up to bit 255. A base and indices that take more than 192 bits leave fewer than 64 random ones.
/// @owner the store must outlive it.
/// @threads any thread after initializeDomain(); flush() belongs to the thread of the store.
class QEL_API GUIDDomainDB : public Object {
    QEL_CLASS(GUIDDomainDB, Object)

public:
    /// Reads the domain below @p root, if there is one.
    /// @errors an index outside its bits is logged and starts over.
    explicit GUIDDomainDB(const Item& root);

    /// Whether there is a domain.
    bool hasDomain() const;
    /// Makes @p base the domain, in the store too, with both indices at their beginning.
    /// @param domainBits    width of the index of sub-domains.
    /// @param personalBits  width of the index of identifiers.
    void initializeDomain(const GUIDDomain& base, uint32 domainBits, uint32 personalBits);

    /// The next sub-domain, for another node to use as its base. Behind the last one it starts over at 1.
    /// Flush before it is given away: what a crash makes forgotten is handed out again.
    /// @errors without a domain an error is logged and the result has the zero identifier.
    GUIDDomain generateDomain();
    /// The next identifier; without a domain a random one.
    GUID generateGUID();
    /// Writes the indices that have changed to the store. Identifiers do not repeat even when this is missed.
    void flush();

private:
    /// Calls @p visit(name, field) for all that stands in the store.
    template <typename Visit>
    void forEachField(const Visit& visit) QEL_REQUIRES(m_mutex);
    void loadDomainFromDatabase();
    void initializeInternals() QEL_REQUIRES(m_mutex);
    GUIDDomain takePersonalDomain();

    Item m_root;
    mutable Mutex m_mutex;
    uint32 m_domainBits QEL_GUARDED_BY(m_mutex) = 0;
    uint32 m_personalBits QEL_GUARDED_BY(m_mutex) = 0;
    bool m_hasDomain QEL_GUARDED_BY(m_mutex) = false;
    uint64 m_domainIndex QEL_GUARDED_BY(m_mutex) = 1;
    uint64 m_personalIndex QEL_GUARDED_BY(m_mutex) = 0;
    uint64 m_maxDomain QEL_GUARDED_BY(m_mutex) = 1;
    uint64 m_maxPersonal QEL_GUARDED_BY(m_mutex) = 1;
    GUIDDomain m_base QEL_GUARDED_BY(m_mutex);
    GUIDDomain m_personal QEL_GUARDED_BY(m_mutex);
    bool m_domainDirty QEL_GUARDED_BY(m_mutex) = false;
    bool m_personalDirty QEL_GUARDED_BY(m_mutex) = false;
};

} // namespace qel
