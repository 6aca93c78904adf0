#include <qel/script/access.h>

#include <cstring>

namespace qelSq {

void TextAccess::convert(SQVM* vm, SQInteger index) {
    if (SQ_FAILED(sq_tostring(vm, index))) return;
    sq_resetobject(&m_object);
    sq_getstackobj(vm, -1, &m_object);
    sq_addref(vm, &m_object);
    m_made = vm;
    read(vm, -1);
    sq_poptop(vm);
}

void InitializeCharArrayAccess(SQVM* vm, SQInteger index, char* buffer, size_t size) {
    TextAccess text(vm, index);
    buffer[0] = 0;
    if (text.view().size() + 1 >= size) return;
    std::memcpy(buffer, text.c_str(), text.view().size() + 1);
}

} // namespace qelSq
