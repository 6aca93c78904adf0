#include <qel/files/directory.h>

#include <qel/script/class_binder.h>
#include <qel/script/file_info_p.h>

namespace qel {

namespace {

bool openQuietly(Directory& directory, const char* path) {
    return directory.open(path);
}

// Returns the next entry as a table; null at the end.
qelSq::Object readEntry(Directory& directory) {
    File::FileInfo info;
    if (!directory.read(info)) return {};
    qelSq::Object entry = internal::fileInfoTable(info);
    entry.set("name", qelSq::Object::of(info.name));
    return entry;
}

} // namespace

void Directory::bindSqVM(qelSq::Object* cls) {
    using namespace qelSq;
    qel::Object::bindSqVM(cls);
    ClassBinder<Directory>(cls)
        .staticFunction<&Directory::getStaticClassName>("getClassName")
        .method<&Directory::readNextFile>("readNextFile")
        .method<&readEntry>("read")
        .method<&Directory::hasFailed>("hasFailed")
        .native(
            "open",
            &callEither<1, &callMethod<Directory, &openQuietly>, &callMethod<Directory, &Directory::open>>,
            false)
        .staticFunction<&Directory::createDirectory>("createDirectory")
        .staticFunction<&Directory::deleteDirectory>("deleteDirectory")
        .staticFunction<&Directory::deleteDirectoryRecursively>("deleteDirectoryRecursively");
}

} // namespace qel
