#include <qel/store/records/guid_domain.h>

#include <qel/system/core/system.h>

#include <array>
#include <bit>
#include <limits>

namespace qel {

namespace {

constexpr uint32 kIndexBits = 64;
constexpr uint32 kIndexTop = 8 * GUID::kSize - kIndexBits; ///< the last position where an index fits

} // namespace

GUID GUIDDomain::createGUID(uint64 index) const {
    auto words = std::bit_cast<std::array<uint64, 4>>(guid.bytes);
    const size_t word = num / 64;
    const uint32 shift = num % 64;
    if (word < words.size()) words[word] |= index << shift;
    if (word + 1 < words.size() && shift != 0) words[word + 1] |= index >> (64 - shift);
    GUID result;
    result.bytes = std::bit_cast<std::array<uint8, GUID::kSize>>(words);
    return result;
}

GUID GUIDDomain::createRandomGUID() const {
    System& system = *Object::system();
    GUIDDomain domain = *this;
    while (domain.num < kIndexTop) domain = domain.selectSubDomain(kIndexBits, system.randomULong());
    return domain.createGUID(system.randomULong());
}

GUIDDomain GUIDDomain::selectSubDomain(uint32 bits, uint64 index) const {
    const uint32 room = std::numeric_limits<uint32>::max() - num;
    return {createGUID(index), bits < room ? num + bits : num + room}; // a sum that wraps would free bits
}

} // namespace qel
