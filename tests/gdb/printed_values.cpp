// Values that tests/gdb/check prints in gdb. Line numbers do not matter: gdb stops in stopHere().
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/string_id.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/store/core/item.h>

#include <cstring>
#include <initializer_list>

namespace {

class Node : public qel::Object {};

volatile int g_stops = 0;

[[gnu::noinline]] void stopHere() {
    g_stops = g_stops + 1;
}

/// Memory that holds a damaged value, which is never destroyed.
template <typename T>
struct Damaged {
    alignas(T) unsigned char bytes[sizeof(T)];

    /// @param words  what the first 8-byte words of the value contain.
    T& with(std::initializer_list<qel::uint64> words) {
        std::memset(bytes, 0, sizeof bytes);
        size_t at = 0;
        for (const qel::uint64 word : words) std::memcpy(bytes + 8 * at++, &word, 8);
        return *reinterpret_cast<T*>(bytes);
    }
};

void showStrings() {
    const qel::String empty;
    const qel::String shortText("text");
    const qel::String longText(std::string(5000, 'x'));
    const qel::String umlauts("Größe \xE4\xBD\x93");
    const qel::String notUtf8(std::string("a\xFF\0\"\\\n", 6));
    const qel::String& reference = shortText;
    const qel::StringId emptyId;
    const qel::StringId id("identifier");
    Damaged<qel::String> storage;
    const qel::String& badAddress = storage.with({16, 4});
    Damaged<qel::String> sizeStorage;
    const qel::String& badSize =
        sizeStorage.with({reinterpret_cast<qel::uint64>(longText.data()), ~qel::uint64{0}});
    Damaged<qel::StringId> idStorage;
    const qel::StringId& badId = idStorage.with({16});
    stopHere();
    (void)reference, (void)badAddress, (void)badSize, (void)badId;
}

void showPointers() {
    const qel::SmartPointer<Node> null;
    const qel::SmartPointer<Node> single(new Node);
    const qel::SmartPointer<Node> shared(new Node);
    const qel::SmartPointer<qel::Object> second = shared;
    const qel::WeakPointer<Node> weak(single);
    qel::SmartPointer<Node> dying(new Node);
    const qel::WeakPointer<Node> dead(dying);
    dying.reset();
    Damaged<qel::SmartPointer<Node>> storage;
    const qel::SmartPointer<Node>& badPointer = storage.with({16});
    stopHere();
    (void)badPointer;
}

void showBytes() {
    const qel::Buffer emptyBuffer;
    qel::Buffer buffer;
    buffer.set(reinterpret_cast<const qel::uint8*>("bytes"), 5);
    Damaged<qel::Buffer> storage;
    const qel::Buffer& badBuffer = storage.with({16, 8, 8});
    Damaged<qel::Buffer> sizeStorage;
    const qel::Buffer& badBufferSize = sizeStorage.with({16, 9, 8});

    const qel::Item emptyItem;
    qel::Item item("Größe");
    item.add(-7).add(1 << 20).add(2.5).add(true).add(false).addNIL().addWildcard().addPrefix("table");
    item.add(qel::Item("nested").add(1)).addBuffer(reinterpret_cast<const qel::uint8*>("\1\2\3"), 3);
    item.add(qel::GUID());
    const qel::Item view(qel::Item::ExternalBufferMode, item.getConstByteSpan());
    const qel::uint8 bytes[] = {8, 5, 3, 'a'};
    const qel::Item malformed(qel::Item::PlainMode, bytes, sizeof bytes);
    qel::Item deep;
    for (int i = 0; i < 40; ++i) deep = qel::Item().addItem(deep);
    qel::Item many;
    for (int i = 0; i < 1000; ++i) many.add(i);
    Damaged<qel::Item> itemStorage;
    const qel::Item& badItem = itemStorage.with({0, 16, 39, 4});
    Damaged<qel::Item> itemSizeStorage;
    const qel::Item& badItemSize = itemSizeStorage.with({0, 16, 39, ~qel::uint64{0}});
    stopHere();
    (void)badBuffer, (void)badBufferSize, (void)badItem, (void)badItemSize;
}

} // namespace

int main() {
    showStrings();
    showPointers();
    showBytes();
}
