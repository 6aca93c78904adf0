#include <qel/store/core/item.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <random>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace qel {
namespace {

constexpr int kKills = 200;
constexpr int kKeys = 40;

/// Writes generation after generation, each in one transaction with a nested one, and reports the number of
/// each committed generation.
/// @param isLast  true to be killed between the first commit and its report.
[[noreturn]] void writeGenerations(const std::string& path, int from, int reports, bool isLast) {
    SqliteStore store(path);
    for (int generation = from; store.good(); ++generation) {
        store.set(Item("outside"), Item(generation));
        store.begin();
        store.remove(Item(), Item("keys").addEnd());
        for (int i = 0; i < kKeys; ++i) {
            store.begin();
            const size_t size = static_cast<size_t>(generation * 37 + i * 1009) % 3000;
            store.set(Item("keys").add(i), Item(generation).add(std::string(size, 'x')));
            store.commit();
        }
        store.commit();
        store.flush();
        if (isLast) raise(SIGKILL);
        if (write(reports, &generation, sizeof generation) != sizeof generation) break;
    }
    _exit(1);
}

/// Returns the generation that all keys have; -1 for a mixture, 0 for a store without keys.
int generationOf(SqliteStore& store) {
    std::set<int> generations;
    int count = 0;
    Item key("keys");
    for (; store.next(key, key) && key < Item("keys").addEnd(); ++count)
        generations.insert(static_cast<int>(store.get(key)->getIterator().convertAsInteger()));
    if (count == 0) return 0;
    return count == kKeys && generations.size() == 1 ? *generations.begin() : -1;
}

TEST(SqliteStoreKill, LeavesTheOldStateOrTheNewOne) {
    test::ScratchFolder scratch;
    const std::string path = scratch.path("killed.store");
    std::mt19937 random(20);
    int known = 0, old = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        int reports[2];
        ASSERT_EQ(pipe(reports), 0);
        const pid_t child = fork();
        const bool killsItself = kill % 20 == 0; // few of the other kills come after a commit
        if (child == 0) writeGenerations(path, known + 1, reports[1], killsItself);
        close(reports[1]);
        if (!killsItself) {
            for (unsigned left = random() % 3; left > 0; --left)
                ASSERT_EQ(read(reports[0], &known, sizeof known), ssize_t{sizeof known});
            for (volatile unsigned delay = random() % 2'000'000; delay > 0;) delay = delay - 1;
            ::kill(child, SIGKILL);
        }
        while (read(reports[0], &known, sizeof known) == sizeof known) {
        }
        close(reports[0]);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));

        SqliteStore store(path);
        ASSERT_TRUE(store.good()) << "kill " << kill;
        ASSERT_TRUE(store.verify()) << "kill " << kill;
        const int found = generationOf(store);
        ASSERT_TRUE(found == known || found == known + 1) << "kill " << kill;
        old += found == known;
        known = found;
    }
    std::printf("%d kills: %d old, %d new, none mixed\n", kKills, old, kKills - old);
    EXPECT_GT(old, 0) << "no kill came before a commit";
    EXPECT_LT(old, kKills) << "no kill came after a commit";
}

} // namespace
} // namespace qel
