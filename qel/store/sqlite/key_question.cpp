#include <qel/store/sqlite/key_question_p.h>

#include <cmath>
#include <vector>

namespace qel::internal {

namespace {

ConstByteSpan nestedList(ConstByteSpan element) {
    constexpr size_t kHead = 5; // tag and size
    return {element.data + kHead, element.size - kHead};
}

bool isQuestion(ConstByteSpan element) {
    const auto type = static_cast<ValueType>(element[0]);
    return type == ValueType::Wildcard ||
           (type == ValueType::Float && std::isnan(loadElementValue<double>(element.data + 1)));
}

/// The element at the front of @p list, which is cut off from it; empty at the end.
ConstByteSpan takeElement(ConstByteSpan& list) {
    const size_t size = getElementSize(list.data, list.size);
    const ConstByteSpan element(list.data, size);
    list = {list.data + size, list.size - size};
    return element;
}

/// Looks into nested lists without recursion: each is looked through when the one around it has ended.
bool containsQuestion(ConstByteSpan list) {
    std::vector<ConstByteSpan> lists{list};
    while (!lists.empty()) {
        ConstByteSpan open = lists.back();
        lists.pop_back();
        for (ConstByteSpan element = takeElement(open); !element.empty(); element = takeElement(open)) {
            if (isQuestion(element)) return true;
            if (static_cast<ValueType>(element[0]) == ValueType::SubItem)
                lists.push_back(nestedList(element));
        }
    }
    return false;
}

} // namespace

size_t sizeBeforeQuestion(const Item& key) {
    ConstByteSpan list = key.getConstByteSpan();
    for (ConstByteSpan element = takeElement(list); !element.empty(); element = takeElement(list)) {
        const bool isNested = static_cast<ValueType>(element[0]) == ValueType::SubItem;
        if (isNested ? containsQuestion(nestedList(element)) : isQuestion(element))
            return static_cast<size_t>(element.data - key.getPlainBytePointer());
    }
    return kNoQuestion;
}

} // namespace qel::internal
