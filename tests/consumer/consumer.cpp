// The least that an outside user does: includes everything, calls something, links the library and nothing else.
#include <qel/qel.h>

#include <cstdio>

int main() {
    const qel::String text = "the outside host ran";
    std::puts(text.c_str());
}
