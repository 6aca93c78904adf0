#include <qel/system/core/system.h>

#include <qel/foundation/base/timed_references.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/process/killed_children.h>
#include <qel/system/tasks/scheduler.h>

namespace qel {

namespace {

constexpr int kKilledChildrenTimeoutMs = 10'000;

} // namespace

void System::initialize(const ApplicationFactory& factory) {
    if (internal::g_system != nullptr) {
        logging::error() << "trying to reinitialize qel::System";
        return;
    }
    System* const system = new System;
    system->increaseReferenceCount();
    if (factory) system->m_applicationFactory = factory;
}

void System::initialize(int& argc, char** argv, const ApplicationFactory& factory) {
    initialize(factory);
    internal::g_system->processCommandLine(argc, argv);
}

void System::deinitialize() {
    System* const system = internal::g_system;
    if (system == nullptr) {
        logging::error() << "trying to deinitialize non-existant qel::System";
        return;
    }
    if (system->getReferenceCount() != 1) {
        logging::warning() << "trying to deinitialize qel::System, but there are still open references";
        return;
    }
    system->releaseThemes();
    system->releaseFonts();
    system->releaseSprites();
    system->m_scheduler->cancelAll();
    bool released = true;
    while (released) {
        released = internal::removeAllTimedReferences();
        released |= internal::removeAllTimedReferencesParallel();
    }
    system->decreaseReferenceCount();
    internal::g_system = nullptr;
    internal::awaitKilledChildren(kKilledChildrenTimeoutMs);
}

} // namespace qel
