// A host without scripts, built where no header of Squirrel can be found.
#include <qel/qel.h>

#include <cstdio>

#if QEL_VERSION < 40200 || QEL_VERSION_MAJOR != 4
#error "the headers of another version"
#endif

int main(int argc, char** argv) {
    static_assert(qel::kVersion == QEL_VERSION);
    qel::System::initialize(argc, argv, nullptr);
    qel::SmartPointer<qel::MemoryStore> store(new qel::MemoryStore);
    store->set(qel::Item("greeting"), qel::Item("hello from a store"));
    std::puts(store->get(qel::Item("greeting"))->getIterator().convertAsString().c_str());
    store = nullptr;
    qel::System::deinitialize();
}
