#include <qel/store/core/element_cursor_p.h>
#include <qel/store/core/item.h>

namespace qel {

bool Item::hasScriptCode() const {
    Vector<ConstByteSpan> lists{getConstByteSpan()};
    while (!lists.empty()) {
        internal::ElementCursor element(lists.back());
        lists.pop_back();
        for (bool isMarked = false; element; element.next()) {
            if (isMarked && element.type() == ValueType::Buffer) return true;
            isMarked = element.isPrefix(kScriptPrefix);
            if (element.type() == ValueType::SubItem) lists.push_back(element.payload());
        }
    }
    return false;
}

} // namespace qel
