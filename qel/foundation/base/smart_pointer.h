// SmartPointer: a counted reference to an Object.
#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace qel {

/// Holds one reference to a @p T derived from Object; null is allowed. It costs one pointer. The release that
/// brings the count to 0 deletes the object. @p T may be incomplete where the pointer is only declared.
template <typename T>
class SmartPointer {
public:
    /// Creates a null pointer.
    SmartPointer() noexcept = default;
    /// Creates a null pointer.
    SmartPointer(std::nullptr_t) noexcept {}
    /// Takes a reference to @p object, which may be null.
    SmartPointer(T* object) : m_object(object) { acquire(); }
    /// Adds a reference.
    SmartPointer(const SmartPointer& other) : SmartPointer(other.m_object) {}
    /// Takes over the reference; @p other becomes null.
    SmartPointer(SmartPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    /// Adds a reference, as a pointer to a base.
    template <typename U>
    requires std::is_convertible_v<U*, T*> SmartPointer(const SmartPointer<U>& other)
        : SmartPointer(static_cast<T*>(other.get())) {}
    /// Takes over the reference, as a pointer to a base.
    template <typename U>
    requires std::is_convertible_v<U*, T*> SmartPointer(SmartPointer<U>&& other)
    noexcept : m_object(other.release()) {}
    /// Releases the reference.
    ~SmartPointer() {
        if (m_object) m_object->decreaseReferenceCount();
    }

    /// Refers to the same object as @p other; the old object is released last.
    SmartPointer& operator=(SmartPointer other) noexcept {
        swap(other);
        return *this;
    }

    /// Returns the object, or null.
    T* get() const noexcept { return m_object; }
    /// Accesses the object; must not be null.
    T* operator->() const noexcept { return m_object; }
    /// Accesses the object; must not be null.
    T& operator*() const noexcept { return *m_object; }
    /// Returns whether this is not null.
    explicit operator bool() const noexcept { return m_object != nullptr; }

    /// Releases the reference and becomes null.
    void reset() noexcept { SmartPointer().swap(*this); }
    /// Changes the target to @p object.
    void reset(T* object) { SmartPointer(object).swap(*this); }
    /// Exchanges the two references.
    void swap(SmartPointer& other) noexcept { std::swap(m_object, other.m_object); }
    /// Hands the reference to the caller, who has to release it. @return the object.
    [[nodiscard]] T* release() noexcept { return std::exchange(m_object, nullptr); }

    /// Returns whether both refer to the same object.
    template <typename U>
    bool operator==(const SmartPointer<U>& other) const noexcept {
        return m_object == other.get();
    }
    /// Returns whether this refers to @p object.
    bool operator==(const T* object) const noexcept { return m_object == object; }
    /// Returns whether this is null.
    bool operator==(std::nullptr_t) const noexcept { return m_object == nullptr; }
    /// Orders by address, for ordered containers.
    bool operator<(const SmartPointer& other) const noexcept {
        return std::less<T*>()(m_object, other.m_object);
    }

private:
    void acquire() {
        if (m_object) m_object->increaseReferenceCount();
    }

    T* m_object = nullptr;
};

/// Creates a @p T and the first reference to it.
template <typename T, typename... Args>
SmartPointer<T> makeObject(Args&&... args) {
    return SmartPointer<T>(new T(std::forward<Args>(args)...));
}

} // namespace qel
