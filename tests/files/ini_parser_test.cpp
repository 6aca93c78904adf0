#include <qel/files/ini_parser.h>

#include <qel/foundation/log/log_backend.h>
#include <qel/store/core/item.h>
#include <tests/files/file_fixture.h>

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace qel {
namespace {

class INIParserTest : public test::FileFixture {
protected:
    INIParser parse(std::string_view content) const {
        return INIParser(folder.write("x.ini", content).c_str());
    }
    /// Returns what a form of an accessor reads for a key; nothing if it returns false.
    template <typename T, typename... Fallback>
    static std::optional<T> get(bool (INIParser::*form)(SmartCStr, T&, Fallback...) const,
                                const INIParser& ini, const char* key, Fallback... fallback) {
        T value{};
        return (ini.*form)(key, value, fallback...) ? std::optional<T>(value) : std::nullopt;
    }
};

constexpr const char* kNumbers =
    "[n]\nhex=0x10\noct=010\nneg=-3\none=-1\ntext=abc\nhuge=99999999999999999999\n"
    "f=1.5e3 mm\n[test]\nA=5\nlong=7\n";

TEST_F(INIParserTest, NumbersAreReadFromTextAndDefaultsRounded) {
    const INIParser ini = parse(kNumbers);
    const std::pair<const char*, std::optional<int>> expected[] = {
        {"n:hex", 16}, {"N:OCT", 8}, {"n:neg", -3}, {"n:text", 0}, {"n:no", {}}, {"n:huge", INT_MAX}};
    for (const auto& [key, value] : expected)
        EXPECT_EQ(get<int>(&INIParser::getInteger, ini, key), value) << key;
    EXPECT_EQ(get<unsigned>(&INIParser::getInteger, ini, "n:one", 1u), 4'294'967'295u);
    EXPECT_FALSE(ini.hasEntry("n:one")) << "-1 counts as absent";
    EXPECT_EQ(get<float>(&INIParser::getFloat, ini, "n:f"), 1500.0f);
    EXPECT_EQ(get<double>(&INIParser::getFloat, ini, "n:no", 1.0 / 3), 0.333333);
}

TEST_F(INIParserTest, ABooleanIsReadFromItsFirstLetter) {
    const INIParser ini = parse("[b]\na=yes\nb=True\nc=1\nd=no\ne=FALSE\nf=0\ng=on\nh=\n");
    const std::optional<bool> expected[] = {true, true, true, false, false, false, {}, {}, {}};
    for (char letter = 'a'; letter <= 'i'; ++letter) {
        const std::string key = std::string("b:") + letter;
        EXPECT_EQ(get<bool>(&INIParser::getBoolean, ini, key.c_str()), expected[letter - 'a']) << letter;
    }
}

TEST_F(INIParserTest, TheKeysOfEverySectionAreThoseOfTest) {
    const auto section = [](const INIParser& ini, const std::string& name) {
        Item item;
        return ini.getSection(name, item) ? item.asString() : "false " + item.asString();
    };
    const INIParser ini = parse(kNumbers + std::string("[b]\na=1\n[longname]\na=1\nb=2\n"));
    EXPECT_EQ(section(ini, "test"), "{<STR:a><INT:5><STR:long><INT:7>}");
    EXPECT_EQ(section(ini, "b"), "{<STR:st:a><INT:5>}");
    EXPECT_EQ(section(ini, "longname"), "{<STR:><INT:5><STR:><INT:7>}")
        << "no byte after a key's end is read";
    EXPECT_EQ(section(ini, "n"), "false {}") << "the section has more keys than test";
}

// More keys than the library could load in acceptable time: in one section, and with a possible piece end at
// each line.
TEST_F(INIParserTest, ALargeFileIsLoadedInLinearTime) {
    constexpr int kKeys = 100'000;
    std::string content = "[first]\nkey=0\n  [ Many ]  \n";
    for (int i = 0; i < kKeys; ++i)
        content += "Key" + std::to_string(i) + " = " + std::to_string(i) + " ; note\n";
    content += "[first]\nkey=1\nlast=2";
    const INIParser ini = parse(content);
    ASSERT_TRUE(ini.isValid());
    for (const int i : {0, 1, 399, 4'321, 50'000, kKeys - 1})
        EXPECT_EQ(get<int>(&INIParser::getInteger, ini, ("many:key" + std::to_string(i)).c_str()), i);
    EXPECT_EQ(get<int>(&INIParser::getInteger, ini, "first:key"), 1) << "the last value is used";
    EXPECT_EQ(get<int>(&INIParser::getInteger, ini, "first:last"), 2);
    EXPECT_FALSE(ini.hasEntry("first:key7")) << "each key belongs to its own section";
    EXPECT_FALSE(parse(content.substr(0, content.find("Key9000 ")) + "broken\n").isValid());
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_THAT(lines[0].text, testing::ContainsRegex("syntax error in " + path("x.ini") +
                                                      " from line [0-9]+ on \\([0-9]+\\):\n-> broken"));
}

TEST_F(INIParserTest, AnUnusableFileHasNoKeys) {
    mkfifo(path("pipe").c_str(), 0600);
    folder.write("large", std::string(INIParser::kMaxFileSize + 1, '\n'));
    folder.write("broken", "[a]\nno equals sign\n");
    EXPECT_TRUE(parse(std::string(INIParser::kMaxFileSize, '\n')).isValid());
    const std::string good = folder.write("good", "[a]\nb=1\n");
    int loaded = 0;
    LogBackend::getSignalNewLogMessage().connect(
        [&](int, const char*) { loaded += INIParser(good.c_str()).hasEntry("a:b"); });
    for (const char* name : {"missing", "pipe", "large", ".", "broken"}) {
        const INIParser ini(path(name).c_str());
        EXPECT_FALSE(ini.isValid()) << name;
        EXPECT_FALSE(get<int>(&INIParser::getInteger, ini, "a:b", 1)) << name;
    }
    LogBackend::unregisterBackend();
    EXPECT_EQ(loaded, 4) << "listeners of the log may load files";
    log.expect(3, "iniparser: syntax error in " + path("broken") + " (2):\n-> no equals sign");
    EXPECT_EQ(log.take().size(), 3u) << "a missing file is not an error";
}

} // namespace
} // namespace qel
