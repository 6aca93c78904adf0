// Texts of any bytes, with any style and place and in fonts of any sizes, drawn on a target of 64 by 64
// pixels. Nothing is written outside the clip, the fast functions draw what the plain ones do, and a text
// that is laid out again has the same lines.
//
// The first bytes select the style; the rest is the text.
#include <fuzz/drawn_bytes.h>
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>
#include <qel/testing/drawing.h>
#include <qel/text/engine/text_actor.h>
#include <tests/render/random_drawing.h>
#include <tests/text/engine/drawn_font.h>

#include <array>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace qel;

constexpr size_t kStyleBytes = 80;

ManualClock g_clock{1'000'000'000};

/// A font whose glyphs have sizes from the input.
class AnyFont : public test::DrawnFont {
    QEL_CLASS(AnyFont, DrawnFont)

public:
    explicit AnyFont(DrawnBytes& bytes) : DrawnFont(static_cast<int8_t>(bytes.draw(256))) {
        for (int16& number : m_numbers) {
            const auto small = static_cast<int16>(static_cast<int8_t>(bytes.draw(256)));
            number = bytes.draw(8) == 0 ? static_cast<int16>(small * 256) : static_cast<int16>(small / 8);
        }
        m_numbers[0] = 6;
    }

    int getKerning(uint32 first, uint32 second) override { return number(first * 3 + second) / 4; }

protected:
    bool fetchGlyph(uint32 codePoint, Character& out) override {
        DrawnFont::fetchGlyph(codePoint, out);
        if (codePoint % 4 == 0) return true;
        out.xAdvance = number(codePoint);
        out.xOffset = number(codePoint + 1);
        out.yOffset = static_cast<int16>(number(codePoint + 2) - 7);
        if (codePoint % 4 == 1) out.width = number(codePoint + 3); // is scaled
        return true;
    }

private:
    int16 number(uint32 i) const { return m_numbers[i % m_numbers.size()]; }

    std::array<int16, 8> m_numbers{};
};

float coordinate(DrawnBytes& bytes) {
    switch (bytes.draw(16)) {
    case 0:
        return std::numeric_limits<float>::quiet_NaN();
    case 1:
        return 1e9f;
    case 2:
        return -1e9f;
    case 3:
        return std::numeric_limits<float>::infinity();
    default:
        return static_cast<float>(bytes.draw(256)) / 2 - 32;
    }
}

Rect rect(DrawnBytes& bytes) {
    const float left = coordinate(bytes), top = coordinate(bytes);
    const float width = coordinate(bytes);
    return {left, top, left + width, top + coordinate(bytes)};
}

IVec4<float> color(DrawnBytes& bytes) {
    if (bytes.draw(2) == 0) return {1, 1, 1, 1};
    const auto channel = [&] { return static_cast<float>(bytes.draw(256)) / 200; };
    return {channel(), channel(), channel(), channel()};
}

/// Sets everything but the text.
void setStyle(TextActor& text, DrawnBytes& bytes) {
    const auto align = [&] { return static_cast<TextAlign>(bytes.draw(11)); };
    const auto flag = [&] { return bytes.draw(2) == 1; };
    constexpr int kWraps[] = {0, 0, -1, -1, 1, 20, 60, std::numeric_limits<int>::max()};
    text.setParser(static_cast<TextActor::Parser>(bytes.draw(4)));
    text.setTrimEOT(flag()).setColor(color(bytes)).setShadow(flag()).setBounds(rect(bytes));
    text.setHorizontalAlign(align()).setVerticalAlign(align()).setAlignToTotalWidth(flag());
    const int wrap = kWraps[bytes.draw(8)];
    text.setWordWrap(wrap, flag()).setLineScrolling(flag()).setAutoSize(bytes.draw(8) == 0);
    const int cursor = static_cast<int>(bytes.draw(40)) - 8;
    text.setCursorSelection(cursor, static_cast<int>(bytes.draw(40)));
}

/// Draws the text on a target with other bytes around and between its rows.
test::DrawnFrame draw(TextActor& text, const IVec4<int>& clip, seams::DrawingMode mode) {
    test::DrawnFrame frame{BGRA8, {64, 64}, clip, {}};
    frame.memory.resize(static_cast<size_t>(frame.pitch() * 64 + 2 * test::DrawnFrame::kGuard));
    for (size_t i = 0; i < frame.memory.size(); ++i) frame.memory[i] = test::DrawnFrame::initialByte(i);
    const auto target = makeObject<Image>();
    uint8* const first = frame.memory.data() + test::DrawnFrame::kGuard;
    target->initializeFromExtern(BGRA8, frame.size, {{first, frame.memory.size() - test::DrawnFrame::kGuard}},
                                 {frame.pitch()}, {});
    seams::setDrawingMode(mode);
    {
        RendererSoftware renderer;
        renderer.setRenderTarget(target.get());
        renderer.start();
        renderer.pushClip(clip);
        text.onRender(&renderer);
        renderer.stop();
        renderer.setRenderTarget(nullptr);
    }
    seams::setDrawingMode(seams::DrawingMode::Default);
    return frame;
}

/// Returns where everything is, and checks that the parts of the lines fit together.
std::vector<std::tuple<int, int, int, size_t, float, float>> describe(const TextActor& text) {
    std::vector<std::tuple<int, int, int, size_t, float, float>> result;
    size_t fragment = 0;
    for (size_t i = 0; i < text.getLineCount(); ++i) {
        const TextActor::Line line = text.getLine(i);
        require(line.width >= 0 && line.top <= line.bottom + 128);
        require(line.firstFragment == fragment);
        fragment += line.fragmentCount;
        result.emplace_back(line.width, line.top, line.bottom, line.stops.size(), 0.0f, 0.0f);
        for (size_t k = line.firstFragment; k < fragment; ++k) {
            const TextActor::Fragment part = text.getFragment(k);
            require(part.page != nullptr && !part.quads.empty() && part.quads.size() == part.colors.size());
            for (const TexturePart& quad : part.quads) {
                require(std::abs(quad.target.x0) <= 1.1e9f && std::abs(quad.target.y1) <= 1.1e9f);
                result.emplace_back(0, 0, 0, 0, quad.target.x0, quad.target.y0);
            }
        }
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    static const bool isReady = [] {
        Clock::install(&g_clock);
        System::initialize({});
        logging::setConsoleWriter([](const logging::ConsoleLine&) {});
        return true;
    }();
    require(isReady);
    DrawnBytes bytes(data, std::min(size, kStyleBytes));
    const auto font = makeObject<AnyFont>(bytes);
    const auto text = makeObject<TextActor>();
    text->setFont(font.get());
    setStyle(*text, bytes);
    const auto edge = [&] { return static_cast<int>(bytes.draw(20)); };
    const IVec4<int> clip(edge(), edge(), 64 - edge(), 64 - edge());
    g_clock.advanceMs(bytes.draw(64) * 100);
    internal::g_system->processEvents(0);
    if (size > kStyleBytes)
        text->setText(String(std::string(data + kStyleBytes, data + std::min<size_t>(size, 4096))));

    const test::DrawnFrame plain = draw(*text, clip, seams::DrawingMode::Plain);
    require(plain.strayBytes() == 0);
    require(draw(*text, clip, seams::DrawingMode::Inline).memory == plain.memory);

    const auto before = describe(*text);
    text->getActualSize();
    text->findCursorPosition({coordinate(bytes), coordinate(bytes)});
    text->findCursorPositionInLine({coordinate(bytes), coordinate(bytes)});
    text->unload();
    text->update();
    require(describe(*text) == before);
    return 0;
}
