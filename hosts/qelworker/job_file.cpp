#include "job_file.h"

#include <qel/foundation/base/write_whole.h>
#include <qel/platform/random_device.h>
#include <qel/platform/shared_folder.h>
#include <qel/platform/system_error.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace qelworker {

namespace {

using namespace qel::platform;
using qeljobs::FileUse;

constexpr std::size_t kPieceBytes = 256 * 1024;
constexpr std::uint32_t kPermissions = 0777; // without set-user-id and set-group-id
constexpr std::uint32_t kSticky = 01000;

qel::String failed(const char* action, const std::string& path, const FileError& error) {
    return qel::String("cannot ") + action + " '" + path + "': " + errorText(error.value());
}

qel::String notPermitted(const std::string& path) {
    return qel::String("not permitted: '") + path + "'";
}

bool isMissing(const FileError& error) {
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

bool isBelow(std::string_view path, std::string_view folder) {
    while (folder.ends_with('/')) folder.remove_suffix(1);
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

/// Returns the longest granted folder that contains @p path; empty if no folder does.
std::string grantedFolderOf(const std::string& path, const qeljobs::FileAccess& access) {
    std::string longest;
    for (const qel::String& folder : access.folders) {
        if (folder.size() > longest.size() && isBelow(path, folder)) longest = folder;
    }
    return longest;
}

/// Removes the first name and the separators around it from @p path and returns the name.
std::string takeName(std::string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    const std::string name(path.substr(0, path.find('/')));
    path.remove_prefix(name.size());
    path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    return name;
}

bool isPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != "..";
}

/// Returns an unpredictable name; empty if no random numbers are available.
std::string unfinishedName() {
    std::array<std::byte, 16> random;
    if (!fillRandom(random)) return {};
    std::string name = ".unfinished-";
    for (const std::byte byte : random) {
        name += "0123456789abcdef"[std::to_integer<unsigned>(byte) >> 4];
        name += "0123456789abcdef"[std::to_integer<unsigned>(byte) & 15];
    }
    return name;
}

} // namespace

qel::String JobFile::open(const qel::String& path, const qeljobs::FileAccess& access) {
    m_access = &access;
    m_path = path;
    if (access.isOwnUser()) {
        const std::size_t slash = m_path.rfind('/');
        if (slash == m_path.npos) return qel::String("not an absolute path: '") + m_path + "'";
        if (qel::String error = openFolder(m_path.substr(0, slash + 1)); !error.empty()) return error;
        return openIn(m_path.substr(slash + 1));
    }
    const std::string granted = grantedFolderOf(m_path, access);
    if (granted.empty()) return notPermitted(m_path);
    if (qel::String error = openFolder(granted); !error.empty()) return error;
    std::string_view rest = std::string_view(m_path).substr(granted.size());
    for (;;) {
        const std::string name = takeName(rest);
        if (!isPlainName(name) || !allowsUse(m_folder, FileUse::Search)) return notPermitted(m_path);
        if (rest.empty()) return openIn(name);
        if (qel::String error = enter(name); !error.empty()) return error;
    }
}

/// Follows links in the path of the folder: only granted folders and those of the server's own user come
/// here.
qel::String JobFile::openFolder(const std::string& folderPath) {
    const FileError error = openBaseFolder(m_folder, folderPath.c_str());
    if (isMissing(error)) return qel::String("no such file '") + m_path + "'";
    return error ? failed("read", m_path, error) : qel::String();
}

qel::String JobFile::enter(const std::string& folderName) {
    FileStatus status;
    FileHandle next;
    FileError error = readStatus(status, folderName.c_str(), Links::Keep, m_folder);
    if (!error && status.kind == FileKind::SymLink) return notPermitted(m_path);
    if (!error) error = openBaseFolder(next, folderName.c_str(), Links::Keep, m_folder);
    if (error == std::errc::too_many_symbolic_link_levels) return notPermitted(m_path);
    if (isMissing(error)) return qel::String("no such file '") + m_path + "'";
    if (error) return failed("read", m_path, error);
    m_folder = std::move(next);
    return {};
}

qel::String JobFile::openIn(const std::string& name) {
    m_name = name;
    const Links links = m_access->isOwnUser() ? Links::Follow : Links::Keep;
    FileStatus status;
    FileError error = readStatus(status, name.c_str(), links, m_folder);
    if (!error && status.kind == FileKind::SymLink) return notPermitted(m_path);
    const bool isFile = !error && status.kind == FileKind::File; // opening a device may have effects
    if (isFile) error = openFile(m_file, name.c_str(), OpenMode::Read, links, m_folder);
    if (error == std::errc::too_many_symbolic_link_levels) return notPermitted(m_path);
    if ((!error && !isFile) || isMissing(error)) return qel::String("no such file '") + m_path + "'";
    if (!error) error = readStatus(status, m_file);
    if (error) return failed("read", m_path, error);
    if (status.kind != FileKind::File) return qel::String("no such file '") + m_path + "'";
    if (!allowsUse(m_file, FileUse::Read)) return notPermitted(m_path);
    m_size = status.size;
    return {};
}

bool JobFile::allowsUse(const FileHandle& file, FileUse use) const {
    if (m_access->isOwnUser()) return true; // the system has checked it
    FileOwnership ownership;
    return !readOwnership(ownership, file) && m_access->allows(ownership, use);
}

bool JobFile::readPiece(qel::Buffer& piece) {
    piece.resize(kPieceBytes);
    std::size_t count = 0;
    const bool isRead = !m_file.read(piece.getBytePointer(), kPieceBytes, count);
    piece.resize(isRead ? count : 0);
    return isRead;
}

qel::String JobFile::createBeside(const char* extension, const qel::Buffer& content) {
    const std::string output = m_path + extension;
    if (!allowsUse(m_folder, FileUse::Write)) return notPermitted(output);
    if (holds(m_name + extension, content)) return {}; // an earlier attempt at the job created it
    const std::string unfinished = unfinishedName();
    if (unfinished.empty()) return qel::String("cannot write '") + output + "': no random numbers";
    if (const FileError error = writeUnfinished(unfinished, content)) {
        if (error != std::errc::file_exists) removeFile(unfinished.c_str(), m_folder);
        return failed("write", output, error);
    }
    qel::String problem = publish(unfinished, extension);
    if (!problem.empty()) removeFile(unfinished.c_str(), m_folder);
    return problem;
}

/// Writes the output under a name that nobody can foresee. Where the file system allows it, the file has no
/// name until it is complete, so that a killed worker leaves nothing.
FileError JobFile::writeUnfinished(const std::string& name, const qel::Buffer& content) const {
    FileHandle file;
    const bool isUnnamed = !createUnnamedFile(file, m_folder);
    FileError error;
    if (!isUnnamed) error = createPrivateFile(file, name.c_str(), m_folder);
    if (!error) error = qel::writeWhole(file, content.getConstByteSpan().asText());
    if (!error) error = copyPermissions(file);
    if (!error) error = file.sync();
    if (!error && isUnnamed) error = nameFile(file, name.c_str(), m_folder);
    const FileError closed = file.close();
    return error ? error : closed;
}

/// Grants nobody more than they have at the source: if the group of the source can't be kept, the group and
/// all others get the permissions that both have at the source.
FileError JobFile::copyPermissions(const FileHandle& output) const {
    FileOwnership source;
    if (const FileError error = readOwnership(source, m_file)) return error;
    std::uint32_t mode = source.mode & kPermissions;
    if (source.hasAccessList) mode &= 0700; // its group bits only bound what the list grants
    const bool keepsGroup =
        !setOwnership(output, source.user, source.group) || !setGroup(output, source.group);
    if (!keepsGroup) {
        const std::uint32_t both = mode & mode >> 3 & 07;
        mode = (mode & 0700) | both << 3 | both;
    }
    return setMode(output, mode);
}

qel::String JobFile::publish(const std::string& unfinished, const char* extension) {
    const std::string name = m_name + extension;
    const std::string output = m_path + extension;
    FileError error = renameToFreeName(unfinished.c_str(), name.c_str(), m_folder);
    if (error == std::errc::file_exists && m_access->overwrite) {
        if (!mayReplace(name)) return notPermitted(output);
        error = rename(unfinished.c_str(), name.c_str(), m_folder, m_folder);
    }
    if (error) return failed("write", output, error);
    syncFolder(m_folder); // some file systems can't; the system writes the folder later then
    return {};
}

/// Returns true if the user may read the existing file @p name and it has exactly this content.
bool JobFile::holds(const std::string& name, const qel::Buffer& content) const {
    JobFile existing;
    existing.m_access = m_access;
    FileStatus status;
    if (readStatus(status, name.c_str(), Links::Keep, m_folder) || status.kind != FileKind::File ||
        status.size != content.getSize() ||
        openFile(existing.m_file, name.c_str(), OpenMode::Read, Links::Keep, m_folder) ||
        readStatus(status, existing.m_file) || status.kind != FileKind::File ||
        !allowsUse(existing.m_file, FileUse::Read)) {
        return false;
    }
    std::size_t compared = 0;
    qel::Buffer piece;
    while (existing.readPiece(piece) && !piece.empty()) {
        if (piece.getSize() > content.getSize() - compared ||
            std::memcmp(piece.getBytePointer(), content.getBytePointer() + compared, piece.getSize()) != 0) {
            return false;
        }
        compared += piece.getSize();
    }
    return compared == content.getSize();
}

/// A user who may write to a folder may replace files in it, but in a sticky folder only its owner may.
bool JobFile::mayReplace(const std::string& name) const {
    FileStatus status;
    if (readStatus(status, name.c_str(), Links::Keep, m_folder) || status.kind != FileKind::File)
        return false;
    FileOwnership folder;
    if (m_access->isOwnUser()) return true;
    return !readOwnership(folder, m_folder) &&
           ((folder.mode & kSticky) == 0 || folder.user == m_access->user.user);
}

} // namespace qelworker
