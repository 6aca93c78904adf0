#include <tests/faults/fault_case.h>

#include <qel/files/delete_later.h>
#include <qel/files/directory.h>
#include <qel/store/core/memory_store.h>

#include <algorithm>
#include <limits>

namespace qel::test {

namespace {

using Folder = const ScratchFolder&;

void prepareNothing(Folder) {}
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

/// Deletes as @p start asks, with a list for what can't be deleted at once.
Outcome deleteWithList(Folder folder, bool (*start)(SmartCStr origin, SmartCStr path, bool silent)) {
    const SmartPointer<MemoryStore> store(new MemoryStore);
    const SmartPointer<DeleteLater> list(new DeleteLater);
    list->setDBPath(Item(store.get()).add("deletes"));
    Object::setSingleton("deleteLater", list.get());
    const Outcome outcome{start("[test]", folder.path("tree"), false)};
    Object::setSingleton("deleteLater", nullptr);
    return outcome;
}

} // namespace

std::vector<FaultCase> treeCases() {
    return {
        {"Directory::createDirectory", prepareNothing,
         [](Folder folder) { return Outcome{Directory::createDirectory(folder.path("new"))}; }},
        {"Directory::createDirectoryRecursively", prepareNothing,
         [](Folder folder) { return Outcome{Directory::createDirectoryRecursively(folder.path("a/b/c"))}; },
         kMayStop},
        {"Directory::read", prepareTree, listFolder, kSilent},
        {"Directory::isDirectoryEmpty", prepareEmptyFolders,
         [](Folder folder) { return Outcome{Directory::isDirectoryEmpty(folder.path("tree/c"))}; }, kSilent},
        {"Directory::getSize", prepareTree,
         [](Folder folder) {
             return Outcome{true, std::to_string(Directory::getSize(folder.path("tree")))};
         },
         kLoggedOnly},
        {"Directory::getDirectoryHash", prepareTree,
         [](Folder folder) {
             return Outcome{true, std::to_string(Directory::getDirectoryHash(folder.path("tree")))};
         },
         kLoggedOnly},
        {"Directory::findFile", prepareTree,
         [](Folder folder) {
             String result;
             const bool found = Directory::findFile(folder.path("tree"), "c", result);
             return Outcome{found, found ? result : ""};
         }},
        {"Directory::deleteDirectory", [](Folder folder) { folder.makeFolder("tree"); },
         [](Folder folder) { return Outcome{Directory::deleteDirectory(folder.path("tree"))}; }, kSilent},
        {"Directory::deleteDirectoryRecursively", prepareTree,
         [](Folder folder) { return Outcome{Directory::deleteDirectoryRecursively(folder.path("tree"))}; },
         kMayStop},
        {"Directory::deleteDirectoryContentsRecursively", prepareTree,
         [](Folder folder) {
             return Outcome{Directory::deleteDirectoryContentsRecursively(folder.path("tree"))};
         },
         kMayStop},
        {"Directory::deleteDirectoryContentsOlderThan", prepareTree,
         [](Folder folder) {
             const int count = Directory::deleteDirectoryContentsOlderThan(
                 folder.path("tree"), std::numeric_limits<uint64>::max());
             return Outcome{true, std::to_string(count)};
         },
         kMayStop | kLoggedOnly},
        {"Directory::deleteEmptyDirectoriesInPathRecursively", prepareEmptyFolders,
         [](Folder folder) {
             return Outcome{Directory::deleteEmptyDirectoriesInPathRecursively(folder.path("tree"))};
         },
         kMayStop},
        {"Directory::copyDirectoryContentsRecursively", prepareTwoTrees,
         [](Folder folder) {
             return Outcome{
                 Directory::copyDirectoryContentsRecursively(folder.path("tree"), folder.path("copy"))};
         }},
        {"Directory::takeOwnership", prepareTree,
         [](Folder folder) { return Outcome{Directory::takeOwnership(folder.path("tree"))}; }},
        {"Directory::cleanCacheDirectory", prepareCaches,
         [](Folder folder) {
             const int count = Directory::cleanCacheDirectory(folder.path("tree"), "cache", {"cache1"});
             return Outcome{true, std::to_string(count)};
         },
         kMayStop | kLoggedOnly},
        {"Directory::cleanPrepareDirectory", prepareCaches,
         [](Folder folder) {
             const int count = Directory::cleanPrepareDirectory(folder.path("tree"), {"cache1"});
             return Outcome{true, std::to_string(count)};
         },
         kMayStop | kLoggedOnly},
        {"Directory::deletePrepareFilesWithPrefix", prepareCaches,
         [](Folder folder) {
             const int count = Directory::deletePrepareFilesWithPrefix(folder.path("tree"), "cache");
             return Outcome{true, std::to_string(count)};
         },
         kMayStop | kLoggedOnly},
        {"File::deleteFileNowOrLater", [](Folder folder) { folder.write("tree", "a file"); },
         [](Folder folder) { return deleteWithList(folder, &File::deleteFileNowOrLater); }},
        {"Directory::deleteDirectoryRecursivelyNowOrLater", prepareTree,
         [](Folder folder) {
             return deleteWithList(folder, &Directory::deleteDirectoryRecursivelyNowOrLater);
         },
         kMayStop},
        {"Directory::deleteDirectoryContentsRecursivelyNowOrLater", prepareTree,
         [](Folder folder) {
             return deleteWithList(folder, &Directory::deleteDirectoryContentsRecursivelyNowOrLater);
         },
         kMayStop},
    };
}

} // namespace qel::test
