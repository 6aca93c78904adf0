// NotificationMessage: a push notification received by this process.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/store/core/item.h>

namespace qel {

/// The content that a notification displays, and the data that it carries for the program. The meaning of the
/// numbers is defined by the host's provider.
/// @threads main thread.
class QEL_API NotificationMessage : public Object {
    QEL_CLASS(NotificationMessage, Object)

public:
    /// Returns true if there is anything to display.
    bool hasTextContent() const { return !title.empty() || !subtitle.empty() || !body.empty(); }
    /// Returns the data as a list: for each entry, in key order, the key and a SubItem of the value.
    Item serializeData() const;
    /// Replaces the data with what serializeData() wrote. Reading stops at the first entry that is not a key
    /// and a SubItem.
    void deserializeData(const Item& item);

    int32 type = 0;        ///< kind of message
    int32 identifier = 0;  ///< distinguishes it from others of its kind
    String title;          ///< first line
    String subtitle;       ///< second line
    String body;           ///< body text
    Map<int32, Item> data; ///< data for the program
    int32 badge = -1;      ///< number to display on the program's icon; -1 leaves it unchanged
};

} // namespace qel
