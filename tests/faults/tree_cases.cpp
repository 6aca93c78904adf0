#include <tests/faults/fault_case.h>

#include <qel/files/delete_later.h>
#include <qel/files/directory.h>
#include <qel/store/core/memory_store.h>

#include <algorithm>

namespace qel::test {

namespace {

void prepareTree(Folder folder) {
    for (const char* name : {"tree/a", "tree/sub/b", "tree/sub/deep/c"}) folder.write(name, name);
    folder.makeFolder("tree/empty");
}
void prepareTwoTrees(Folder folder) {
    prepareTree(folder);
    folder.write("copy/a", "old");
}
void prepareEmptyFolders(Folder folder) {
    folder.makeFolder("tree/a/b");
    folder.makeFolder("tree/c");
}
void prepareCaches(Folder folder) {
    for (const char* name : {"tree/cache1", "tree/cache2", "tree/other"}) folder.write(name, name);
}

Outcome listFolder(Folder folder) {
    Directory directory;
    if (!directory.open(folder.path("tree"), false)) return {};
    std::vector<std::string> names;
    Outcome outcome{true};
    for (File::FileInfo info; directory.read(info);) {
        names.push_back(info.name + (info.isDirectory ? "/ " : " "));
        if (info.isUnknown) outcome.worked = false;
    }
    if (directory.hasFailed()) outcome.worked = false;
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) outcome.value += name;
    return outcome;
}

Outcome findInTree(Folder folder) {
    String path;
    const bool found = Directory::findFile(folder.path("tree"), "c", path);
    return {found, found ? path : ""};
}

/// Deletes with a list for what can't be deleted at once.
template <bool (*Delete)(SmartCStr origin, SmartCStr path, bool silent)>
Outcome deleteWithList(Folder folder) {
    const SmartPointer<MemoryStore> store(new MemoryStore);
    const SmartPointer<DeleteLater> list(new DeleteLater);
    list->setDBPath(Item(store.get()).add("deletes"));
    Object::setSingleton("deleteLater", list.get());
    const Outcome outcome{Delete("[test]", folder.path("tree"), false)};
    Object::setSingleton("deleteLater", nullptr);
    return outcome;
}

} // namespace

std::vector<FaultCase> treeCases() {
    constexpr int kCounted = kMayStop | kLoggedOnly; // the result is the number of entries deleted
    return {
        {"Directory::createDirectory", prepareNothing, on(Directory::createDirectory, "new")},
        {"Directory::createDirectoryRecursively", prepareNothing,
         on(Directory::createDirectoryRecursively, "a/b/c"), kMayStop},
        {"Directory::read", prepareTree, listFolder, kSilent},
        {"Directory::isDirectoryEmpty", prepareEmptyFolders, on(Directory::isDirectoryEmpty, "tree/c"),
         kSilent},
        {"Directory::getSize", prepareTree,
         on([](SmartCStr path) { return Directory::getSize(path); }, "tree"), kLoggedOnly},
        {"Directory::getDirectoryHash", prepareTree, on(Directory::getDirectoryHash, "tree"), kLoggedOnly},
        {"Directory::findFile", prepareTree, findInTree},
        {"Directory::deleteDirectory", [](Folder folder) { folder.makeFolder("tree"); },
         on(Directory::deleteDirectory, "tree"), kSilent},
        {"Directory::deleteDirectoryRecursively", prepareTree,
         on(Directory::deleteDirectoryRecursively, "tree"), kMayStop},
        {"Directory::deleteDirectoryContentsRecursively", prepareTree,
         on(Directory::deleteDirectoryContentsRecursively, "tree"), kMayStop},
        {"Directory::deleteDirectoryContentsOlderThan", prepareTree,
         on([](SmartCStr path) { return Directory::deleteDirectoryContentsOlderThan(path, ~uint64{0}); },
            "tree"),
         kCounted},
        {"Directory::deleteEmptyDirectoriesInPathRecursively", prepareEmptyFolders,
         on(Directory::deleteEmptyDirectoriesInPathRecursively, "tree"), kMayStop},
        {"Directory::copyDirectoryContentsRecursively", prepareTwoTrees,
         on(Directory::copyDirectoryContentsRecursively, "tree", "copy")},
        {"Directory::takeOwnership", prepareTree, on(Directory::takeOwnership, "tree")},
        {"Directory::cleanCacheDirectory", prepareCaches,
         on([](SmartCStr path) { return Directory::cleanCacheDirectory(path, "cache", {"cache1"}); }, "tree"),
         kCounted},
        {"Directory::cleanPrepareDirectory", prepareCaches,
         on([](SmartCStr path) { return Directory::cleanPrepareDirectory(path, {"cache1"}); }, "tree"),
         kCounted},
        {"Directory::deletePrepareFilesWithPrefix", prepareCaches,
         on([](SmartCStr path) { return Directory::deletePrepareFilesWithPrefix(path, "cache"); }, "tree"),
         kCounted},
        {"File::deleteFileNowOrLater", [](Folder folder) { folder.write("tree", "a file"); },
         deleteWithList<File::deleteFileNowOrLater>},
        {"Directory::deleteDirectoryRecursivelyNowOrLater", prepareTree,
         deleteWithList<Directory::deleteDirectoryRecursivelyNowOrLater>, kMayStop},
        {"Directory::deleteDirectoryContentsRecursivelyNowOrLater", prepareTree,
         deleteWithList<Directory::deleteDirectoryContentsRecursivelyNowOrLater>, kMayStop},
    };
}

} // namespace qel::test
