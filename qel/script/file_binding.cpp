#include <qel/files/file.h>

#include <qel/script/class_binder.h>
#include <qel/script/file_info_p.h>

namespace qel {

namespace {

bool deleteFileAndReport(const char* path) {
    return File::deleteFile(path);
}
bool compareFilesAndReport(const char* a, const char* b) {
    return File::compareFiles(a, b, false);
}

// Returns the information about a file as a table; null if it is not accessible.
qelSq::Object describeFile(const char* path) {
    File::FileInfo info;
    return File::getFileInfo(path, info) ? internal::fileInfoTable(info) : qelSq::Object();
}

} // namespace

qelSq::Object internal::fileInfoTable(const File::FileInfo& info) {
    qelSq::Object table = qelSq::Object::newTable();
    table.set("size", qelSq::Object::of(static_cast<SQInteger>(info.size)));
    table.set("creationTime", qelSq::Object::of(static_cast<SQInteger>(info.creationTime)));
    table.set("modificationTime", qelSq::Object::of(static_cast<SQInteger>(info.modificationTime)));
    table.set("isDirectory", qelSq::Object::of(info.isDirectory));
    table.set("isSymLink", qelSq::Object::of(info.isSymLink));
    table.set("isSpecial", qelSq::Object::of(info.isSpecial));
    table.set("isUnknown", qelSq::Object::of(info.isUnknown));
    return table;
}

void File::bindSqVM(qelSq::Object* cls) {
    using namespace qelSq;
    qel::Object::bindSqVM(cls);
    ClassBinder<File> binder(cls);
    binder.staticFunction<&File::getStaticClassName>("getClassName");
    binder.native("deleteFile",
                  &callEither<1, &callStatic<&deleteFileAndReport>, &callStatic<&File::deleteFile>>, true);
    binder.staticFunction<&File::existsFile>("existsFile")
        .staticFunction<&File::getFileSize>("getFileSize")
        .staticFunction<&File::getFileHash>("getFileHash")
        .staticFunction<&File::isAccessible>("isAccessible")
        .staticFunction<&File::copyFile>("copyFile")
        .staticFunction<&File::moveFile>("moveFile")
        .staticFunction<&File::truncateFile>("truncateFile")
        .staticFunction<&File::stripFilenameFromPath>("stripFilenameFromPath")
        .staticFunction<&File::getFilenameFromPath>("getFilenameFromPath")
        .staticFunction<&File::addExtensionToPath>("addExtensionToPath");
    binder.native("compareFiles",
                  &callEither<2, &callStatic<&compareFilesAndReport>, &callStatic<&File::compareFiles>>,
                  true);
    binder.staticFunction<&File::createSymLink>("createSymLink")
        .staticFunction<&File::deleteSymLink>("deleteSymLink")
        .staticFunction<&describeFile>("getFileInfo")
        .staticFunction<&File::getPathSeparatorForHost>("getPathSeparatorForHost");
}

} // namespace qel
