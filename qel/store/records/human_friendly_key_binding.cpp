#include <qel/store/records/human_friendly_key.h>

#include <qel/script/class_binder.h>
#include <qel/script/core_imports.h>

namespace qel {

void HumanFriendlyKey::bindSqVM(qelSq::Object* cls) {
    Object::bindSqVM(cls);
    qelSq::ClassBinder<HumanFriendlyKey>(cls)
        .staticFunction<&HumanFriendlyKey::getStaticClassName>("getClassName")
        .staticFunction<&HumanFriendlyKey::encode20Bit>("encode20Bit")
        .staticFunction<&HumanFriendlyKey::decode20Bit>("decode20Bit");
}

} // namespace qel

namespace qelSq {

void importHumanFriendlyKey(VM* vm, const char* tableName) {
    importClass<qel::HumanFriendlyKey>(vm, tableName);
}

} // namespace qelSq
