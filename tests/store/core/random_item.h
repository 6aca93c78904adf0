// Random items with few different values, so that many of them are equal or nearly equal.
#pragma once

#include <qel/store/core/item.h>

#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace qel::test {

class RandomItems {
public:
    explicit RandomItems(unsigned seed) : m_random(seed) {}

    /// Returns a list of up to 4 elements, possibly followed by bytes that are not an element.
    Item list(int depth = 0) {
        Item item;
        for (unsigned i = below(5); i > 0; --i) add(item, depth);
        if (below(8) == 0) item.concatItem(Item(Item::PlainMode, kBroken[below(4)], 3));
        return item;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

private:
    void add(Item& item, int depth) {
        static const std::vector<Item> kElements = elements();
        if (below(15) > 12) {
            item.add(depth < 3 ? list(depth + 1) : Item());
        } else {
            item.concatItem(kElements[below(static_cast<unsigned>(kElements.size()))]);
        }
    }

    /// Returns one of each kind of element.
    static std::vector<Item> elements() {
        std::vector<Item> elements;
        for (const int64 value : {int64{0}, int64{1}, int64{-1}, int64{255}, int64{256}, int64{-256},
                                  int64{-257}, int64{1} << 20, int64{1} << 40, INT64_MIN, INT64_MAX}) {
            elements.push_back(Item(value));
            elements.push_back(Item().addInteger64(value));
        }
        for (const double value : {0.0, -0.0, 1.5, -1.5, 1e300, -std::numeric_limits<double>::infinity()})
            elements.push_back(Item().addFloat(value));
        for (const char* text : {"", "a", "ab", "b", "\xFF", "a\x01"}) {
            elements.push_back(Item(text));
            elements.push_back(Item().addPrefix(text));
        }
        for (const auto& [bytes, count] :
             {std::pair("", 0), {"", 1}, {"\1", 1}, {"\1", 2}, {"\xFF", 1}, {"\1A", 2}}) {
            const auto* const data = reinterpret_cast<const uint8*>(bytes);
            const auto size = static_cast<size_t>(count);
            for (const Item& element :
                 {Item().addBuffer(data, size), Item().addPointer(data, size), Item().addReferee(data, size)})
                elements.push_back(element);
        }
        for (const auto& [at, value] : {std::pair{0, 0}, {0, 127}, {0, 254}, {31, 127}, {31, 254}}) {
            GUID guid;
            guid.bytes[static_cast<size_t>(at)] = static_cast<uint8>(value);
            elements.push_back(Item(guid));
        }
        for (const Item& mark :
             {Item().addNIL(), Item().addTrue(), Item().addFalse(), Item().addMeta(), Item().addEnd()})
            elements.push_back(mark);
        return elements;
    }

    /// A truncated integer, an unknown tag, a text without its end, a Buffer larger than the remaining bytes.
    static constexpr uint8 kBroken[4][3] = {{1, 2, 3}, {77, 0, 0}, {3, 65, 66}, {4, 9, 0}};

    std::mt19937 m_random;
};

} // namespace qel::test
