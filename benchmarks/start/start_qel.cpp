// A host from its start to its first pass and out again.
#include <qel/system/core/system.h>

int main() {
    qel::System::initialize({});
    qel::Object::system()->processEvents(0);
    qel::System::deinitialize();
}
