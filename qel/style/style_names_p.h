// Numbers for the names of a stylesheet.
#pragma once

#include <qel/foundation/base/types.h>

#include <string_view>
#include <vector>

namespace qel::internal {

/// Numbers names from 1 on. The hash depends on a random number of the process, so that no stylesheet can
/// choose names that collide.
class StyleNames {
public:
    /// Creates an empty list.
    StyleNames();

    /// The number that no name has.
    static constexpr uint32 kNone = 0;
    /// Returned for a name that was not added.
    static constexpr uint32 kUnknown = 0xFFFFFFFF;

    /// Adds @p name, which must outlive the object, unless it is known. @return its number.
    uint32 add(std::string_view name);
    /// Returns the number of @p name; kUnknown if it was not added.
    uint32 find(std::string_view name) const;
    /// Returns the number of names.
    uint32 size() const { return static_cast<uint32>(m_names.size()); }

private:
    struct Slot {
        uint32 hash = 0;
        uint32 number = kNone;
    };

    uint32 hashOf(std::string_view name) const;
    size_t slotOf(std::string_view name, uint32 hash) const;
    void grow();

    std::vector<Slot> m_slots = std::vector<Slot>(16); // a power of two, at least half of them free
    std::vector<std::string_view> m_names;
    uint64 m_seed;
};

} // namespace qel::internal
