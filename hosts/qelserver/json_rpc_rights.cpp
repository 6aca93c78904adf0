#include "json_rpc_rights.h"

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

namespace qelserver {

namespace {

using qel::platform::PeerIdentity;

constexpr std::string_view kBlanks = " \t\r";
constexpr std::uint32_t kWritableByOthers = 022;

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/// Cuts the first word off @p text.
std::string_view takeWord(std::string_view& text) {
    text = trimmed(text);
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(word.size());
    return word;
}

/// Cuts off what stands before the first @p end, and that itself.
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

bool isSafe(const std::string& path) {
    qel::platform::FileStatus status;
    return !qel::platform::readStatus(status, path.c_str()) && (status.mode & kWritableByOthers) == 0;
}

} // namespace

std::optional<JsonRpcRights> JsonRpcRights::load(const std::string& path) {
    std::ifstream file(path);
    std::stringstream text;
    if (!file || !(text << file.rdbuf())) {
        qel::logging::error() << "cant read rights file '" << path << "'";
        return std::nullopt;
    }
    if (!isSafe(path)) {
        qel::logging::error() << "rights file '" << path << "' may be written by others than its owner";
        return std::nullopt;
    }
    std::string problem;
    std::optional<JsonRpcRights> rights = parse(text.str(), problem);
    if (!rights) qel::logging::error() << "rights file '" << path << "', " << problem;
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
        problem = "no ':' behind whom the rights are for";
        return false;
    }
    std::string_view whom = takeUpTo(line, ':');
    const std::string_view kind = takeWord(whom);
    const std::string name(trimmed(whom));
    Grant grant{Who::Everyone, 0, {}};
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
        problem = "rights are for 'user NAME', 'group NAME' or 'everyone'";
        return false;
    }
    while (!trimmed(line).empty()) grant.rights.emplace_back(takeWord(line));
    if (!id) {
        qel::logging::warning() << "rights of unknown " << std::string(kind) << " '" << name
                                << "' are for nobody";
        return true;
    }
    grant.id = *id;
    m_grants.push_back(std::move(grant));
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

} // namespace qelserver
