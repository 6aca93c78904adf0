// The script classes of plain vectors and rectangles.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>
#include <qel/platform/api.h>
#include <qel/script/native_class.h>

namespace qelSq {

/// The script class "IVec2" of any element type; defined for the ten element types of vector_binding.cpp.
template <typename T>
struct ScriptClass<qel::IVec2<T>> {
    static constexpr bool kConstructible = true;  ///< all components zero
    static constexpr bool kCopyable = true;       ///< copies the components
    static const char* name() { return "IVec2"; } ///< the same for all element types
    QEL_API static void bind(Object* cls);        ///< binds x, y, r, g
};

/// The script class "IVec3" of any element type; defined for the ten element types of vector_binding.cpp.
template <typename T>
struct ScriptClass<qel::IVec3<T>> {
    static constexpr bool kConstructible = true;  ///< all components zero
    static constexpr bool kCopyable = true;       ///< copies the components
    static const char* name() { return "IVec3"; } ///< the same for all element types
    QEL_API static void bind(Object* cls);        ///< binds x, y, z, r, g, b
};

/// The script class "IVec4" of any element type; defined for the ten element types of vector_binding.cpp.
template <typename T>
struct ScriptClass<qel::IVec4<T>> {
    static constexpr bool kConstructible = true;  ///< all components zero
    static constexpr bool kCopyable = true;       ///< copies the components
    static const char* name() { return "IVec4"; } ///< the same for all element types
    QEL_API static void bind(Object* cls);        ///< binds x, y, z, w, r, g, b, a
};

/// The script class "Rect".
template <>
struct QEL_API ScriptClass<qel::Rect> {
    static constexpr bool kConstructible = true; ///< empty, all zero
    static constexpr bool kCopyable = true;      ///< copies the edges
    static const char* name() { return "Rect"; } ///< the class's name
    static void bind(Object* cls);               ///< binds the edges, leftTop, rightBottom
};

} // namespace qelSq
