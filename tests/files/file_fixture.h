// Fixtures for tests of files.
#pragma once

#include <tests/support/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <set>

namespace qel::test {

/// A test of kind @p Base with its own folder and a captured log.
template <typename Base>
class WithFolder : public Base {
protected:
    std::string path(std::string_view name) const { return folder.path(name); }

    ScratchFolder folder;
    LogCapture log;
};

using FileFixture = WithFolder<::testing::Test>;

/// A test of files with a System; it leaves no list of deferred deletions.
class SystemFileFixture : public WithFolder<SystemFixture> {
protected:
    void TearDown() override {
        Object::setSingleton("deleteLater", nullptr);
        WithFolder::TearDown();
    }

    /// Returns the paths that are hidden from folder listings.
    std::set<std::string> hiddenPaths() {
        const MutexLock lock(system().getFilesystemBlacklistMutex());
        const auto& paths = system().getFilesystemBlacklist();
        return {paths.begin(), paths.end()};
    }
};

} // namespace qel::test
