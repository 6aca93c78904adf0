// Runs checks as a user who is subject to permissions, unlike root.
#pragma once

#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qel::test {

/// The user and group that root changes to for a check.
constexpr unsigned kUnprivilegedUser = 65534;

namespace internal {

inline void giveAway(const std::filesystem::path& path) {
    EXPECT_EQ(lchown(path.c_str(), kUnprivilegedUser, kUnprivilegedUser), 0) << path;
}

inline bool dropPrivileges() {
    return setgroups(0, nullptr) == 0 && setgid(kUnprivilegedUser) == 0 && setuid(kUnprivilegedUser) == 0;
}

} // namespace internal

/// Makes the unprivileged user the owner of @p folder and everything in it, if root runs the test.
inline void giveToUnprivilegedUser(const ScratchFolder& folder) {
    if (geteuid() != 0) return;
    internal::giveAway(folder.path());
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
        internal::giveAway(entry.path());
}

/// Runs @p check, which reports through GoogleTest assertions, as an unprivileged user. Root runs it in a
/// child process, whose failures fail the test; other users run it directly.
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

/// Does the same for a user who owns everything in @p folder.
template <typename Check>
void asUnprivilegedOwner(const ScratchFolder& folder, const Check& check) {
    giveToUnprivilegedUser(folder);
    asUnprivilegedUser(check);
}

} // namespace qel::test
