// JsonRpcRights: which peers may call what.
#pragma once

#include <qel/platform/local_socket.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qelserver {

/// The rights of users, as a rights file grants them. The server's own user has all of them; everybody else
/// has what the lines that apply to him add up to.
///
/// A line of the file is one of
/// @code
/// user NAME: RIGHT RIGHT ...
/// group NAME: RIGHT RIGHT ...
/// everyone: RIGHT RIGHT ...
/// @endcode
/// NAME may be a number. A RIGHT that ends in "*" stands for all that begin like it. What follows a "#" is a
/// comment. A call that was registered without a right asks for "rpc:" and its name.
class JsonRpcRights {
public:
    /// Reads the rights file @p path. Names that the system does not know are logged and grant nothing.
    /// @return nothing when it can't be read, does not have this form, or others may write to it, which is
    ///         logged.
    static std::optional<JsonRpcRights> load(const std::string& path);
    /// The same from a text. @param problem  what is wrong, with the number of the line.
    static std::optional<JsonRpcRights> parse(std::string_view text, std::string& problem);

    /// Whether nobody but the server's own user has any rights.
    bool isEmpty() const { return m_grants.empty(); }
    /// Whether @p peer has the right @p right.
    bool has(const qel::platform::PeerIdentity& peer, std::string_view right) const;
    /// Whether @p peer has any right, so that it makes sense to talk to him.
    bool hasAny(const qel::platform::PeerIdentity& peer) const;

private:
    enum class Who { User, Group, Everyone };
    struct Grant {
        Who who;
        std::uint32_t id;
        std::vector<std::string> rights;
    };

    static bool applies(const Grant& grant, const qel::platform::PeerIdentity& peer);
    bool parseLine(std::string_view line, std::string& problem);

    std::vector<Grant> m_grants;
    std::uint32_t m_ownUser = qel::platform::userId();
};

} // namespace qelserver
