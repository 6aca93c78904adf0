// GUIDDomainDB: the domain of this node and how much of it has been used, kept in a store.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/store/core/item.h>
#include <qel/store/records/guid_domain.h>

namespace qel {

/// Assigns identifiers and sub-domains of this node's domain, and remembers its position in a store.
/// || From low to high an identifier contains the bits of the base, an index of the node (domainBits; 0 is
/// this node, 1 and up are the sub-domains that it assigns), an index that counts up (personalBits), and
/// random bits up to bit 255. A base and indices with more than 192 bits in total leave fewer than 64 random
/// ones.
/// @owner the store must outlive it.
/// @threads any thread after initializeDomain(); flush() only on the thread of the store.
class QEL_API GUIDDomainDB : public Object {
    QEL_CLASS(GUIDDomainDB, Object)

public:
    /// Reads the domain below @p root if there is one.
    /// @errors an index outside its range is logged and starts again.
    explicit GUIDDomainDB(const Item& root);

    /// Returns true if there is a domain.
    bool hasDomain() const;
    /// Sets the domain to @p base, in the store too, and both indices to their first values.
    /// @param domainBits    width of the index of sub-domains.
    /// @param personalBits  width of the index of identifiers.
    void initializeDomain(const GUIDDomain& base, uint32 domainBits, uint32 personalBits);

    /// Returns the next sub-domain, for another node to use as its base. After the last one it starts again
    /// at 1. Call flush() before passing it on: an unsaved index is assigned again after a crash.
    /// @errors without a domain an error is logged and the result has the zero identifier.
    GUIDDomain generateDomain();
    /// Returns the next identifier; a random one if there is no domain.
    GUID generateGUID();
    /// Writes the changed indices to the store. Identifiers do not repeat even if this is omitted.
    void flush();

private:
    /// Calls @p visit(name, field) for each field in the store.
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
