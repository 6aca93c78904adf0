#include <qel/store/core/guid.h>

#include <qel/script/class_binder.h>
#include <qel/script/machine_entry_p.h>

namespace qel {
namespace {

bool equals(const GUID& guid, const GUID& other) {
    return guid == other;
}

} // namespace

void GUID::bindSqVM(qelSq::Object* cls) {
    qelSq::ClassBinder<GUID>(cls)
        .staticFunction<&GUID::getStaticClassName>("getClassName")
        .method<&GUID::isNull>("isnull")
        .method<&GUID::toString>("tostring")
        .method<&equals>("equals");
}

} // namespace qel

namespace qelSq {

qel::GUID Object::asGUID() const {
    SQVM* vm = Global::squirrelVM;
    if (!vm || !isGUID()) return {};
    internal::MachineEntry entry(vm);
    push(vm);
    const qel::GUID* guid = NativeClass<qel::GUID>::at(vm, -1);
    return guid ? *guid : qel::GUID();
}

} // namespace qelSq
