// JsonRpcRights: which peers may make which calls.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/local_socket.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qelserver {

/// The rights of users, as granted by a rights file. The server's own user has all rights. Any other user has
/// the rights of all lines that apply to them.
///
/// A line of the file is one of
/// @code
/// user NAME: RIGHT RIGHT ... folder:PATH
/// group NAME: RIGHT RIGHT ... folder:PATH
/// everyone: RIGHT RIGHT ... folder:PATH
/// @endcode
/// NAME may be a number. A RIGHT that ends in "*" covers all rights that begin with what precedes the "*".
/// The PATH of a folder is absolute and extends to the end of the line; jobs may use files below it. A "#"
/// begins a comment. A call that was registered without a right requires the right "rpc:" followed by its
/// name.
class JsonRpcRights {
public:
    /// Reads the rights file @p path, which may be empty. Names that the system does not know are logged and
    /// grant nothing.
    /// @return nothing if the file can't be read, does not have this form, belongs to a user other than the
    ///         server's own or root, or may be written by others. @errors logged.
    static std::optional<JsonRpcRights> load(const std::string& path);
    /// As load(), from a text. @param problem  receives what is wrong, with the number of the line.
    static std::optional<JsonRpcRights> parse(std::string_view text, std::string& problem);

    /// Returns true if only the server's own user may call anything.
    bool isEmpty() const;
    /// Returns true if @p peer has the right @p right.
    bool has(const qel::platform::PeerIdentity& peer, std::string_view right) const;
    /// Returns true if @p peer has any right.
    bool hasAny(const qel::platform::PeerIdentity& peer) const;
    /// Returns the folders below which jobs of @p peer may use files. The server's own user needs none.
    qel::Vector<qel::String> foldersOf(const qel::platform::PeerIdentity& peer) const;

private:
    enum class Who { User, Group, Everyone };
    struct Grant {
        Who who;
        std::uint32_t id;
        std::vector<std::string> rights;
        std::string folder; // empty for none
    };

    static bool applies(const Grant& grant, const qel::platform::PeerIdentity& peer);
    bool parseLine(std::string_view line, std::string& problem);
    bool parseRights(std::string_view text, Grant& grant, std::string& problem) const;

    std::vector<Grant> m_grants;
    std::uint32_t m_ownUser = qel::platform::userId();
};

} // namespace qelserver
