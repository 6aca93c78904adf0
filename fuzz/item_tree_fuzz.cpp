// Two lists of elements: 4 bytes for the size of the first, then both. They are walked, read in every way,
// compared, printed, converted to script values without code, and written through views.
#include <fuzz/require.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string_id.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/script/object.h>
#include <qel/store/core/item.h>
#include <qel/store/core/order_key.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace qel;

extern "C" size_t LLVMFuzzerMutate(uint8* data, size_t size, size_t maxSize);

namespace {

int signOf(int value) {
    return (value > 0) - (value < 0);
}

std::string_view bytesOf(const Item& item) {
    return item.getConstByteSpan().asText();
}

// --- Invariants -------------------------------------------------------------------------------------------

template <typename T, typename Read>
void readAs(Item::Iterator at, Read read) {
    const int64 before = at.getOffset();
    const auto size = static_cast<int64>(at.getSize());
    T value{};
    const bool isRead = read(at, value);
    require(at.getOffset() == before + (isRead ? size : 0));
}

void readInEveryWay(const Item::Iterator& at) {
    readAs<bool>(at, [](auto& it, auto& value) { return it.asBool(value); });
    readAs<int32>(at, [](auto& it, auto& value) { return it.asInteger(value); });
    readAs<uint64>(at, [](auto& it, auto& value) { return it.asInteger(value); });
    readAs<float>(at, [](auto& it, auto& value) { return it.asFloat(value); });
    readAs<String>(at, [](auto& it, auto& value) { return it.asString(value); });
    readAs<StringId>(at, [](auto& it, auto& value) { return it.asStringId(value); });
    readAs<Buffer>(at, [](auto& it, auto& value) { return it.asBuffer(value); });
    readAs<ConstByteSpan>(at, [](auto& it, auto& value) { return it.asWeakPointer(value); });
    readAs<GUID>(at, [](auto& it, auto& value) { return it.asGUID(value); });
    readAs<Item>(at, [](auto& it, auto& value) { return it.asSubItem(value); });
    readAs<Item>(at, [](auto& it, auto& value) { return it.asWeakItemView(value); });
    readAs<bool>(at, [](auto& it, auto& value) { return it.convertAsBool(value); });
    readAs<int64>(at, [](auto& it, auto& value) { return it.convertAsInteger(value); });
    readAs<double>(at, [](auto& it, auto& value) { return it.convertAsFloat(value); });
    readAs<String>(at, [](auto& it, auto& value) { return it.convertAsString(value); });
    Map<SmartCStr, Item> table;
    Item::Iterator(at).asWeakTable(table);
}

void walk(const Item& item) {
    Item::Iterator at(item);
    size_t steps = 0, sum = 0;
    for (; at.hasNextElement(); ++steps) {
        if (steps < 64) readInEveryWay(at);
        sum += at.getSize();
        require(at.skip());
    }
    require(steps <= item.getPlainSize() && static_cast<int64>(sum) == at.getOffset());
    require(item.getDepth() == static_cast<int>(steps) && at.getType() == ValueType::None);
}

void compare(const Item& a, const Item& b, const Item& c) {
    require(Item::compare(a, a) == 0);
    const int order = signOf(Item::compare(a, b));
    require(signOf(Item::compare(b, a)) == -order);
    const internal::OrderKey formA(a), formB(b), formC(c);
    if (formA.isQuestion() || formB.isQuestion() || formC.isQuestion()) return;
    require(signOf(formA.bytes().compare(formB.bytes())) == order);
    if (order <= 0 && b <= c) require(a <= c);
    if (order >= 0 && b >= c) require(a >= c);
}

void writeThroughViews(const Item& item) {
    const std::string before(bytesOf(item));
    Item view(Item::ExternalBufferMode, item.getConstByteSpan());
    view.add(1).addBuffer(item.getConstByteSpan());
    require(bytesOf(view).starts_with(before));
    Item other(Item::ExternalBufferMode, item.getConstByteSpan());
    std::fill_n(other.resizePlain(before.size() / 2), before.size() / 2, uint8{1});
    require(bytesOf(item) == before);
}

/// With code refused, no script value is a closure.
void makeScriptValue(const Item& item) {
    qelSq::Object value;
    if (item.getIterator().asSquirrel(value, ScriptCode::Refuse)) require(!Item(value).hasScriptCode());
}

// --- Mutation by elements ---------------------------------------------------------------------------------

using Random = std::minstd_rand;

/// The elements of a list.
struct Parts {
    std::vector<Item> elements;
    Item rest; // the bytes that are not an element

    explicit Parts(const Item& list) {
        Item::Iterator at(list);
        Item element;
        while (at.extract(element) != ValueType::None) elements.push_back(element);
        const auto size = static_cast<size_t>(at.getOffset());
        rest.setPlain(list.getPlainBytePointer() + size, list.getPlainSize() - size);
    }

    Item join() const {
        Item list;
        for (const Item& element : elements) list.concatItem(element);
        return list.concatItem(rest);
    }
};

Item randomElement(Random& random) {
    const auto integer = static_cast<int64>(random()) << random() % 32;
    switch (random() % 14) {
    case 0:
        return Item().addInteger(random() % 2 ? integer : -integer);
    case 1:
        return Item().addInteger64(static_cast<int64>(random() % 300));
    case 2:
        return Item().add(static_cast<double>(integer) / 256);
    case 3:
        return Item("text");
    case 4:
        return Item().addPrefix(random() % 2 ? "table" : "squirrel");
    case 5:
        return Item().addBuffer(reinterpret_cast<const uint8*>("\0\xFF\0"), random() % 4);
    case 6:
        return Item().addPointer(Item("key"));
    case 7:
        return Item().add(Item());
    case 8:
        return Item(GUID());
    case 9:
        return Item(Item::NILType);
    case 10:
        return Item().add(random() % 2 == 0);
    case 11:
        return random() % 2 ? Item().addMeta() : Item().addEnd();
    case 12:
        return Item().addReferee(nullptr, 0);
    default:
        return Item(Item::WildcardMode);
    }
}

Item mutated(const Item& list, Random& random, int depth) {
    Parts parts(list);
    auto& elements = parts.elements;
    const auto at = [&] {
        return elements.begin() + static_cast<std::ptrdiff_t>(random() % elements.size());
    };
    const auto choice = elements.empty() ? 0 : random() % 7;
    Item nested;
    if (choice == 0) {
        elements.push_back(randomElement(random));
    } else if (choice == 1) {
        elements.erase(at());
    } else if (choice == 2) {
        elements.insert(at(), Item(*at()));
    } else if (choice == 3) {
        *at() = randomElement(random);
    } else if (choice == 4) {
        Item& element = *at();
        element = Item().add(Item(element));
    } else if (Item& element = *at(); depth < 8 && element.getIterator().asSubItem(nested)) {
        element = Item().add(mutated(nested, random, depth + 1));
    } else {
        const size_t size = element.getPlainSize();
        element.resizePlain(size + 8);
        uint8* const bytes = element.resizePlain(size + 8);
        element.resizePlain(1 + LLVMFuzzerMutate(bytes + 1, size - 1, size + 7));
    }
    return parts.join();
}

/// The two lists of an input.
struct Lists {
    Item a, b;

    Lists(const uint8* data, size_t size) {
        if (size < 4) return;
        const size_t first = internal::loadElementValue<uint32>(data) % (size - 3);
        a.setPlain(data + 4, first);
        b.setPlain(data + 4 + first, size - 4 - first);
    }
};

void silence() {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    if (!internal::g_system) System::initialize({});
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8* data, size_t size, size_t maxSize, unsigned seed) {
    Random random(seed);
    if (random() % 4 == 0) return LLVMFuzzerMutate(data, size, maxSize);
    Lists lists(data, size);
    Item& changed = random() % 2 ? lists.a : lists.b;
    if (random() % 8 == 0) {
        changed = random() % 2 ? lists.a : lists.b;
    } else {
        changed = mutated(changed, random, 0);
    }
    const Item whole = Item(lists.a).concatItem(lists.b);
    if (whole.getPlainSize() + 4 > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
    const auto first = static_cast<uint32>(lists.a.getPlainSize());
    std::memcpy(data, &first, sizeof first);
    std::copy_n(whole.getPlainBytePointer(), whole.getPlainSize(), data + 4);
    return whole.getPlainSize() + 4;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    silence();
    const Lists lists(data, size);
    const Item both = Item(lists.a).concatItem(lists.b);
    compare(lists.a, lists.b, both);
    compare(lists.b, both, lists.a);
    for (const Item* item : {&lists.a, &lists.b}) {
        walk(*item);
        writeThroughViews(*item);
        makeScriptValue(*item);
        require(item->asString().size() >= 2);
        item->asBrowsableString();
        item->getJSON(false);
        Item back;
        require(back.setBase64crc(item->getBase64crc()) && bytesOf(back) == bytesOf(*item));
    }
    return 0;
}
