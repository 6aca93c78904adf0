// NotificationMessage: a push notification that has reached this process.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/store/core/item.h>

namespace qel {

/// What a notification shows, and the data it carries for the program. The host's provider gives the numbers
/// their meaning.
/// @threads main thread.
class QEL_API NotificationMessage : public Object {
    QEL_CLASS(NotificationMessage, Object)

public:
    /// Whether there is anything to show.
    bool hasTextContent() const { return !title.empty() || !subtitle.empty() || !body.empty(); }
    /// The data as a list: for each entry, in the order of the keys, the key and a SubItem of the value.
    Item serializeData() const;
    /// Puts what serializeData() wrote in place of the data; what does not read as a key and a SubItem ends
    /// the list.
    void deserializeData(const Item& item);

    int32 type = 0;        ///< what kind of message it is
    int32 identifier = 0;  ///< tells it from others of its kind
    String title;          ///< first line
    String subtitle;       ///< second line
    String body;           ///< the text
    Map<int32, Item> data; ///< for the program
    int32 badge = -1;      ///< number to show at the program's icon; -1 leaves it as it is
};

} // namespace qel
