// GUIDDomain: a range of identifiers that one issuer hands out without asking others.
#pragma once

#include <qel/foundation/base/class_name.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/store/core/guid.h>

namespace qel {

/// A base identifier and how many of its low bits are fixed. Identifiers and sub-domains put an index above
/// the fixed bits: domains with different fixed bits never make the same identifier.
/// @threads a value: one thread at a time.
class QEL_API GUIDDomain {
    QEL_VALUE_CLASS(GUIDDomain)

public:
    /// All identifiers: nothing is fixed.
    GUIDDomain() = default;
    /// The identifiers whose low @p bits bits are those of @p base.
    GUIDDomain(const GUID& base, uint32 bits) : guid(base), num(bits) {}

    /// The base with @p index ored in above the fixed bits. Bits above bit 255 are lost; with 256 fixed bits
    /// or more the result is the base.
    GUID createGUID(uint64 index) const;
    /// An identifier of this domain: every bit above the fixed ones is random. @threads any; System must
    /// exist.
    GUID createRandomGUID() const;
    /// The part of this domain that @p index stands for.
    /// @param bits   width of the index; a wider @p index runs into the bits above.
    GUIDDomain selectSubDomain(uint32 bits, uint64 index) const;

    /// The base.
    GUID guid;
    /// Number of low bits of the base that are fixed.
    uint32 num = 0;
};

} // namespace qel
