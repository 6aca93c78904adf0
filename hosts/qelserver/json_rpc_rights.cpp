#include "json_rpc_rights.h"

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/platform/shared_folder.h>
#include <qel/platform/system_error.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace qelserver {

namespace {

using namespace qel::platform;

constexpr std::string_view kSpaces = " \t\r";
constexpr std::string_view kFolder = "folder:";
constexpr std::uint32_t kWritableByOthers = 022;
constexpr std::uint32_t kRoot = 0;
constexpr std::size_t kMostBytes = 1 << 20;

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kSpaces);
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(kSpaces) - begin + 1);
}

/// Removes the first word from @p text and returns it.
std::string_view takeWord(std::string_view& text) {
    text = trimmed(text);
    const std::string_view word = text.substr(0, text.find_first_of(kSpaces));
    text.remove_prefix(word.size());
    return word;
}

/// Removes everything up to and including the first @p end. @return the part before @p end.
std::string_view takeUpTo(std::string_view& text, char end) {
    const std::string_view part = text.substr(0, text.find(end));
    text.remove_prefix(std::min(text.size(), part.size() + 1));
    return part;
}

std::optional<std::uint32_t> parseNumber(std::string_view text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

bool covers(std::string_view granted, std::string_view right) {
    if (granted.ends_with('*')) return right.starts_with(granted.substr(0, granted.size() - 1));
    return granted == right;
}

/// Returns why the file can't be trusted; empty if it can.
std::string distrust(const FileHandle& file) {
    FileStatus status;
    FileOwnership ownership;
    if (readStatus(status, file) || readOwnership(ownership, file)) return "its owner can't be read";
    if (status.kind != FileKind::File) return "it is not a file";
    if (ownership.user != qel::platform::userId() && ownership.user != kRoot)
        return "it belongs to a user other than the server's";
    const bool isOpenToOthers = (ownership.mode & kWritableByOthers) != 0;
    return isOpenToOthers ? "it may be written by users other than its owner" : "";
}

/// Reads the whole file into @p text. @return why it can't be read; empty if it was.
std::string readText(FileHandle& file, std::string& text) {
    for (std::array<char, 4096> chunk;;) {
        std::size_t count = 0;
        if (const FileError error = file.read(chunk.data(), chunk.size(), count))
            return errorText(error.value());
        if (count == 0) return {};
        text.append(chunk.data(), count);
        if (text.size() > kMostBytes) return "it is larger than 1 MiB";
    }
}

} // namespace

std::optional<JsonRpcRights> JsonRpcRights::load(const std::string& path) {
    FileHandle file;
    std::string text;
    const FileError error = openFile(file, path.c_str(), OpenMode::Read);
    std::string problem = error ? errorText(error.value()) : distrust(file);
    if (problem.empty()) problem = readText(file, text);
    std::optional<JsonRpcRights> rights;
    if (problem.empty()) rights = parse(text, problem);
    if (!rights) {
        qel::logging::error() << "rights file '" << path << "': " << problem;
    } else if (rights->isEmpty()) {
        qel::logging::info() << "rights file '" << path << "' grants nothing";
    }
    return rights;
}

std::optional<JsonRpcRights> JsonRpcRights::parse(std::string_view text, std::string& problem) {
    JsonRpcRights rights;
    for (int number = 1; !text.empty(); ++number) {
        std::string_view line = takeUpTo(text, '\n');
        line = trimmed(line.substr(0, line.find('#')));
        if (line.empty() || rights.parseLine(line, problem)) continue;
        problem = "line " + std::to_string(number) + ": " + problem;
        return std::nullopt;
    }
    return rights;
}

bool JsonRpcRights::parseLine(std::string_view line, std::string& problem) {
    if (line.find(':') == line.npos) {
        problem = "there is no ':'";
        return false;
    }
    std::string_view whom = takeUpTo(line, ':');
    const std::string_view kind = takeWord(whom);
    const std::string name(trimmed(whom));
    Grant grant{Who::Everyone, 0, {}, {}};
    std::optional<std::uint32_t> id = 0;
    if (kind == "user" && !name.empty()) {
        grant.who = Who::User;
        id = parseNumber(name);
        if (!id) id = qel::platform::findUser(name);
    } else if (kind == "group" && !name.empty()) {
        grant.who = Who::Group;
        id = parseNumber(name);
        if (!id) id = qel::platform::findGroup(name);
    } else if (kind != "everyone" || !name.empty()) {
        problem = "expected 'user NAME:', 'group NAME:' or 'everyone:'";
        return false;
    }
    if (!parseRights(line, grant, problem)) return false;
    if (!id) {
        qel::logging::warning() << "rights of unknown " << std::string(kind) << " '" << name
                                << "' are ignored";
        return true;
    }
    grant.id = *id;
    m_grants.push_back(std::move(grant));
    return true;
}

bool JsonRpcRights::parseRights(std::string_view text, Grant& grant, std::string& problem) const {
    for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
        if (!text.starts_with(kFolder)) {
            grant.rights.emplace_back(takeWord(text));
            continue;
        }
        grant.folder = trimmed(text.substr(kFolder.size()));
        if (grant.folder.starts_with('/')) return true;
        problem = "a folder needs an absolute path";
        return false;
    }
    return true;
}

bool JsonRpcRights::applies(const Grant& grant, const PeerIdentity& peer) {
    switch (grant.who) {
    case Who::User:
        return peer.user == grant.id;
    case Who::Group:
        return peer.group == grant.id ||
               std::find(peer.moreGroups.begin(), peer.moreGroups.end(), grant.id) != peer.moreGroups.end();
    case Who::Everyone:
        return true;
    }
    return false;
}

bool JsonRpcRights::isEmpty() const {
    return std::all_of(m_grants.begin(), m_grants.end(),
                       [](const Grant& grant) { return grant.rights.empty(); });
}

bool JsonRpcRights::has(const PeerIdentity& peer, std::string_view right) const {
    if (peer.user == m_ownUser) return true;
    return std::any_of(m_grants.begin(), m_grants.end(), [&](const Grant& grant) {
        return applies(grant, peer) &&
               std::any_of(grant.rights.begin(), grant.rights.end(),
                           [&](const std::string& granted) { return covers(granted, right); });
    });
}

bool JsonRpcRights::hasAny(const PeerIdentity& peer) const {
    if (peer.user == m_ownUser) return true;
    return std::any_of(m_grants.begin(), m_grants.end(),
                       [&](const Grant& grant) { return !grant.rights.empty() && applies(grant, peer); });
}

qel::Vector<qel::String> JsonRpcRights::foldersOf(const PeerIdentity& peer) const {
    qel::Vector<qel::String> folders;
    for (const Grant& grant : m_grants) {
        if (!grant.folder.empty() && applies(grant, peer)) folders.emplace_back(grant.folder);
    }
    return folders;
}

} // namespace qelserver
