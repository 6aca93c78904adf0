#include <qel/platform/registry.h>
#include <qel/testing/machine.h>

#include <tests/support/failing_files.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

namespace qel::platform {
namespace {

struct RegistryTest : ::testing::Test {
    RegistryTest() { seams::setRegistryFolder(scratch.path("settings")); }
    ~RegistryTest() override { seams::setRegistryFolder({}); }

    static std::string read(std::string_view key, std::string_view name) {
        std::string bytes;
        return readRegistryValue(bytes, key, name) ? "unreadable" : bytes;
    }

    test::ScratchFolder scratch;
};

TEST_F(RegistryTest, StoresEachValueInItsOwnFileWithASafeName) {
    const std::array<std::string, 3> values[] = {
        {{R"(SOFTWARE\Vendor\Product)", "Settings 1", "SOFTWARE/Vendor/Product/Settings 1.value"}},
        {{R"(\a\\b\)", "", "a/b/%.value"}},
        {{R"(a\b)", "%", "a/b/%25.value"}},
        {{R"(..\c.value)", "../x", "%2E%2E/c%2Evalue/%2E%2E%2Fx.value"}},
        {{"", "\xC3\xBC\n", "%C3%BC%0A.value"}}};
    for (const auto& [key, name, file] : values) {
        const std::string bytes = std::string(1, '\0') + file;
        EXPECT_EQ(read(key, name), "unreadable");
        EXPECT_FALSE(writeRegistryValue(key, name, "longer than what follows it" + bytes));
        EXPECT_FALSE(writeRegistryValue(key, name, bytes));
        EXPECT_EQ(scratch.read("settings/" + file), bytes);
        EXPECT_EQ(read(key, name), bytes);
    }
}

TEST_F(RegistryTest, WhatAKilledWriterLeftIsReplaced) {
    scratch.write("settings/key/value.new", "half of what a killed writer wan");
    EXPECT_FALSE(writeRegistryValue("key", "value", "new"));
    EXPECT_EQ(read("key", "value"), "new");
    EXPECT_FALSE(scratch.has("settings/key/value.new"));
}

TEST_F(RegistryTest, AFailedSyncOfTheFileOrItsFolderIsReported) {
    for (const int at : {0, 1}) {
        const test::FailingFiles failing(at, std::errc::io_error, test::FailingFiles::Duration::Once,
                                         Operation::Sync);
        EXPECT_EQ(writeRegistryValue("key", "value", "new"), std::errc::io_error) << at;
    }
}

} // namespace
} // namespace qel::platform
