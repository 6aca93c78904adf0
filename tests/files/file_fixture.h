// What the tests of files share.
#pragma once

#include <tests/files/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

namespace qel::test {

/// A test with a folder of its own, and the log taken.
class FileFixture : public ::testing::Test {
protected:
    std::string path(std::string_view name) const { return folder.path(name); }

    ScratchFolder folder;
    LogCapture log;
};

} // namespace qel::test
