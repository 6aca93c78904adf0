// Class names and class chains without run-time type information.
#pragma once

#include <array>
#include <cstddef>

namespace qel {

/// Names of a class and its bases, root first; the entries after the class itself are null.
using ClassChain = std::array<const char*, 16>;

namespace internal {

/// Writes @p name at @p index of @p chain. @return the next free index; a full chain stays as it is.
inline int appendClassName(ClassChain& chain, int index, const char* name) {
    if (index < 0 || static_cast<std::size_t>(index) >= chain.size()) return index;
    chain[static_cast<std::size_t>(index)] = name;
    return index + 1;
}

} // namespace internal
} // namespace qel

/// Emits the class-name members of a class that derives from qel::Object, as the first line of the class
/// body: `getStaticClassName`, `getDynamicClassName`, `getStaticClassChain`, `getDynamicClassChain` and
/// `fillClassChain`. The name is the bare one, without namespace and enclosing class. Members that follow are
/// private until the next access label.
#define QEL_CLASS(Class, Base) QEL_CLASS_NAMED(#Class, Base)

/// As QEL_CLASS, for a class whose public name is the literal @p name.
#define QEL_CLASS_NAMED(name, Base)                                                                          \
public:                                                                                                      \
    /** Bare name of this class. */                                                                          \
    static const char* getStaticClassName() {                                                                \
        return name;                                                                                         \
    }                                                                                                        \
    /** Bare name of the object's own class. */                                                              \
    const char* getDynamicClassName() const override {                                                       \
        return name;                                                                                         \
    }                                                                                                        \
    /** Names from Object down to this class. */                                                             \
    static ::qel::ClassChain getStaticClassChain() {                                                         \
        ::qel::ClassChain chain{};                                                                           \
        fillClassChain(chain, 0);                                                                            \
        return chain;                                                                                        \
    }                                                                                                        \
    /** Names from Object down to the object's own class. */                                                 \
    ::qel::ClassChain getDynamicClassChain() const override {                                                \
        return getStaticClassChain();                                                                        \
    }                                                                                                        \
                                                                                                             \
protected:                                                                                                   \
    /** Writes the chain into @p chain from @p index on. @return the next free index. */                     \
    static int fillClassChain(::qel::ClassChain& chain, int index) {                                         \
        return ::qel::internal::appendClassName(chain, Base::fillClassChain(chain, index), name);            \
    }                                                                                                        \
                                                                                                             \
private:

/// Emits the name of a value class, as the first line of the class body. Members that follow are private
/// until the next access label.
#define QEL_VALUE_CLASS(Class)                                                                               \
public:                                                                                                      \
    /** Bare name of this class. */                                                                          \
    static const char* getStaticClassName() {                                                                \
        return #Class;                                                                                       \
    }                                                                                                        \
                                                                                                             \
private:
