// Items at random, of few different values, so that many of them are equal or nearly so.
#pragma once

#include <qel/store/core/item.h>

#include <limits>
#include <random>

namespace qel::test {

class RandomItems {
public:
    explicit RandomItems(unsigned seed, bool wildcards = false) : m_random(seed), m_wildcards(wildcards) {}

    /// A list of up to 4 elements, perhaps with bytes behind them that are no element.
    Item list(int depth = 0) {
        Item item;
        for (unsigned i = below(5); i > 0; --i) add(item, depth);
        if (below(8) == 0) item.concatItem(Item(Item::PlainMode, kBroken[below(4)], 3));
        return item;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

private:
    void add(Item& item, int depth) {
        static const char* const kTexts[] = {"", "a", "ab", "b", "\xFF", "a\x01"};
        static const double kNumbers[] = {0.0,  -0.0,  1.5,
                                          -1.5, 1e300, -std::numeric_limits<double>::infinity()};
        static const uint8 kBytes[] = {0, 0, 0xFF, 0, 1, 0x41};
        const size_t first = below(3), count = below(4);
        switch (below(m_wildcards ? 16 : 15)) {
        case 0:
            item.addInteger(integer());
            break;
        case 1:
            item.addInteger64(integer());
            break;
        case 2:
            item.addFloat(kNumbers[below(6)]);
            break;
        case 3:
        case 4:
            item.addString(kTexts[below(6)]);
            break;
        case 5:
            item.addPrefix(kTexts[below(6)]);
            break;
        case 6:
            item.addBuffer(kBytes + first, count);
            break;
        case 7:
            item.addPointer(kBytes + first, count);
            break;
        case 8:
            item.addReferee(kBytes + first, count);
            break;
        case 9:
        case 10:
            item.add(depth < 3 ? list(depth + 1) : Item());
            break;
        case 11:
            item.addGUID(guid());
            break;
        case 12:
            item.addNIL();
            break;
        case 13:
            item.addBool(below(2) == 0);
            break;
        case 14:
            below(2) == 0 ? item.addMeta() : item.addEnd();
            break;
        default:
            item.addWildcard();
            break;
        }
    }

    int64 integer() {
        static const int64 kIntegers[] = {0,    1,       -1,        255,       256,      -256,
                                          -257, 1 << 20, 1LL << 40, INT64_MIN, INT64_MAX};
        return kIntegers[below(11)];
    }

    GUID guid() {
        GUID guid;
        guid.bytes[below(2) * 31] = static_cast<uint8>(below(3) * 127);
        return guid;
    }

    /// A cut integer, an unknown tag, a text without its end, a Buffer larger than what follows.
    static constexpr uint8 kBroken[4][3] = {{1, 2, 3}, {77, 0, 0}, {3, 65, 66}, {4, 9, 0}};

    std::mt19937 m_random;
    bool m_wildcards;
};

} // namespace qel::test
