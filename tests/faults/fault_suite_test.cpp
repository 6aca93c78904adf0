// Makes each operation of each case fail, one after the other, in three ways. QEL_LIST_FAULTS=1 prints the
// number of operations.
#include <gmock/gmock.h>
#include <tests/faults/fault_case.h>
#include <tests/support/fault_plan.h>
#include <tests/support/faulty_database.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

namespace qel::test {

namespace fs = std::filesystem;

Content contentOfFolder(const ScratchFolder& folder) {
    Content content;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
        const std::string name =
            fs::relative(entry.path().parent_path(), folder.path()) / entry.path().filename();
        if (entry.is_symlink())
            content[name] = "link to " + fs::read_symlink(entry.path()).string();
        else
            content[name] = entry.is_directory() ? "folder" : folder.read(name);
    }
    return content;
}

std::ostream& operator<<(std::ostream& out, const FaultCase& faultCase) {
    return out << faultCase.name;
}

namespace {

/// Returns the targets of the process's open descriptors.
std::multiset<std::string> openFiles() {
    std::multiset<std::string> files;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        files.insert(fs::read_symlink(entry.path(), error).string());
    }
    return files;
}

/// The results of a run.
struct RunReport {
    Outcome outcome;
    Content before;
    Content after;
    int operations = 0;
    std::optional<platform::Operation> failed;
    bool hasLogged = false;
    std::string log;
};

/// Removes the name of the scratch folder, which is different each time, from the text.
std::string withoutFolder(std::string text, const ScratchFolder& folder) {
    for (size_t at = 0; (at = text.find(folder.path(), at)) != std::string::npos;)
        text.replace(at, folder.path().size(), "$");
    return text;
}

/// Runs a case in a new folder.
RunReport runCase(const FaultCase& faultCase, int failAt, Lasting lasting, bool isShort = false) {
    const ScratchFolder folder;
    RunReport report;
    faultCase.prepare(folder);
    report.before = faultCase.content(folder);
    const auto filesBefore = openFiles();
    LogCapture log;
    {
        FaultPlan plan(failAt, lasting);
        if (isShort) plan.makeShort();
        if (faultCase.flags & kCrossesDisks) plan.crossDisks();
        report.outcome = faultCase.run(folder);
        plan.stop();
        report.operations = plan.count();
        report.failed = plan.failed();
    }
    EXPECT_EQ(openFiles(), filesBefore) << "descriptors stay open";
    for (const LogLine& line : log.take()) {
        if (line.level >= 2) report.hasLogged = true;
        report.log += line.text + "\n";
    }
    report.outcome.value = withoutFolder(report.outcome.value, folder);
    report.after = faultCase.content(folder);
    log.take();
    return report;
}

class EveryFault : public testing::TestWithParam<std::tuple<FaultCase, Lasting>> {
protected:
    static void SetUpTestSuite() { installFaultyDatabase(); }

    void SetUp() override {
        Clock::install(&m_clock);
        System::initialize({});
    }
    void TearDown() override {
        Object::setSingleton("deleteLater", nullptr);
        System::deinitialize();
        Clock::install(nullptr);
    }

    const FaultCase& faultCase() const { return std::get<0>(GetParam()); }
    Lasting lasting() const { return std::get<1>(GetParam()); }
    bool has(CaseFlags flag) const { return faultCase().flags & flag; }

    /// Returns true if the operation could clean up after the fault.
    bool couldCleanUp(const RunReport& run) const {
        return lasting() == Lasting::Once ||
               (lasting() == Lasting::SameKind && run.failed != platform::Operation::Remove);
    }

    static bool isAsUndisturbed(const RunReport& run, const RunReport& undisturbed) {
        return run.outcome.value == undisturbed.outcome.value && run.after == undisturbed.after;
    }

    void expectNothingTorn(const RunReport& run, const RunReport& undisturbed) const {
        const Content& oldContent = run.before;
        const Content& newContent = undisturbed.after;
        if (has(kWhole)) {
            EXPECT_THAT(run.after, testing::AnyOf(oldContent, newContent)) << "neither old nor new";
            return;
        }
        for (const auto& [name, value] : run.after) {
            if (!oldContent.contains(name) && !couldCleanUp(run)) continue;
            std::set<std::string> expected;
            for (const Content* content : {&oldContent, &newContent}) {
                const auto found = content->find(name);
                if (found != content->end()) expected.insert(found->second);
            }
            EXPECT_FALSE(expected.empty()) << name << " is left behind";
            if (expected.empty() || has(kMayTear)) continue;
            EXPECT_TRUE(expected.contains(value)) << name << " is torn: " << value;
        }
        for (const auto& [name, value] : oldContent) {
            if (!newContent.contains(name) || has(kMayStop)) continue;
            EXPECT_TRUE(run.after.contains(name)) << name << " is lost";
        }
    }

    void check(const RunReport& run, const RunReport& undisturbed) const {
        if (has(kLoggedOnly) ? isAsUndisturbed(run, undisturbed) : run.outcome.worked) {
            EXPECT_EQ(run.outcome.value, undisturbed.outcome.value) << "a wrong result is reported as right";
            EXPECT_EQ(run.after, undisturbed.after) << "reported as done, but not done";
            return;
        }
        const bool isReportedByResult = has(kSilent) && !run.outcome.worked;
        if (!isReportedByResult) {
            EXPECT_TRUE(run.hasLogged) << "no warning or error is logged";
        }
        expectNothingTorn(run, undisturbed);
    }

private:
    ManualClock m_clock{1'000'000'000};
};

TEST_P(EveryFault, IsReportedAndLeavesNoTornFile) {
    const RunReport undisturbed = runCase(faultCase(), -1, lasting());
    ASSERT_TRUE(undisturbed.outcome.worked) << undisturbed.log;
    int at = 0;
    for (;; ++at) {
        const RunReport run = runCase(faultCase(), at, lasting());
        if (!run.failed) break;
        SCOPED_TRACE("operation " + std::to_string(at) + ", " + platform::operationName(*run.failed) +
                     ", logged: " + run.log);
        check(run, undisturbed);
        ASSERT_LT(at, 10'000) << "does not end";
    }
    if (!has(kVaries)) {
        EXPECT_EQ(at, undisturbed.operations) << "the number of operations is not the same each time";
    }
    RecordProperty("operations", at);
    if (std::getenv("QEL_LIST_FAULTS") && lasting() == Lasting::Once)
        std::printf("%-60s %5d\n", faultCase().name, at);
}

std::vector<FaultCase> allCases() {
    std::vector<FaultCase> all;
    for (const auto& cases : {fileCases(), treeCases(), storeCases(), systemCases()})
        all.insert(all.end(), cases.begin(), cases.end());
    return all;
}

const auto kLastings = testing::Values(Lasting::Once, Lasting::SameKind, Lasting::Everything);

std::string nameOf(const testing::TestParamInfo<std::tuple<FaultCase, Lasting>>& info) {
    std::ostringstream out;
    out << std::get<0>(info.param) << '_' << std::get<1>(info.param);
    std::string name = out.str();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, EveryFault, testing::Combine(testing::ValuesIn(allCases()), kLastings),
                         nameOf);

class ShortTransfers : public testing::TestWithParam<FaultCase> {};

TEST_P(ShortTransfers, ChangeNothing) {
    const FaultCase& faultCase = GetParam();
    const RunReport undisturbed = runCase(faultCase, -1, Lasting::Once);
    const RunReport inBytes = runCase(faultCase, -1, Lasting::Once, true);
    EXPECT_TRUE(inBytes.outcome.worked) << inBytes.log;
    EXPECT_EQ(inBytes.outcome.value, undisturbed.outcome.value);
    EXPECT_EQ(inBytes.after, undisturbed.after);
}

INSTANTIATE_TEST_SUITE_P(Files, ShortTransfers, testing::ValuesIn(fileCases()), [](const auto& entry) {
    return nameOf({{entry.param, Lasting::Once}, entry.index});
});

} // namespace
} // namespace qel::test
