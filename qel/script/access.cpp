#include <qel/script/access.h>

#include <cstring>
#include <utility>

namespace qelSq {

TextAccess::TextAccess(SQVM* vm, SQInteger index) {
    sq_resetobject(&m_object);
    bool isMade = sq_gettype(vm, index) != OT_STRING;
    if (isMade) {
        if (SQ_FAILED(sq_tostring(vm, index))) return;
        sq_getstackobj(vm, -1, &m_object);
        sq_addref(vm, &m_object);
        m_made = vm;
        index = -1;
    }
    if (SQ_SUCCEEDED(sq_getstring(vm, index, &m_text))) m_size = static_cast<size_t>(sq_getsize(vm, index));
    if (isMade) sq_poptop(vm);
}

TextAccess::TextAccess(TextAccess&& other) noexcept
    : m_made(std::exchange(other.m_made, nullptr)),
      m_object(other.m_object),
      m_text(other.m_text),
      m_size(other.m_size) {}

void InitializeCharArrayAccess(SQVM* vm, SQInteger index, char* buffer, size_t size) {
    TextAccess text(vm, index);
    buffer[0] = 0;
    if (text.view().size() + 1 >= size) return;
    std::memcpy(buffer, text.c_str(), text.view().size() + 1);
}

} // namespace qelSq
