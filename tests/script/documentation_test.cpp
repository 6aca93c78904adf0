// Runs the examples of docs/scripting.md and checks that the page is complete.
#include "script_fixture.h"

#include <qel/script/async_queue.h>
#include <qel/script/native_class.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>

#include <iterator>
#include <set>
#include <sstream>

namespace {

using qel::test::LogCapture;
using qel::test::partsOf;
using qel::test::sourceText;
using qelSq::Object;

std::set<std::string> wordsOf(std::string page) {
    std::replace_if(
        page.begin(), page.end(), [](unsigned char c) { return !std::isalnum(c) && c != '_'; }, ' ');
    std::istringstream words(page);
    return {std::istream_iterator<std::string>(words), {}};
}

/// Returns the output that @p example states.
std::vector<std::string> promisedBy(const std::string& example) {
    std::vector<std::string> output;
    std::istringstream lines(example);
    for (std::string line; std::getline(lines, line);) {
        const size_t mark = line.find("//> ");
        if (mark != line.npos) output.push_back(line.substr(mark + 4));
    }
    return output;
}

class ScriptDocumentation : public qel::test::ScriptFixture {
protected:
    /// Runs @p source as a script thread until all threads have ended. @return the first line of each log
    /// entry.
    std::vector<std::string> outputOf(const std::string& source) {
        const qel::test::ScratchFolder folder;
        vm().getRootTable().set("folder", Object::of(folder.path()));
        LogCapture capture;
        start(source);
        for (int i = 0; i < 1000 && vm().threadsActive(); ++i) pass(1);
        std::vector<std::string> output;
        for (const auto& line : capture.take()) output.push_back(line.text.substr(0, line.text.find('\n')));
        return output;
    }

    /// Checks that the page names all slots of a table, or all members of a class.
    void expectSlotsNamed(const std::set<std::string>& words, Object table, const std::string& where) {
        for (const auto& [key, value] : table.asTable().getKeyValuePairs()) {
            const std::string name = key.asString();
            EXPECT_TRUE(name.starts_with("__qel_") || words.contains(name)) << name << " of " << where;
        }
        if (table.isNativeClass()) expectSlotsNamed(words, table.rawget("__qel_getTable"), where);
    }
};

TEST_F(ScriptDocumentation, EveryExamplePrintsTheStatedOutput) {
    const auto examples = partsOf(sourceText("docs/scripting.md"), "\n```squirrel\n", "\n```\n");
    ASSERT_GT(examples.size(), 20u);
    for (const std::string& example : examples) {
        EXPECT_EQ(outputOf(example), promisedBy(example)) << "docs/scripting.md:\n" << example;
        TearDown();
        SetUp();
    }
}

TEST_F(ScriptDocumentation, EverySlotAndMemberIsDocumented) {
    const std::set<std::string> page = wordsOf(sourceText("docs/scripting.md"));
    expectSlotsNamed(page, vm().getRootTable(), "the root table");
    for (const char* name : {"std", "string", "math", "qel", "util", "global"}) {
        expectSlotsNamed(page, vm().getRootTable().get(name), name);
    }
    for (const char* name : {"IVec2", "IVec3", "IVec4", "GregorianDate", "Rect", "Directory", "File", "GUID",
                             "HumanFriendlyKey", "Image", "QRCodeGenerator"}) {
        vm().import((std::string("qel.") + name).c_str());
        Object cls = vm().getRootTable().get("qel").get(name);
        ASSERT_TRUE(cls.isNativeClass()) << name;
        expectSlotsNamed(page, cls, name);
    }
    run("import(\"qel.System\"); ::cls <- qel.System().getclass()");
    expectSlotsNamed(page, vm().getRootTable().get("cls"), "System");
    expectSlotsNamed(page, qelSq::NativeClass<qelSq::AsyncQueue>::get(vm().getSquirrelVM()), "AsyncQueue");
}

} // namespace
