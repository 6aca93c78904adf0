#include <qel/files/directory.h>

#include <qel/script/class_binder.h>

namespace qel {

namespace {

bool openQuietly(Directory& directory, const char* path) {
    return directory.open(path);
}

} // namespace

void Directory::bindSqVM(qelSq::Object* cls) {
    using namespace qelSq;
    qel::Object::bindSqVM(cls);
    ClassBinder<Directory>(cls)
        .staticFunction<&Directory::getStaticClassName>("getClassName")
        .method<&Directory::readNextFile>("readNextFile")
        .native(
            "open",
            &callEither<1, &callMethod<Directory, &openQuietly>, &callMethod<Directory, &Directory::open>>,
            false)
        .staticFunction<&Directory::createDirectory>("createDirectory")
        .staticFunction<&Directory::deleteDirectory>("deleteDirectory")
        .staticFunction<&Directory::deleteDirectoryRecursively>("deleteDirectoryRecursively");
}

} // namespace qel
