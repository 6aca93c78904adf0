#include <qel/script/notification_message.h>

#include <qel/system/core/system.h>

#include <utility>

namespace qel {

Item NotificationMessage::serializeData() const {
    Item item;
    for (const auto& [key, value] : data) item.addInteger(key).addItem(value);
    return item;
}

void NotificationMessage::deserializeData(const Item& item) {
    Map<int32, Item> read; // filled first, because the item may belong to the data
    Item::Iterator reader = item.getIterator();
    int32 key = 0;
    Item value;
    while (reader.asInteger(key) && reader.asSubItem(value)) read[key] = value;
    data.swap(read);
}

SmartPointer<NotificationMessage> System::popSavedStartupMessage() {
    return std::exchange(m_savedStartupMessage, nullptr);
}

} // namespace qel
