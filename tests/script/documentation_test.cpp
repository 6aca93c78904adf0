// Runs the examples of docs/scripting.md.
#include "script_fixture.h"

#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>

#include <sstream>

namespace {

using qel::test::LogCapture;
using qel::test::partsOf;
using qel::test::sourceText;
using qelSq::Object;

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

} // namespace
