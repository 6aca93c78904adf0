// GUIDDomain: a range of identifiers that one issuer assigns without asking others.
#pragma once

#include <qel/foundation/base/class_name.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/store/core/guid.h>

namespace qel {

/// A base identifier and the number of its low bits that are fixed. Identifiers and sub-domains have an index
/// above the fixed bits: domains with different fixed bits never create the same identifier.
/// @threads a value: one thread at a time.
class QEL_API GUIDDomain {
    QEL_VALUE_CLASS(GUIDDomain)

public:
    /// Creates the domain of all identifiers: no bit is fixed.
    GUIDDomain() = default;
    /// Creates the domain of the identifiers whose low @p bits bits are those of @p base.
    GUIDDomain(const GUID& base, uint32 bits) : guid(base), num(bits) {}

    /// Returns the base with @p index combined by OR above the fixed bits. Bits above bit 255 are lost; with
    /// 256 fixed bits or more the result is the base.
    GUID createGUID(uint64 index) const;
    /// Returns an identifier of this domain: every bit above the fixed ones is random.
    /// @threads any; System must exist.
    GUID createRandomGUID() const;
    /// Returns the part of this domain with the given @p index.
    /// @param bits   width of the index; a wider @p index overlaps the bits above.
    GUIDDomain selectSubDomain(uint32 bits, uint64 index) const;

    /// The base identifier.
    GUID guid;
    /// The number of low bits of the base that are fixed.
    uint32 num = 0;
};

} // namespace qel
