#include <qel/script/vector_classes.h>

#include <qel/script/class_binder.h>

namespace qelSq {

namespace {

template <typename T>
void bindName(Object* cls) {
    ClassBinder<T>(cls).template staticFunction<&ScriptClass<T>::name>("getClassName");
}

// Binds the components that all vectors have, also under their names as colours.
template <typename Vector>
ClassBinder<Vector> bindTwo(Object* cls) {
    bindName<Vector>(cls);
    ClassBinder<Vector> binder(cls);
    binder.template property<&Vector::x>("x").template property<&Vector::y>("y");
    binder.template property<&Vector::x>("r").template property<&Vector::y>("g");
    return binder;
}

template <typename Vector>
ClassBinder<Vector> bindThree(Object* cls) {
    ClassBinder<Vector> binder = bindTwo<Vector>(cls);
    binder.template property<&Vector::z>("z").template property<&Vector::z>("b");
    return binder;
}

} // namespace

template <typename T>
void ScriptClass<qel::IVec2<T>>::bind(Object* cls) {
    bindTwo<qel::IVec2<T>>(cls);
}

template <typename T>
void ScriptClass<qel::IVec3<T>>::bind(Object* cls) {
    bindThree<qel::IVec3<T>>(cls);
}

template <typename T>
void ScriptClass<qel::IVec4<T>>::bind(Object* cls) {
    using Vector = qel::IVec4<T>;
    bindThree<Vector>(cls).template property<&Vector::w>("w").template property<&Vector::w>("a");
}

#define QEL_SCRIPT_VECTORS(T)                                                                                \
    template struct ScriptClass<qel::IVec2<T>>;                                                              \
    template struct ScriptClass<qel::IVec3<T>>;                                                              \
    template struct ScriptClass<qel::IVec4<T>>;

QEL_SCRIPT_VECTORS(qel::int8)
QEL_SCRIPT_VECTORS(qel::int16)
QEL_SCRIPT_VECTORS(qel::int32)
QEL_SCRIPT_VECTORS(qel::int64)
QEL_SCRIPT_VECTORS(qel::uint8)
QEL_SCRIPT_VECTORS(qel::uint16)
QEL_SCRIPT_VECTORS(qel::uint32)
QEL_SCRIPT_VECTORS(qel::uint64)
QEL_SCRIPT_VECTORS(float)
QEL_SCRIPT_VECTORS(double)

void ScriptClass<qel::Rect>::bind(Object* cls) {
    using qel::Rect;
    bindName<Rect>(cls);
    ClassBinder<Rect>(cls)
        .property<&Rect::x0>("x0")
        .property<&Rect::y0>("y0")
        .property<&Rect::x1>("x1")
        .property<&Rect::y1>("y1")
        .method<&Rect::leftTop>("leftTop")
        .method<&Rect::rightBottom>("rightBottom");
}

} // namespace qelSq
