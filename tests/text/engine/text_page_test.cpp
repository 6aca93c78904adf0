// Draws the examples of docs/text.md and compares them with its pictures.
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <tests/support/document_picture.h>
#include <tests/support/source_dir.h>
#include <tests/text/engine/engine_fixture.h>

#include <cstring>
#include <regex>
#include <sstream>

namespace qel {
namespace {

constexpr int kWidth = 320;
constexpr int kMargin = 8;
constexpr uint8 kBackground[3] = {38, 50, 56};

/// A row of a table of the page.
struct Example {
    std::string source;
    std::string picture; ///< name of the file without ".png"
    TextActor::Parser parser;
};

// Returns the text of the code spans of a cell; each "<br>" is a line feed.
std::string sourceOf(std::string cell) {
    cell = std::regex_replace(cell, std::regex("\\\\\\|"), "|");
    std::string source;
    bool isCode = false;
    for (size_t i = 0; i < cell.size(); ++i) {
        if (cell[i] == '`') {
            isCode = !isCode;
        } else if (isCode) {
            source += cell[i];
        } else if (cell.compare(i, 4, "<br>") == 0) {
            source += '\n';
        }
    }
    return source;
}

std::vector<Example> examplesOfPage() {
    static const std::regex row(R"(\| (.*) \| !\[\]\(images/text/([\w-]+)\.png\) \| .* \|)");
    std::vector<Example> examples;
    auto parser = TextActor::Parser::ControlCodes;
    std::istringstream page(test::sourceText("docs/text.md"));
    std::smatch match;
    for (std::string line; std::getline(page, line);) {
        if (line == "## Markdown") parser = TextActor::Parser::Markdown;
        if (std::regex_match(line, match, row)) examples.push_back({sourceOf(match[1]), match[2], parser});
    }
    return examples;
}

class TextPage : public test::ThemedTextEngine {
protected:
    void SetUp() override {
        ThemedTextEngine::SetUp();
        system().setEnv("user", "Ada");
        translate("greeting", "Good morning, {env:user}");
    }

    static SmartPointer<Image> draw(const Example& example) {
        SmartPointer<TextActor> text = makeObject<TextActor>();
        text->setParser(example.parser).setText(example.source.c_str()).setAlignToTotalWidth(true);
        const int height = text->getActualSize().y + 2 * kMargin;
        text->setBounds({float(kMargin), float(kMargin), float(kWidth - kMargin), float(height - kMargin)});
        SmartPointer<Image> image = makeObject<Image>(BGRA8, IVec2<int>(kWidth, height));
        const uint8 pixel[4] = {kBackground[2], kBackground[1], kBackground[0], 255};
        for (size_t i = 0; i < image->getByteSize(); i += 4)
            std::memcpy(image->getBytePointer() + i, pixel, sizeof pixel);
        RendererSoftware renderer;
        renderer.setRenderTarget(image.get());
        renderer.start();
        renderer.draw(text.get());
        renderer.stop();
        return image;
    }
};

TEST_F(TextPage, PicturesShowTheExamples) {
    test::LogCapture log;
    for (const Example& example : examplesOfPage())
        test::expectDocumentPicture("text/" + example.picture, *draw(example));
    log.expect(2, "tried to pop unavailable TR 'greeting' from parsed TRs");
}

TEST_F(TextPage, ShowsEveryControlCode) {
    std::string sources;
    for (const Example& example : examplesOfPage())
        if (example.parser == TextActor::Parser::ControlCodes) sources += example.source;
    for (const String& name : TextActor::getControlCodes())
        EXPECT_NE(sources.find("{" + name + (name.ends_with(':') ? "" : "}")), sources.npos) << name;
}

} // namespace
} // namespace qel
