#include <tests/hosts/display_fixture.h>

#include <cstdlib>

namespace qel::test {

void DisplayFixture::SetUp() {
    const std::string missing = VirtualDisplay::getMissingProgram();
    if (!missing.empty()) GTEST_SKIP() << missing << " is not installed";
    display = &VirtualDisplay::shared();
}

// --- actions -----------------------------------------------------------------------------------------------

void DisplayFixture::startManager() {
    manager.emplace(std::vector<std::string>{"matchbox-window-manager", "-use_titlebar", "no"},
                    folder.path());
    ASSERT_TRUE(until([] { return true; }, {"wmctrl", "-m"})) << manager->getOutput();
}

void DisplayFixture::start(const std::vector<std::string>& arguments) {
    act({"xdotool", "mousemove", "5", "590"});
    const char* const options = std::getenv("ASAN_OPTIONS");
    std::vector<std::string> words{"env",
                                   "ASAN_OPTIONS=" + std::string(options ? options : "") + ":detect_leaks=0",
                                   "DBUS_SESSION_BUS_ADDRESS=disabled:"};
    for (const std::string& word : command(arguments)) words.push_back(word);
    words.insert(words.end(), {"--events", "/dev/stdin"});
    host.emplace(words, folder.path());
    ASSERT_TRUE(awaitState("visible=1"));
    if (!manager) actOnWindow({"windowmove", "0", "0", "windowfocus"});
    ASSERT_TRUE(awaitKeyboard()) << tool;
}

void DisplayFixture::open(const std::vector<std::string>& arguments) {
    ASSERT_NO_FATAL_FAILURE(startManager());
    ASSERT_NO_FATAL_FAILURE(start(arguments));
}

void DisplayFixture::use(std::vector<std::string> words) {
    words.insert(words.begin(), {"timeout", "-k", "5", "60"});
    tool = runProgram(folder, words);
}

void DisplayFixture::act(const std::vector<std::string>& words) {
    use(words);
    EXPECT_EQ(tool.status, 0) << tool;
}

void DisplayFixture::actOnWindow(const std::vector<std::string>& commands) {
    std::vector<std::string> words{"xdotool", "search", "--name", "^" + m_name + "$"};
    words.insert(words.end(), commands.begin(), commands.end());
    act(words);
}

// --- waits -------------------------------------------------------------------------------------------------

bool DisplayFixture::until(const std::function<bool()>& isDone, const std::vector<std::string>& words) {
    for (int i = 0; i < kMostLooks / 10; ++i) {
        use(words);
        if (tool.status == 0 && isDone()) return true;
    }
    return false;
}

bool DisplayFixture::untilState(const std::function<bool(const std::string& state)>& isDone) {
    std::string line = "first";
    for (int i = 0; i < kMostLooks && !line.empty(); ++i)
        if (line = state(); !line.empty() && isDone(line)) return true;
    ADD_FAILURE() << "not after '" << line << "'";
    return false;
}

std::string DisplayFixture::state() {
    host->writeLine("state");
    std::string line;
    while (host->readLine(line))
        if (line.starts_with("frames=")) return line;
    return {};
}

int DisplayFixture::stateNumber(const std::string& name) {
    const std::string line = " " + state();
    const size_t at = line.find(" " + name + "=");
    EXPECT_NE(at, line.npos) << line;
    return at == line.npos ? -1 : std::atoi(line.c_str() + at + name.size() + 2);
}

bool DisplayFixture::awaitState(const std::string& part) {
    const bool isDone = untilState([&](const std::string& line) { return line.find(part) != line.npos; });
    EXPECT_TRUE(isDone) << part;
    return isDone;
}

bool DisplayFixture::awaitKeyboard() {
    return until([this] { return tool.out == m_name + "\n"; },
                 {"xdotool", "getwindowfocus", "getwindowname"});
}

bool DisplayFixture::awaitStandstill() {
    for (int i = 0, before = -1; i < kMostLooks / 10; ++i) {
        const int now = stateNumber("frames");
        if (now == before) return true;
        before = now;
        host->writeLine("wait 300");
    }
    return false;
}

Image DisplayFixture::pictureAfter(const std::string& events,
                                   const std::vector<std::string>& arguments) const {
    const HostRun run = play(events + "frame expected.png\n", arguments);
    EXPECT_EQ(run.status, 0) << run;
    return load("expected.png");
}

bool DisplayFixture::awaitPicture(const Image& picture) {
    for (int i = 0; i < kMostLooks && !state().empty(); ++i)
        if (display->shows(picture)) return true;
    if (const auto pixel = display->findDifference(picture))
        ADD_FAILURE() << "differs at " << pixel->x << ", " << pixel->y << "; " << state();
    return false;
}

} // namespace qel::test
