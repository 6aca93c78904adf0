// Reading, laying out and drawing of texts in an outline font of 14 pixels.
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/system/core/system.h>
#include <qel/testing/drawing.h>
#include <qel/text/engine/text_actor.h>
#include <qel/text/fonts/true_type_font.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#if QEL_PEER_QT_GUI
#include <QFontDatabase>
#include <QGlyphRun>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTextLayout>
#endif
#if QEL_PEER_PANGOCAIRO
#include <pango/pangocairo.h>
#endif

namespace {

constexpr const char* kFontFile = "/usr/share/fonts/truetype/roboto/unhinted/RobotoTTF/Roboto-Regular.ttf";
constexpr int kFontSize = 16; ///< an em of 14 pixels
constexpr int kEmSize = 14;
constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

/// Two texts of 390 characters, so that no contender can keep the layout of the last one.
const qel::String kTexts[2] = {
    "The viewer shows one series in each view. A series that is still arriving is shown as far as it has "
    "come, "
    "and its progress is drawn at the lower edge. Scroll with the wheel or by dragging with one finger; zoom "
    "with two. A double tap fills the window with one view, and another one brings the others back. "
    "Distances "
    "and angles are measured in millimetres if the images state the spacing of their pixels now.",
    "A series that is still arriving is shown as far as it has come, and its progress is drawn at the lower "
    "edge. The viewer shows one series in each view. A double tap fills the window with one view, and "
    "another "
    "one brings the others back. Scroll with the wheel or by dragging with one finger; zoom with two. "
    "Distances "
    "and angles are measured in pixels unless the images state the spacing of their pixels now."};

/// Twenty lines of fifty letters.
qel::String letters() {
    qel::String text;
    for (int i = 0; i < 1000; ++i) {
        if (i % 50 == 0 && i > 0) text += '\n';
        text += static_cast<char>('a' + i * 7 % 26);
    }
    return text;
}

std::vector<qel::uint8> fileBytes(const char* path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<qel::uint8> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (bytes.empty()) {
        std::fprintf(stderr, "%s is missing\n", path);
        std::exit(1);
    }
    return bytes;
}

// --- the library
// -----------------------------------------------------------------------------------------------

/// A System and a text in the font.
class TextBench {
public:
    TextBench() {
        qel::System::initialize({});
        const std::vector<qel::uint8> bytes = fileBytes(kFontFile);
        m_font = qel::makeObject<qel::TrueTypeFont>();
        if (!m_font->loadFromMemory({bytes.data(), bytes.size()}, kFontSize)) std::abort();
        text = qel::makeObject<qel::TextActor>();
        text->setFont(m_font.get());
    }
    ~TextBench() {
        text = nullptr;
        m_font = nullptr;
        qel::System::deinitialize();
    }

    qel::SmartPointer<qel::TextActor> text;

private:
    qel::SmartPointer<qel::TrueTypeFont> m_font;
};

void countCharacters(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kTexts[0].size()));
}

void layOut(benchmark::State& state, qel::TextActor::Parser parser, const qel::String (&texts)[2]) {
    TextBench bench;
    bench.text->setWordWrap(600).setParser(parser);
    size_t turn = 0;
    for (auto _ : state) {
        bench.text->setText(texts[turn ^= 1]);
        bench.text->update();
        benchmark::DoNotOptimize(bench.text->getLineCount());
    }
    countCharacters(state);
}

void layOutPlain(benchmark::State& state) {
    layOut(state, qel::TextActor::Parser::Plain, kTexts);
}

/// The same texts with a code for every other word.
void layOutCodes(benchmark::State& state) {
    qel::String texts[2];
    for (size_t i = 0; i < 2; ++i) {
        int spaces = 0;
        for (const char c : kTexts[i]) {
            texts[i] += c;
            if (c == ' ' && ++spaces % 2 == 0) texts[i] += spaces % 4 == 0 ? "{color:white}" : "{color:red}";
        }
    }
    layOut(state, qel::TextActor::Parser::ControlCodes, texts);
}

void rewrap(benchmark::State& state) {
    TextBench bench;
    bench.text->setText(kTexts[0]);
    int width = 600;
    for (auto _ : state) {
        bench.text->setWordWrap(width = 1100 - width);
        bench.text->update();
        benchmark::DoNotOptimize(bench.text->getLineCount());
    }
    countCharacters(state);
}

void updateUnchanged(benchmark::State& state) {
    TextBench bench;
    bench.text->setText(kTexts[0]).setWordWrap(600);
    for (auto _ : state) bench.text->update();
}

void drawGlyphs(benchmark::State& state, const qel::IVec4<float>& color) {
    TextBench bench;
    qel::seams::setDrawingMode(qel::seams::DrawingMode::Inline);
    const auto image = qel::makeObject<qel::Image>(qel::BGRA8, qel::IVec2<int>(kWidth, kHeight));
    std::memset(image->getBytePointer(), 0x60, image->getByteSize());
    {
        qel::RendererSoftware renderer;
        renderer.setRenderTarget(image.get());
        bench.text->setText(letters()).setColor(color).setBounds({0, 0, kWidth, kHeight});
        for (auto _ : state) {
            renderer.start();
            renderer.draw(bench.text.get());
            renderer.stop();
        }
    }
    qel::seams::setDrawingMode(qel::seams::DrawingMode::Default);
    state.SetItemsProcessed(state.iterations() * 1000);
}

void drawOpaqueGlyphs(benchmark::State& state) {
    drawGlyphs(state, {0, 0, 0, 1});
}

void drawTranslucentGlyphs(benchmark::State& state) {
    drawGlyphs(state, {0.3f, 0.2f, 0.1f, 0.8f});
}

// --- Qt
// -----------------------------------------------------------------------------------------------

#if QEL_PEER_QT_GUI
/// Qt's application object, without a display, and the font.
QFont qtFont() {
    static const QString family = [] {
        static int count = 1;
        static char name[] = "text", *arguments[] = {name, nullptr};
        qputenv("QT_QPA_PLATFORM", "offscreen");
        new QGuiApplication(count, arguments);
        const int id = QFontDatabase::addApplicationFont(kFontFile);
        return QFontDatabase::applicationFontFamilies(id).value(0);
    }();
    QFont font(family);
    font.setPixelSize(kEmSize);
    return font;
}

void breakLines(QTextLayout& layout, qreal width) {
    layout.beginLayout();
    qreal y = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, y});
        y += line.height();
    }
    layout.endLayout();
}

void layOutQt(benchmark::State& state) {
    const QFont font = qtFont();
    const QString texts[2] = {QString::fromStdString(kTexts[0]), QString::fromStdString(kTexts[1])};
    size_t turn = 0;
    for (auto _ : state) {
        QTextLayout layout(texts[turn ^= 1], font);
        breakLines(layout, 600);
        benchmark::DoNotOptimize(layout.lineCount());
    }
    countCharacters(state);
}

void rewrapQt(benchmark::State& state) {
    QTextLayout layout(QString::fromStdString(kTexts[0]), qtFont());
    qreal width = 600;
    for (auto _ : state) {
        breakLines(layout, width = 1100 - width);
        benchmark::DoNotOptimize(layout.lineCount());
    }
    countCharacters(state);
}

void drawGlyphsQt(benchmark::State& state) {
    QTextLayout layout(QString::fromStdString(letters()).replace('\n', QChar::LineSeparator), qtFont());
    breakLines(layout, kWidth);
    const QList<QGlyphRun> runs = layout.glyphRuns();
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    image.fill(0xFF606060);
    for (auto _ : state) {
        QPainter painter(&image);
        for (const QGlyphRun& run : runs) painter.drawGlyphRun({0, 0}, run);
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
#endif

// --- Pango and cairo
// -----------------------------------------------------------------------------------------------

#if QEL_PEER_PANGOCAIRO
/// A layout on an image of cairo.
class PangoBench {
public:
    PangoBench()
        : m_surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight)),
          m_context(cairo_create(m_surface)),
          layout(pango_cairo_create_layout(m_context)) {
        PangoFontDescription* const font = pango_font_description_from_string("Roboto");
        pango_font_description_set_absolute_size(font, kEmSize * PANGO_SCALE);
        pango_layout_set_font_description(layout, font);
        pango_font_description_free(font);
    }
    PangoBench(const PangoBench&) = delete;
    PangoBench& operator=(const PangoBench&) = delete;
    ~PangoBench() {
        g_object_unref(layout);
        cairo_destroy(m_context);
        cairo_surface_destroy(m_surface);
    }

    void setText(const std::string& text) {
        pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    }
    void wrapAt(int width) {
        pango_layout_set_width(layout, width * PANGO_SCALE);
        int extent = 0;
        pango_layout_get_size(layout, &extent, nullptr);
        benchmark::DoNotOptimize(extent);
    }
    /// Draws the lines as the glyphs that the layout has.
    void draw() {
        cairo_move_to(m_context, 0, 0);
        pango_cairo_show_layout(m_context, layout);
        cairo_surface_flush(m_surface);
    }

private:
    cairo_surface_t* m_surface;
    cairo_t* m_context;

public:
    PangoLayout* layout;
};

void layOutPango(benchmark::State& state) {
    PangoBench bench;
    size_t turn = 0;
    for (auto _ : state) {
        bench.setText(kTexts[turn ^= 1]);
        bench.wrapAt(600);
    }
    countCharacters(state);
}

void rewrapPango(benchmark::State& state) {
    PangoBench bench;
    bench.setText(kTexts[0]);
    int width = 600;
    for (auto _ : state) bench.wrapAt(width = 1100 - width);
    countCharacters(state);
}

void drawGlyphsCairo(benchmark::State& state) {
    PangoBench bench;
    bench.setText(letters());
    for (auto _ : state) bench.draw();
    state.SetItemsProcessed(state.iterations() * 1000);
}
#endif

template <typename Function>
void add(const std::string& name, Function function) {
    benchmark::RegisterBenchmark(("Text/" + name).c_str(), function);
}

const bool g_areAdded = [] {
    add("Layout/qel", layOutPlain);
    add("LayoutCodes/qel", layOutCodes);
    add("Rewrap/qel", rewrap);
    add("Unchanged/qel", updateUnchanged);
    add("Glyphs/qel", drawOpaqueGlyphs);
    add("GlyphsTranslucent/qel", drawTranslucentGlyphs);
#if QEL_PEER_QT_GUI
    add("Layout/qt", layOutQt);
    add("LayoutCodes/qt", layOutQt);
    add("Rewrap/qt", rewrapQt);
    add("Glyphs/qt", drawGlyphsQt);
    add("GlyphsTranslucent/qt", drawGlyphsQt);
#endif
#if QEL_PEER_PANGOCAIRO
    add("Layout/pango", layOutPango);
    add("Rewrap/pango", rewrapPango);
    add("Glyphs/cairo", drawGlyphsCairo);
    add("GlyphsTranslucent/cairo", drawGlyphsCairo);
#endif
    return true;
}();

} // namespace
