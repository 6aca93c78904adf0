// Whole runs of the hosts in which one operation fails. QEL_LIST_FAULTS=1 prints their number;
// QEL_ALL_FAULTS=1 makes each of them fail, instead of kSteps that are spread evenly.
#include <hosts/jobs/file_access.h>
#include <hosts/jobs/job_packets.h>
#include <qel/imaging/pixels/image.h>
#include <qel/packet/packet.h>
#include <tests/hosts/host_run.h>
#ifdef QELVIEWER_PROGRAM
#include <tests/hosts/qelviewer_fixture.h>
#endif
#include <tests/support/fault_plan.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <tuple>
#include <utility>

namespace qel::test {
namespace {

constexpr int kSteps = 15;

using Folder = const ScratchFolder&;
using Words = std::vector<std::string>;

Words faultyEnvironment(int failAt, Lasting lasting, Folder reports) {
    return {"env", "LD_PRELOAD=" QEL_FAULT_PRELOAD,
            "QEL_FAULTS=" + std::to_string(failAt) + " " + std::to_string(static_cast<int>(lasting)),
            "QEL_FAULTS_REPORT=" + reports.path("report"), "HOME=" + reports.path()};
}

std::pair<int, std::string> readReport(Folder reports) {
    std::pair<int, std::string> report{-1, "unknown"};
    if (reports.has("report")) std::istringstream(reports.read("report")) >> report.first >> report.second;
    return report;
}

/// A run of a host in a scratch folder.
struct HostCase {
    const char* name;
    void (*prepare)(Folder folder);
    Words command;
    /// A script of the shell that runs the disturbed command, "$@"; empty to run it directly.
    const char* script;
    /// Returns the result of the run, without the parts that differ from run to run.
    std::string (*result)(Folder folder, const HostRun& run);
};

std::ostream& operator<<(std::ostream& out, const HostCase& hostCase) {
    return out << hostCase.name;
}

struct FaultyRun {
    HostRun run;
    std::string result;
    int operations = 0;
    std::string failed;
    Words files;
};

Words filesIn(Folder folder) {
    Words names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
        names.push_back(std::filesystem::relative(entry.path(), folder.path()).string());
    std::sort(names.begin(), names.end());
    return names;
}

/// Runs a host in a new folder. @param environment  words before its command.
FaultyRun runIn(const HostCase& hostCase, const Words& environment) {
    const ScratchFolder folder;
    hostCase.prepare(folder);
    Words command;
    if (*hostCase.script) command = {"/bin/sh", "-c", hostCase.script, QELSERVER_PROGRAM};
    for (const Words& words : {environment, hostCase.command})
        command.insert(command.end(), words.begin(), words.end());
    FaultyRun result;
    result.run = runProgram(folder, command);
    result.result = hostCase.result(folder, result.run);
    result.files = filesIn(folder);
    return result;
}

FaultyRun runHost(const HostCase& hostCase, int failAt, Lasting lasting) {
    const ScratchFolder reports;
    FaultyRun result = runIn(hostCase, faultyEnvironment(failAt, lasting, reports));
    std::tie(result.operations, result.failed) = readReport(reports);
    return result;
}

void prepareTree(Folder folder) {
    for (const char* name : {"tree/a", "tree/sub/b", "tree/sub/c"}) folder.write(name, name);
}
void prepareScript(Folder folder) {
    folder.write("plugins/a/main.sq", "import(\"qel.File\")\nlocal size = qel.File.getFileSize(\"tree/a\")\n"
                                      "if (size == 0) throw \"no size\"\nhost.print(\"size \" + size)");
    prepareTree(folder);
}

std::string catalogueOf(Folder folder, const HostRun&) {
    if (!folder.has("result/catalogue.csv") || !folder.has("result/summary.txt")) return "";
    std::istringstream lines(folder.read("result/catalogue.csv"));
    Words names;
    for (std::string line; std::getline(lines, line);) names.push_back(line.substr(0, line.find(',')));
    std::sort(names.begin(), names.end());
    std::string result;
    for (const std::string& name : names) result += name + "\n";
    return result;
}

/// Runs a server ($0) in memory, and calls it.
constexpr const char* kCallScript = R"(
mkfifo lines
"$0" --socket socket --memory --workers 0 >lines 2>&1 & pid=$!; exec 3<lines
while read -r line <&3; do case $line in *"serving on"*) break;; esac; done
"$@"; status=$?
kill -TERM $pid; cat <&3 >/dev/null; wait $pid
exit $status)";

/// Gives a worker its job, passes on what it writes, and closes its input after the answer.
constexpr const char* kWorkerScript = R"sh(
mkfifo in out
timeout --foreground -k 60 20 "$@" <in >out & pid=$!; exec 4>in 5<out
cat jobs >&4
while read -r line <&5; do echo "$line"; case $line in "$(cat result)"*|"$(cat failure)"*) break;; esac; done
exec 4>&-; cat <&5; wait $pid)sh";

/// Returns the beginning that the lines of all packets of a scheme have in common, up to the id.
std::string beginOf(PacketScheme* scheme) {
    return Packet(scheme, 0).convertToBase16String().substr(0, std::strlen("PKTB16[") + 12);
}

/// Writes the packet of a job on a file, and the beginnings of its answers.
void prepareJob(Folder folder) {
    prepareTree(folder);
    qeljobs::FileAccess access;
    access.user.user = platform::userId();
    Packet job(qeljobs::jobScheme(), 0);
    job.setInteger("attempt", 1);
    job.setString("kind", "hash");
    job.setItem("files", Item(folder.path("tree/a")));
    job.setItem("access", access.toItem());
    folder.write("jobs", std::string(job.convertToBase16String()) + "\n");
    folder.write("result", beginOf(qeljobs::resultScheme()));
    folder.write("failure", beginOf(qeljobs::failureScheme()));
}

/// Returns "answered" if the worker has sent a result or a failure.
std::string answerOfWorker(Folder folder, const HostRun& run) {
    for (const char* kind : {"result", "failure"})
        if (run.out.find(folder.read(kind)) != std::string::npos) return "answered";
    return "none";
}

/// Writes pictures, a text and an old output.
void preparePictures(Folder folder) {
    folder.write("pictures/text", "hello");
    folder.write("sheet.png", "old");
    for (const int side : {1, 40, 300}) {
        Image image(RGBA8, {side, side});
        std::fill_n(image.getBytePointer(), image.getByteSize(), static_cast<uint8>(side));
        const std::string path = folder.path("pictures/" + std::to_string(side) + ".png");
        EXPECT_TRUE(image.saveTo(path.c_str()));
    }
}
std::string sheetOf(Folder folder, const HostRun&) {
    return folder.read("sheet.png");
}

#ifdef QELVIEWER_PROGRAM // is built where SDL2 is installed
/// Writes a text for the reader, the commands that draw it, and an old frame.
void prepareScreens(Folder folder) {
    folder.write("text.md", "A **text**");
    folder.write("events", "frame frame.png\n");
    folder.write("frame.png", "old");
}

/// Writes a small volume and an old picture.
void prepareVolume(Folder folder) {
    writeOctant(folder);
    folder.write("picture.png", "old");
}
#endif

/// Draws the sheet of the pictures.
HostCase sheetCase() {
    return {"qelimage, a sheet is drawn",
            preparePictures,
            {QELIMAGE_PROGRAM, "sheet", "pictures", "sheet.png"},
            "",
            sheetOf};
}

std::vector<HostCase> hostCases() {
    const std::string resources = sourceDir() + "/resources", plugins = resources + "/plugins";
    Words catalogue{QELHOST_PROGRAM, "--plugins", plugins, "--resources", resources, "--language"};
    catalogue.insert(catalogue.end(), {"en", "tree", "--out", "result"});
    std::vector<HostCase> cases{
        {"qelhost, the catalogue", prepareTree, catalogue, "", catalogueOf},
        {"qelhost, a script",
         prepareScript,
         {QELHOST_PROGRAM, "--plugins", "plugins"},
         "",
         [](Folder, const HostRun& run) {
             return std::string(run.out.find("size 6") != std::string::npos ? "size 6" : "none");
         }},
        {"qelcall, an option is read",
         prepareTree,
         {QELCALL_PROGRAM, "--socket", "socket", "--timeout", "3", "advanced_option_get",
          "server:job_attempts"},
         kCallScript,
         [](Folder, const HostRun& run) { return run.out; }},
        {"qelimage, a picture is converted",
         preparePictures,
         {QELIMAGE_PROGRAM, "convert", "pictures/40.png", "sheet.png", "--size", "50x30"},
         "",
         sheetOf},
        sheetCase(),
        {"qelworker, a file is hashed", prepareJob, {QELWORKER_PROGRAM}, kWorkerScript, answerOfWorker},
    };
#ifdef QELSCREENS_PROGRAM // is built where SDL2 is installed
    Words screens{QELSCREENS_PROGRAM, "--resources", resources, "--language", "en", "--page", "6"};
    screens.insert(screens.end(), {"--width", "300", "--height", "200", "--frames", "pages"});
    screens.insert(screens.end(), {"--events", "events", "text.md"});
    cases.push_back({"qelscreens, a frame is written", prepareScreens, screens, "",
                     [](Folder folder, const HostRun&) { return folder.read("frame.png"); }});
    Words viewer = viewerCommand("300x200");
    viewer.insert(viewer.end(), {"--screenshot", "picture.png", "octant.nrrd"});
    cases.push_back({"qelviewer, a picture is written", prepareVolume, viewer, "",
                     [](Folder folder, const HostRun&) { return folder.read("picture.png"); }});
#endif
    return cases;
}

TEST(HostInterrupts, KeepTheOldOutputUntilTheNewOneIsComplete) {
    const auto run = [](int at) {
        return runIn(sheetCase(),
                     {"env", "LD_PRELOAD=" QEL_FAULT_PRELOAD, "QEL_INTERRUPT=" + std::to_string(at)});
    };
    const FaultyRun undisturbed = run(-1);
    ASSERT_EQ(undisturbed.run.status, 0) << undisturbed.run;
    int at = 0;
    for (int status = -1; status != 0; ++at) {
        const FaultyRun interrupted = run(at);
        status = interrupted.run.status;
        EXPECT_THAT(status, testing::AnyOf(0, 130)) << interrupted.run;
        EXPECT_EQ(interrupted.result, status == 0 ? undisturbed.result : "old") << "operation " << at;
        EXPECT_EQ(interrupted.files, undisturbed.files);
    }
    EXPECT_GT(at, 20) << "the program was not interrupted";
}

/// Runs a server ($0) that the words from $2 on disturb, lets a client ($1) set an option, stops the server,
/// and asks an undisturbed one for the option. A server that hangs is killed after a minute. Without
/// --foreground, the signal that ends the server would be followed by a SIGCONT, which cancels the SIGSTOP by
/// which the leak sanitizer stops threads at the end, so that it would wait without limit.
constexpr const char* kServerScript = R"(
server=$0 client=$1 socket=$PWD/socket; shift
start() {
    timeout --foreground -s KILL 60 "$@" "$server" --socket "$socket" --data records.store --workers 0 >>log 2>&1 & pid=$!
    until grep -q " 00010000 .* $socket\$" /proc/net/unix || ! kill -0 $pid 2>/dev/null; do sleep 0.02; done
}
stop() { kill -TERM $pid; wait $pid; }
start "$@"
"$client" --socket "$socket" --timeout 3 test_advanced_option_set '["server:job_attempts", "5"]' >reply 2>&1
if [ $? = 0 ]; then echo acknowledged; fi
stop; status=$?
cat log >&2
start
"$client" --socket "$socket" --timeout 3 advanced_option_get server:job_attempts
stop
exit $status)";

/// Makes the operations of a run fail: all of them, or some that are spread evenly. Prints their number on
/// request. @param check  makes the operation of a number fail and checks the run.
template <typename Check>
void disturb(const char* name, const FaultyRun& undisturbed, Lasting lasting, const Check& check) {
    ASSERT_EQ(undisturbed.run.status, 0) << undisturbed.run;
    ASSERT_GT(undisturbed.operations, 0) << "the library was not preloaded: " << undisturbed.run;
    const int step = std::getenv("QEL_ALL_FAULTS") ? 1 : std::max(1, undisturbed.operations / kSteps);
    for (int at = 0; at < undisturbed.operations; at += step) check(at);
    if (std::getenv("QEL_LIST_FAULTS") && lasting == Lasting::Once)
        std::printf("%-60s %5d\n", name, undisturbed.operations);
}

const auto kLastings = testing::Values(Lasting::Once, Lasting::SameKind, Lasting::Everything);

class HostFaults : public testing::TestWithParam<std::tuple<HostCase, Lasting>> {
protected:
    /// Returns true if the output of the host can work after the fault.
    bool canWrite(const FaultyRun& run) const {
        const Lasting lasting = std::get<1>(GetParam());
        return lasting == Lasting::Once || (lasting == Lasting::SameKind && run.failed != "Write");
    }

    void check(const FaultyRun& run, const FaultyRun& undisturbed) const {
        EXPECT_LT(run.run.status, 128) << "ended by a signal: " << run.run;
        if (run.run.status == 0) {
            EXPECT_EQ(run.result, undisturbed.result) << "status 0 without the whole result: " << run.run;
            EXPECT_EQ(run.files, undisturbed.files);
            return;
        }
        if (canWrite(run)) {
            EXPECT_NE(run.run.out + run.run.error, "") << "a failure without a word";
        }
        if (std::get<1>(GetParam()) != Lasting::Once) return;
        EXPECT_THAT(run.files, testing::IsSubsetOf(undisturbed.files)) << "files are left behind";
    }
};

TEST_P(HostFaults, EndWithAnErrorStatus) {
    const auto& [hostCase, lasting] = GetParam();
    const FaultyRun undisturbed = runHost(hostCase, -1, lasting);
    disturb(hostCase.name, undisturbed, lasting, [&](int at) {
        const FaultyRun run = runHost(std::get<0>(GetParam()), at, std::get<1>(GetParam()));
        SCOPED_TRACE("operation " + std::to_string(at) + ", " + run.failed);
        check(run, undisturbed);
    });
}

INSTANTIATE_TEST_SUITE_P(Hosts, HostFaults, testing::Combine(testing::ValuesIn(hostCases()), kLastings));

class ServerFaults : public testing::TestWithParam<Lasting> {
protected:
    FaultyRun runServer(int failAt) const {
        const ScratchFolder folder;
        const ScratchFolder reports;
        Words command{"/bin/sh", "-c", kServerScript, QELSERVER_PROGRAM, QELCALL_PROGRAM};
        for (const std::string& word : faultyEnvironment(failAt, GetParam(), reports))
            command.push_back(word);
        FaultyRun result;
        result.run = runProgram(folder, command);
        std::tie(result.operations, result.failed) = readReport(reports);
        return result;
    }
};

TEST_P(ServerFaults, LoseNothingThatWasAcknowledged) {
    const std::string kAcknowledgedAndStored = "acknowledged\n\"5\"\n";
    const FaultyRun undisturbed = runServer(-1);
    ASSERT_EQ(undisturbed.run.out, kAcknowledgedAndStored) << undisturbed.run;
    disturb("qelserver, an option is set", undisturbed, GetParam(), [&](int at) {
        const FaultyRun faulty = runServer(at);
        SCOPED_TRACE("operation " + std::to_string(at) + ", " + faulty.failed);
        EXPECT_LT(faulty.run.status, 128) << "ended by a signal: " << faulty.run;
        if (faulty.run.out.starts_with("acknowledged")) {
            EXPECT_EQ(faulty.run.out, kAcknowledgedAndStored) << faulty.run;
        }
        if (faulty.run.status != 0) {
            EXPECT_NE(faulty.run.error, "") << "a failure without a word";
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Hosts, ServerFaults, kLastings);

} // namespace
} // namespace qel::test
