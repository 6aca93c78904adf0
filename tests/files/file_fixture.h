// What the tests of files share.
#pragma once

#include <tests/files/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <set>

namespace qel::test {

/// A test of kind @p Base with a folder of its own, and the log taken.
template <typename Base>
class WithFolder : public Base {
protected:
    std::string path(std::string_view name) const { return folder.path(name); }

    ScratchFolder folder;
    LogCapture log;
};

using FileFixture = WithFolder<::testing::Test>;

/// A test of files with a System, which leaves no list of deferred deletions behind.
class SystemFileFixture : public WithFolder<SystemFixture> {
protected:
    void TearDown() override {
        Object::setSingleton("deleteLater", nullptr);
        WithFolder::TearDown();
    }

    /// The paths that are hidden from those who list folders.
    std::set<std::string> hiddenPaths() {
        const MutexLock lock(system().getFilesystemBlacklistMutex());
        const auto& paths = system().getFilesystemBlacklist();
        return {paths.begin(), paths.end()};
    }
};

} // namespace qel::test
