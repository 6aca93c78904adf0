// Keys that are compared byte by byte.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/types.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace qel::internal {

/// Remembers values. Two keys are equal if all bytes are, so that NaN equals itself.
class ByteKey {
public:
    /// Appends values without padding bytes.
    template <typename... Values>
    void add(const Values&... values) {
        (append(values), ...);
    }

    /// Appends the address of an object, which must exist as long as the key is compared.
    void addAddress(const void* object) { append(std::bit_cast<std::uintptr_t>(object)); }

    bool operator==(const ByteKey&) const = default;

private:
    template <typename Value>
    void append(const Value& value) {
        static_assert(std::is_trivially_copyable_v<Value> && !std::is_pointer_v<Value>);
        const size_t size = m_bytes.size();
        m_bytes.resize(size + sizeof(Value));
        std::memcpy(m_bytes.data() + size, &value, sizeof(Value));
    }

    Vector<uint8> m_bytes;
};

} // namespace qel::internal
