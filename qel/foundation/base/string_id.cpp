#include <qel/foundation/base/string_id.h>

#include <cstring>

namespace qel {

void StringId::assign(const char* text) {
    assign(text, text ? std::strlen(text) : 0);
}

void StringId::assign(const char* text, std::size_t length) {
    StringId interned;
    if (text && length != 0) interned.m_element = internal::g_stringPool.allocate(text, length);
    interned.swap(*this); // the old text is released last: the argument may point into it
}

} // namespace qel
