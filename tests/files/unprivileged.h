// Checks as a user whom permissions hold back, which they do not do to root.
#pragma once

#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qel::test {

/// The user and group that root becomes for a check.
constexpr unsigned kUnprivilegedUser = 65534;

namespace internal {

inline void giveAway(const std::filesystem::path& path) {
    EXPECT_EQ(lchown(path.c_str(), kUnprivilegedUser, kUnprivilegedUser), 0) << path;
}

inline bool dropPrivileges() {
    return setgroups(0, nullptr) == 0 && setgid(kUnprivilegedUser) == 0 && setuid(kUnprivilegedUser) == 0;
}

} // namespace internal

/// Makes the unprivileged user the owner of @p folder and all that is in it, if root does the test.
inline void giveToUnprivilegedUser(const ScratchFolder& folder) {
    if (geteuid() != 0) return;
    internal::giveAway(folder.path());
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
        internal::giveAway(entry.path());
}

/// Runs @p check, which reports by the assertions of GoogleTest, as an unprivileged user. Root does that in a
/// child process, whose failures fail the test; other users run it themselves.
template <typename Check>
void asUnprivilegedUser(const Check& check) {
    if (geteuid() != 0) return check();
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        EXPECT_TRUE(internal::dropPrivileges());
        check();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the checks above failed as an unprivileged user";
}

/// The same for a user who owns all that is in @p folder.
template <typename Check>
void asUnprivilegedOwner(const ScratchFolder& folder, const Check& check) {
    giveToUnprivilegedUser(folder);
    asUnprivilegedUser(check);
}

} // namespace qel::test
