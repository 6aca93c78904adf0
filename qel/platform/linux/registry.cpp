#include <qel/platform/registry.h>

#include <qel/platform/file_lock.h>
#include <qel/platform/known_folders.h>
#include <qel/platform/linux/file_system_p.h>
#include <qel/platform/seams_p.h>
#include <qel/platform/write_all.h>

#include <mutex>
#include <unistd.h>

namespace qel::platform {

namespace {

constexpr const char* kBelowDataFolder = "/qel/registry";

std::mutex g_folderMutex;

/// The folder that a test has set; empty for the folders of the machine and the user. The caller holds
/// g_folderMutex. Never destroyed, so that static objects may use the registry in their destructors.
std::string& testFolderLocked() {
    static auto* const folder = new std::string();
    return *folder;
}

std::string machineFolder() {
    return commonDataFolder() + kBelowDataFolder;
}

std::string chosenFolder() {
    std::lock_guard lock(g_folderMutex);
    return testFolderLocked();
}

/// Returns the folder to which this process writes; empty for a user without a home folder.
std::string ownFolder() {
    if (const std::string chosen = chosenFolder(); !chosen.empty()) return chosen;
    if (::geteuid() == 0) return machineFolder();
    const std::string data = userLocalDataFolder();
    return data.empty() ? data : data + kBelowDataFolder;
}

bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_' || c == ' ';
}

std::string asFileName(std::string_view name) {
    static constexpr const char* kDigits = "0123456789ABCDEF";
    if (name.empty()) return "%";
    std::string result;
    for (const char c : name) {
        if (isPlain(c)) {
            result += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            result += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return result;
}

/// Returns the folder of a key, with a slash before each part and none at the end.
std::string keyPath(std::string_view key) {
    std::string path;
    while (!key.empty()) {
        const std::string_view part = key.substr(0, key.find('\\'));
        if (!part.empty()) path += "/" + asFileName(part);
        key.remove_prefix(std::min(key.size(), part.size() + 1));
    }
    return path;
}

std::string valueFile(std::string_view name) {
    return asFileName(name) + ".value";
}

FileError syncFolder(const std::string& path) {
    FileHandle folder;
    if (const FileError error = openDirectory(folder, path.c_str())) return error;
    return folder.sync();
}

std::string folderAbove(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

/// Creates a folder and those above it; each new name is on disk when this returns.
FileError makeFolders(const std::string& path) {
    FileError error = makeDirectory(path.c_str());
    if (error == std::errc::no_such_file_or_directory) {
        if ((error = makeFolders(folderAbove(path)))) return error;
        error = makeDirectory(path.c_str());
    }
    if (error == std::errc::file_exists) return {};
    return error ? error : syncFolder(folderAbove(path));
}

FileError writeNewFile(const FileHandle& folder, const char* name, std::string_view bytes) {
    FileHandle file;
    if (const FileError error = openFile(file, name, OpenMode::CreateOrEmpty, Links::Keep, folder))
        return error;
    if (const FileError error = writeAll(file, bytes)) return error;
    if (const FileError error = file.sync()) return error;
    return file.close();
}

FileError readAll(std::string& bytes, const std::string& path) {
    FileHandle file;
    FileStatus status;
    if (const FileError error = openFile(file, path.c_str(), OpenMode::Read)) return error;
    if (const FileError error = readStatus(status, file)) return error;
    if (status.kind != FileKind::File) return std::make_error_code(std::errc::not_supported);
    std::string content(status.size, '\0');
    for (std::size_t position = 0; position < content.size();) {
        std::size_t done = 0;
        if (const FileError error = file.read(content.data() + position, content.size() - position, done))
            return error;
        if (done == 0) return {EIO, std::system_category()};
        position += done;
    }
    bytes = std::move(content);
    return {};
}

} // namespace

// The key's folder is locked, so the next writer can take over a temporary file that a killed writer left.
FileError writeRegistryValue(std::string_view key, std::string_view name, std::string_view bytes) {
    std::string path = ownFolder();
    if (path.empty()) return {ENOENT, std::system_category()};
    path += keyPath(key);
    FileHandle folder;
    if (const FileError error = makeFolders(path)) return error;
    if (const FileError error = openDirectory(folder, path.c_str())) return error;
    if (const FileError error = lockFile(folder)) return error;
    const std::string file = valueFile(name);
    const std::string newFile = asFileName(name) + ".new";
    FileError error = writeNewFile(folder, newFile.c_str(), bytes);
    if (!error) error = rename(newFile.c_str(), file.c_str(), folder, folder);
    if (error) {
        removeFile(newFile.c_str(), folder);
        return error;
    }
    return folder.sync();
}

FileError readRegistryValue(std::string& bytes, std::string_view key, std::string_view name) {
    const std::string path = keyPath(key) + "/" + valueFile(name);
    const std::string folder = ownFolder();
    FileError error(ENOENT, std::system_category());
    if (!folder.empty()) error = readAll(bytes, folder + path);
    if (error != std::errc::no_such_file_or_directory || !chosenFolder().empty()) return error;
    return readAll(bytes, machineFolder() + path);
}

void setRegistryFolder(std::string_view folder) {
    std::lock_guard lock(g_folderMutex);
    testFolderLocked() = folder;
}

} // namespace qel::platform
