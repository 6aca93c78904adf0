#include <qel/script/core_imports.h>

#include <qel/files/directory.h>
#include <qel/imaging/pixels/qr_code_generator.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vector_classes.h>
#include <qel/store/core/guid.h>
#include <qel/system/core/system.h>

namespace qelSq {

namespace {

constexpr const char* kTable = "qel";

// The instance of the singleton holds no reference, because the System must be free to end.
SQInteger getSystem(SQVM* vm) {
    if (qel::System* system = qel::Object::system()) {
        NativeClass<qel::System>::pushUnowned(vm, system);
    } else {
        sq_pushnull(vm);
    }
    return 1;
}

void importSystem(VM* vm, const char* tableName) {
    Object table = vm->getRootTable().get(tableName);
    table.asTable().squirrelFunction("System", &getSystem);
}

template <typename T>
void registerVectors(VM* vm) {
    vm->setImportCallback("qel.IVec2", &importClass<qel::IVec2<T>>, kTable);
    vm->setImportCallback("qel.IVec3", &importClass<qel::IVec3<T>>, kTable);
    vm->setImportCallback("qel.IVec4", &importClass<qel::IVec4<T>>, kTable);
}

template <typename... T>
void registerAllVectors(VM* vm) {
    (registerVectors<T>(vm), ...);
}

} // namespace

void CoreImports(VM* vm) {
    vm->setImportCallback("qel.System", &importSystem, kTable);
    // The element types share their names, so scripts get the last one.
    registerAllVectors<qel::int8, qel::int16, qel::int32, qel::int64, float, double, qel::uint8, qel::uint16,
                       qel::uint32, qel::uint64>(vm);
    vm->setImportCallback("qel.GregorianDate", &importGregorianDate, kTable);
    vm->setImportCallback("qel.Rect", &importClass<qel::Rect>, kTable);
    vm->setImportCallback("qel.Directory", &importClass<qel::Directory>, kTable);
    vm->setImportCallback("qel.File", &importClass<qel::File>, kTable);
    vm->setImportCallback("qel.GUID", &importClass<qel::GUID>, kTable);
    vm->setImportCallback("qel.HumanFriendlyKey", &importHumanFriendlyKey, kTable);
    vm->setImportCallback("qel.Image", &importClass<qel::Image>, kTable);
    vm->setImportCallback("qel.QRCodeGenerator", &importClass<qel::QRCodeGenerator>, kTable);
}

} // namespace qelSq
