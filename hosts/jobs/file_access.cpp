#include "file_access.h"

#include <qel/store/core/item_iterator.h>

#include <algorithm>
#include <limits>

namespace qeljobs {

namespace {

using qel::Item;
using qel::platform::PeerIdentity;

constexpr qel::uint32 kRoot = 0;

bool isMember(const PeerIdentity& user, qel::uint32 group) {
    return user.group == group ||
           std::find(user.moreGroups.begin(), user.moreGroups.end(), group) != user.moreGroups.end();
}

bool readId(Item::Iterator& it, qel::uint32& id) {
    qel::int64 number = -1;
    if (!it.asInteger(number) || number < 0 || number > std::numeric_limits<qel::uint32>::max()) return false;
    id = static_cast<qel::uint32>(number);
    return true;
}

} // namespace

bool FileAccess::allows(const qel::platform::FileOwnership& ownership, FileUse use) const {
    const auto has = [&](unsigned shift) {
        return (ownership.mode >> shift & static_cast<qel::uint32>(use)) != 0;
    };
    if (user.user == kRoot) return true;
    if (user.user == ownership.user) return has(6);
    if (ownership.hasAccessList) return false;
    return has(isMember(user, ownership.group) ? 3 : 0);
}

Item FileAccess::toItem() const {
    Item groups;
    for (const qel::uint32 group : user.moreGroups) groups.add(group);
    Item paths;
    for (const qel::String& folder : folders) paths.add(folder);
    return Item().add(user.user).add(user.group).add(groups).add(overwrite).add(paths);
}

std::optional<FileAccess> FileAccess::fromItem(const Item& item) {
    FileAccess access;
    Item groups;
    Item paths;
    Item::Iterator it = item.getIterator();
    const bool hasForm = readId(it, access.user.user) && readId(it, access.user.group) &&
                         it.asSubItem(groups) && it.asBool(access.overwrite) && it.asSubItem(paths);
    if (!hasForm) return std::nullopt;
    Item::Iterator group = groups.getIterator();
    for (qel::uint32 id = 0; group.hasNextElement();) {
        if (!readId(group, id)) return std::nullopt;
        access.user.moreGroups.push_back(id);
    }
    Item::Iterator path = paths.getIterator();
    for (qel::String folder; path.asString(folder);) access.folders.push_back(folder);
    return access;
}

} // namespace qeljobs
