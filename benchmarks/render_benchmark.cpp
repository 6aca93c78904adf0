// Drawing on a BGRA8 target of 1920 by 1080 pixels, by one thread unless the name states otherwise.
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/render/texture.h>
#include <qel/system/core/system.h>
#include <qel/testing/drawing.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#if QEL_PEER_QT
#include <QImage>
#include <QPainter>
#include <QThreadPool>
#endif
#if QEL_PEER_CAIRO
#include <cairo.h>
#endif
#if QEL_PEER_PIXMAN
#include <pixman.h>
#endif

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kBlitWidth = 1000;
constexpr int kBlitHeight = 700;
constexpr int kScaledWidth = 1370;
constexpr int kScaledHeight = 959;
constexpr int kGlyphSize = 10;
constexpr int kGlyphs = 1000;

// --- the same pictures and places for every contender
// -----------------------------------------------------------------------------------------------

/// Returns numbers that look random.
class Numbers {
public:
    explicit Numbers(std::uint32_t seed) : m_state(seed) {}
    unsigned below(unsigned limit) {
        m_state = m_state * 1664525 + 1013904223;
        return (m_state >> 8) % limit;
    }
    float uniform(float limit) { return limit * static_cast<float>(below(1 << 16)) / 65536.0f; }

private:
    std::uint32_t m_state;
};

struct Point {
    float x, y;
};

struct Shape {
    enum Kind { SolidRect, AlphaRect, Line, Triangle, Blit } kind;
    std::array<Point, 3> points;
    std::array<float, 4> color; ///< R, G, B, A
};

enum class Alpha { Opaque, Mixed };

/// Returns BGRA bytes: a picture with smooth areas, and alpha as in drawings: a fifth of the pixels is
/// translucent, a fifth transparent.
std::vector<std::uint8_t> picture(int width, int height, Alpha alpha) {
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int part = (x / 20 + y / 20) % 5;
            const int translucent = 40 + (x * 7 + y * 3) % 180;
            const int a = alpha == Alpha::Opaque || part > 1 ? 255 : part == 0 ? 0 : translucent;
            for (const int v : {x * 255 / width, y * 255 / height, (x ^ y) & 255, a})
                bytes.push_back(static_cast<std::uint8_t>(v));
        }
    }
    return bytes;
}

std::vector<std::uint8_t> glyphBytes() {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < kGlyphSize * kGlyphSize; ++i)
        bytes.push_back(static_cast<std::uint8_t>(i % 3 == 0 ? 255 : i % 3 == 1 ? 0 : i * 2));
    return bytes;
}

Point somewhere(Numbers& numbers, float size) {
    return {numbers.uniform(kWidth - size), numbers.uniform(kHeight - size)};
}

Shape shapeOf(Shape::Kind kind, Numbers& numbers, float size) {
    const Point p = somewhere(numbers, size);
    Shape shape{kind, {p, p, p}, {numbers.uniform(1), numbers.uniform(1), numbers.uniform(1), 1}};
    if (kind == Shape::AlphaRect) shape.color[3] = 0.5f;
    if (kind == Shape::Triangle)
        shape.points = {{{p.x, p.y}, {p.x + size, p.y + size / 3}, {p.x + size / 4, p.y + size}}};
    if (kind == Shape::Line)
        shape.points[1] = {p.x + size * 0.97f, p.y + size * (numbers.uniform(1.4f) - 0.7f)};
    if (kind == Shape::SolidRect || kind == Shape::AlphaRect || kind == Shape::Blit) {
        shape.points[0] = {static_cast<float>(static_cast<int>(p.x)),
                           static_cast<float>(static_cast<int>(p.y))};
        shape.points[1] = {shape.points[0].x + size, shape.points[0].y + size};
    }
    return shape;
}

std::vector<Shape> shapes(Shape::Kind kind, int count, float size) {
    Numbers numbers(7);
    std::vector<Shape> result;
    for (int i = 0; i < count; ++i) result.push_back(shapeOf(kind, numbers, size));
    return result;
}

/// Two thousand small operations of all kinds, as a busy frame has them.
std::vector<Shape> sceneShapes() {
    constexpr Shape::Kind kKinds[] = {Shape::SolidRect, Shape::SolidRect, Shape::SolidRect, Shape::AlphaRect,
                                      Shape::AlphaRect, Shape::Line,      Shape::Triangle,  Shape::Blit};
    Numbers numbers(11);
    std::vector<Shape> result;
    for (int i = 0; i < 2048; ++i) {
        const Shape::Kind kind = kKinds[i % 8];
        const float size = kind == Shape::Blit ? 32 : static_cast<float>(8 + numbers.below(56));
        result.push_back(shapeOf(kind, numbers, size));
    }
    return result;
}

constexpr int kGreyPictures = 4;
constexpr int kGreyWidth = 400;
constexpr int kGreyHeight = 300;

std::vector<std::uint8_t> greyBytes() {
    std::vector<std::uint8_t> bytes(kGreyWidth * kGreyHeight);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * i >> 9);
    return bytes;
}

// --- ours
// -----------------------------------------------------------------------------------------------

/// A frame and the textures that are drawn on it.
class Frame {
public:
    Frame() : m_image(qel::makeObject<qel::Image>(qel::BGRA8, qel::IVec2<int>(kWidth, kHeight))) {
        std::memset(m_image->getBytePointer(), 0x60, m_image->getByteSize());
        renderer.setRenderTarget(m_image.get());
    }

    qel::SmartPointer<qel::Texture> texture(qel::FormatID format, int width, int height,
                                            const std::vector<std::uint8_t>& bytes) {
        qel::Image image(format, {width, height});
        std::memcpy(image.getBytePointer(), bytes.data(), image.getByteSize());
        qel::SmartPointer<qel::Texture> texture = renderer.createTexture();
        texture->upload(std::move(image), false);
        return texture;
    }
    std::vector<std::uint8_t> bytes() const {
        const std::uint8_t* const p = m_image->getBytePointer();
        return {p, p + m_image->getByteSize()};
    }

    qel::RendererSoftware renderer;

private:
    qel::SmartPointer<qel::Image> m_image;
};

using Draw = std::function<void(Frame&)>;

std::vector<std::uint8_t> drawnIn(qel::seams::DrawingMode mode, const std::function<Draw(Frame&)>& prepare) {
    qel::seams::setDrawingMode(mode);
    Frame frame;
    const Draw draw = prepare(frame);
    frame.renderer.start();
    draw(frame);
    frame.renderer.stop();
    qel::seams::setDrawingMode(qel::seams::DrawingMode::Default);
    return frame.bytes();
}

/// Measures frames. What is measured must first draw what the plain functions draw.
void measure(benchmark::State& state, const std::function<Draw(Frame&)>& prepare) {
    using qel::seams::DrawingMode;
    if (drawnIn(DrawingMode::Plain, prepare) != drawnIn(DrawingMode::Inline, prepare)) {
        std::fprintf(stderr, "the frame differs from that of the plain functions\n");
        std::abort();
    }
    Frame frame;
    const Draw draw = prepare(frame);
    for (auto _ : state) {
        frame.renderer.start();
        draw(frame);
        frame.renderer.stop();
    }
}

void fill(Frame& frame, float alpha, const qel::Rect& rect) {
    frame.renderer.pushColor({0.2f, 0.5f, 0.7f, alpha});
    frame.renderer.drawRectInternal(rect);
    frame.renderer.popColor();
}

void draw(Frame& frame, const Shape& shape, qel::Texture* texture) {
    const auto& [a, b, c] = shape.points;
    qel::RendererSoftware& renderer = frame.renderer;
    if (shape.kind == Shape::Blit)
        return renderer.drawTextureInternal(texture, {0, 0, 1, 1}, {a.x, a.y, b.x, b.y}, 0);
    renderer.pushColor({shape.color[0], shape.color[1], shape.color[2], shape.color[3]});
    if (shape.kind == Shape::Line)
        renderer.drawAALineInternal({a.x, a.y}, {b.x, b.y});
    else if (shape.kind == Shape::Triangle)
        renderer.drawTriangleInternal({a.x, a.y}, {b.x, b.y}, {c.x, c.y});
    else
        renderer.drawRectInternal({a.x, a.y, b.x, b.y});
    renderer.popColor();
}

Draw prepareShapes(const std::vector<Shape>& list) {
    return [list](Frame& frame) {
        for (const Shape& shape : list) draw(frame, shape, nullptr);
    };
}

Draw prepareBlit(Frame& frame, Alpha alpha, int width, int height, qel::Filter filter) {
    const auto texture =
        frame.texture(qel::BGRA8, kBlitWidth, kBlitHeight, picture(kBlitWidth, kBlitHeight, alpha));
    texture->setFilter(filter);
    const qel::Rect target(40, 30, static_cast<float>(40 + width), static_cast<float>(30 + height));
    return [texture, target](Frame& f) {
        f.renderer.drawTextureInternal(texture.get(), {0, 0, 1, 1}, target, 0);
    };
}

Draw prepareGlyphs(Frame& frame) {
    const auto texture = frame.texture(qel::A8, kGlyphSize, kGlyphSize, glyphBytes());
    return [texture, places = shapes(Shape::Blit, kGlyphs, kGlyphSize)](Frame& f) {
        f.renderer.pushColor({0, 0, 0, 1});
        for (const Shape& shape : places) draw(f, shape, texture.get());
        f.renderer.popColor();
    };
}

Draw prepareWindow(Frame& frame) {
    std::vector<std::uint8_t> words;
    for (int i = 0; i < 1024 * 1024; ++i) {
        words.push_back(static_cast<std::uint8_t>(i));
        words.push_back(static_cast<std::uint8_t>((i >> 9) & 15));
    }
    const auto texture = frame.texture(qel::UInt16, 1024, 1024, words);
    const auto lookup = frame.renderer.createGrayscaleRemapTexture({0, 0.2f, 0.6f, 0.8f, 1});
    return [texture, lookup](Frame& f) {
        f.renderer.drawTextureScaledLookupInternal(texture.get(), {0, 0, 1, 1}, {0, 0, 1080, 1080}, 0,
                                                   {100, 3000}, lookup.get());
    };
}

Draw prepareScene(Frame& frame) {
    const auto small = frame.texture(qel::BGRA8, 32, 32, picture(32, 32, Alpha::Mixed));
    const auto image = frame.texture(qel::L8, kGreyWidth, kGreyHeight, greyBytes());
    return [small, image, list = sceneShapes()](Frame& f) {
        for (int i = 0; i < kGreyPictures; ++i) {
            const auto left = static_cast<float>(i % 2 * 960);
            const auto top = static_cast<float>(i / 2 * 540);
            f.renderer.drawTextureInternal(image.get(), {0, 0, 1, 1}, {left, top, left + 700, top + 500}, 0);
        }
        for (const Shape& shape : list) draw(f, shape, small.get());
    };
}

const qel::Rect kWhole(0, 0, kWidth, kHeight);

Draw prepareFill(Frame&, float alpha) {
    return [alpha](Frame& frame) { fill(frame, alpha, kWhole); };
}

/// Measures with two workers or, by the Inline mode, on the calling thread.
void measureThreads(benchmark::State& state, const std::function<Draw(Frame&)>& prepare, bool areTwo) {
    qel::System::initialize({});
    {
        Frame frame;
        const Draw draw = prepare(frame);
        qel::seams::setDrawingMode(areTwo ? qel::seams::DrawingMode::Default
                                          : qel::seams::DrawingMode::Inline);
        for (auto _ : state) {
            frame.renderer.start();
            draw(frame);
            frame.renderer.stop();
        }
        qel::seams::setDrawingMode(qel::seams::DrawingMode::Default);
    }
    qel::System::deinitialize();
}

// --- Qt
// -----------------------------------------------------------------------------------------------

#if QEL_PEER_QT
/// A target of Qt and a painter on it.
struct QtFrame {
    QtFrame() : image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied) { image.fill(0xFF606060); }

    QImage image;
};

QColor colorOf(const Shape& shape) {
    return QColor::fromRgbF(shape.color[0], shape.color[1], shape.color[2], shape.color[3]);
}

QImage qtImage(const std::vector<std::uint8_t>& bytes, int width, int height, Alpha alpha) {
    const QImage view(bytes.data(), width, height, QImage::Format_ARGB32);
    return view.convertToFormat(alpha == Alpha::Opaque ? QImage::Format_RGB32
                                                       : QImage::Format_ARGB32_Premultiplied);
}

/// Measures on a thread of Qt's own pool, where Qt does not split operations among several threads.
void measureQt(benchmark::State& state, const std::function<void(QPainter&)>& draw) {
    QtFrame frame;
    const auto run = [&] {
        for (auto _ : state) {
            QPainter painter(&frame.image);
            draw(painter);
        }
    };
    QThreadPool::globalInstance()->start(run);
    QThreadPool::globalInstance()->waitForDone();
}

void drawQt(QPainter& painter, const Shape& shape, const QImage& image) {
    const auto& [a, b, c] = shape.points;
    switch (shape.kind) {
    case Shape::SolidRect:
    case Shape::AlphaRect:
        painter.fillRect(QRectF(a.x, a.y, b.x - a.x, b.y - a.y), colorOf(shape));
        break;
    case Shape::Line:
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.setPen(QPen(colorOf(shape), 1));
        painter.drawLine(QPointF(a.x, a.y), QPointF(b.x, b.y));
        painter.setRenderHint(QPainter::Antialiasing, false);
        break;
    case Shape::Triangle: {
        const QPointF corners[] = {{a.x, a.y}, {b.x, b.y}, {c.x, c.y}};
        painter.setPen(Qt::NoPen);
        painter.setBrush(colorOf(shape));
        painter.drawConvexPolygon(corners, 3);
        break;
    }
    case Shape::Blit:
        painter.drawImage(QPointF(a.x, a.y), image);
        break;
    }
}

void measureQtShapes(benchmark::State& state, const std::vector<Shape>& list) {
    measureQt(state, [&](QPainter& painter) {
        for (const Shape& shape : list) drawQt(painter, shape, {});
    });
}

void measureQtBlit(benchmark::State& state, Alpha alpha, int width, int height, bool isSmooth) {
    const QImage image = qtImage(picture(kBlitWidth, kBlitHeight, alpha), kBlitWidth, kBlitHeight, alpha);
    measureQt(state, [&](QPainter& painter) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform, isSmooth);
        painter.drawImage(QRectF(40, 30, width, height), image);
    });
}

void measureQtScene(benchmark::State& state) {
    const QImage small = qtImage(picture(32, 32, Alpha::Mixed), 32, 32, Alpha::Mixed);
    const std::vector<std::uint8_t> bytes = greyBytes();
    const QImage grey(bytes.data(), kGreyWidth, kGreyHeight, QImage::Format_Grayscale8);

    const std::vector<Shape> list = sceneShapes();
    measureQt(state, [&](QPainter& painter) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
        for (int i = 0; i < kGreyPictures; ++i)
            painter.drawImage(QRectF(i % 2 * 960, i / 2 * 540, 700, 500), grey);
        for (const Shape& shape : list) drawQt(painter, shape, small);
    });
}

void measureQtFill(benchmark::State& state, float alpha) {
    measureQt(state, [&](QPainter& painter) {
        painter.fillRect(0, 0, kWidth, kHeight, QColor::fromRgbF(0.2f, 0.5f, 0.7f, alpha));
    });
}
#endif

// --- cairo
// -----------------------------------------------------------------------------------------------

#if QEL_PEER_CAIRO
void measureCairo(benchmark::State& state, const std::function<void(cairo_t*)>& draw) {
    cairo_surface_t* const surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
    cairo_t* const context = cairo_create(surface);
    for (auto _ : state) draw(context);
    cairo_destroy(context);
    cairo_surface_destroy(surface);
}

void setColor(cairo_t* context, const Shape& shape) {
    cairo_set_source_rgba(context, double{shape.color[0]}, double{shape.color[1]}, double{shape.color[2]},
                          double{shape.color[3]});
}

void measureCairoShapes(benchmark::State& state, const std::vector<Shape>& list) {
    measureCairo(state, [&](cairo_t* context) {
        cairo_set_line_width(context, 1);
        for (const Shape& shape : list) {
            const auto& [a, b, c] = shape.points;
            setColor(context, shape);
            cairo_set_antialias(context, shape.kind == Shape::Triangle ? CAIRO_ANTIALIAS_NONE
                                                                       : CAIRO_ANTIALIAS_DEFAULT);
            cairo_move_to(context, double{a.x}, double{a.y});
            cairo_line_to(context, double{b.x}, double{b.y});
            if (shape.kind == Shape::Line) {
                cairo_stroke(context);
                continue;
            }
            cairo_line_to(context, double{c.x}, double{c.y});
            cairo_fill(context);
        }
    });
}

void measureCairoRects(benchmark::State& state, const std::vector<Shape>& list) {
    measureCairo(state, [&](cairo_t* context) {
        for (const Shape& shape : list) {
            const auto& [a, b, c] = shape.points;
            setColor(context, shape);
            cairo_rectangle(context, double{a.x}, double{a.y}, double{b.x - a.x}, double{b.y - a.y});
            cairo_fill(context);
        }
    });
}

/// Draws letters of the default font, which are cached after the first frame.
void measureCairoGlyphs(benchmark::State& state) {
    std::vector<cairo_glyph_t> glyphs;
    measureCairo(state, [&](cairo_t* context) {
        if (glyphs.empty()) {
            cairo_set_font_size(context, 14);
            cairo_set_source_rgb(context, 0, 0, 0);
            cairo_glyph_t* letter = nullptr;
            int count = 0;
            cairo_scaled_font_text_to_glyphs(cairo_get_scaled_font(context), 0, 0, "a", 1, &letter, &count,
                                             nullptr, nullptr, nullptr);
            for (const Shape& shape : shapes(Shape::Blit, count > 0 ? kGlyphs : 0, kGlyphSize))
                glyphs.push_back({letter->index, double{shape.points[0].x}, double{shape.points[0].y}});
            cairo_glyph_free(letter);
        }
        cairo_show_glyphs(context, glyphs.data(), static_cast<int>(glyphs.size()));
    });
}
#endif

// --- pixman
// -----------------------------------------------------------------------------------------------

#if QEL_PEER_PIXMAN
/// An image of pixman.
class PixmanImage {
public:
    PixmanImage(pixman_format_code_t format, int width, int height, const std::uint8_t* bytes = nullptr)
        : m_image(pixman_image_create_bits(format, width, height, nullptr, 0)) {
        const int pixelBytes = PIXMAN_FORMAT_BPP(format) / 8;
        for (int y = 0; y < height && bytes; ++y) {
            auto* const row = reinterpret_cast<std::uint8_t*>(pixman_image_get_data(m_image)) +
                              y * pixman_image_get_stride(m_image);
            const auto rowBytes = static_cast<std::size_t>(width * pixelBytes);
            std::memcpy(row, bytes + static_cast<std::size_t>(y) * rowBytes, rowBytes);
        }
    }
    PixmanImage(const PixmanImage&) = delete;
    PixmanImage& operator=(const PixmanImage&) = delete;
    ~PixmanImage() { pixman_image_unref(m_image); }

    pixman_image_t* get() const { return m_image; }

private:
    pixman_image_t* m_image;
};

pixman_color_t pixmanColor(const std::array<float, 4>& c) {
    const auto word = [&](std::size_t i) { return static_cast<std::uint16_t>(c[i] * c[3] * 65535); };
    return {word(0), word(1), word(2), static_cast<std::uint16_t>(c[3] * 65535)};
}

void fillPixman(pixman_image_t* target, const Shape& shape) {
    const auto& [a, b, c] = shape.points;
    const pixman_color_t color = pixmanColor(shape.color);
    const pixman_box32_t box{static_cast<int>(a.x), static_cast<int>(a.y), static_cast<int>(b.x),
                             static_cast<int>(b.y)};
    pixman_image_fill_boxes(shape.color[3] < 1 ? PIXMAN_OP_OVER : PIXMAN_OP_SRC, target, &color, 1, &box);
}

void measurePixmanRects(benchmark::State& state, const std::vector<Shape>& list) {
    const PixmanImage target(PIXMAN_a8r8g8b8, kWidth, kHeight);
    for (auto _ : state)
        for (const Shape& shape : list) fillPixman(target.get(), shape);
}

void measurePixmanBlit(benchmark::State& state, Alpha alpha, int width, int height, pixman_filter_t filter) {
    const PixmanImage target(PIXMAN_a8r8g8b8, kWidth, kHeight);
    const PixmanImage source(alpha == Alpha::Opaque ? PIXMAN_x8r8g8b8 : PIXMAN_a8r8g8b8, kBlitWidth,
                             kBlitHeight, picture(kBlitWidth, kBlitHeight, alpha).data());
    if (width != kBlitWidth) {
        pixman_transform_t scale;
        pixman_transform_init_scale(&scale, pixman_double_to_fixed(double{kBlitWidth} / width),
                                    pixman_double_to_fixed(double{kBlitHeight} / height));
        pixman_image_set_transform(source.get(), &scale);
        pixman_image_set_filter(source.get(), filter, nullptr, 0);
        pixman_image_set_repeat(source.get(), PIXMAN_REPEAT_PAD);
    }
    const pixman_op_t op = alpha == Alpha::Opaque ? PIXMAN_OP_SRC : PIXMAN_OP_OVER;
    for (auto _ : state)
        pixman_image_composite32(op, source.get(), nullptr, target.get(), 0, 0, 0, 0, 40, 30, width, height);
}

void measurePixmanGlyphs(benchmark::State& state) {
    const PixmanImage target(PIXMAN_a8r8g8b8, kWidth, kHeight);
    const PixmanImage mask(PIXMAN_a8, kGlyphSize, kGlyphSize, glyphBytes().data());
    const pixman_color_t black{0, 0, 0, 0xFFFF};
    pixman_image_t* const color = pixman_image_create_solid_fill(&black);
    pixman_glyph_cache_t* const cache = pixman_glyph_cache_create();
    pixman_glyph_cache_freeze(cache);
    int key = 0;
    const void* const cached = pixman_glyph_cache_insert(cache, &key, &key, 0, 0, mask.get());
    std::vector<pixman_glyph_t> glyphs;
    for (const Shape& shape : shapes(Shape::Blit, kGlyphs, kGlyphSize))
        glyphs.push_back({static_cast<int>(shape.points[0].x), static_cast<int>(shape.points[0].y), cached});
    for (auto _ : state)
        pixman_composite_glyphs_no_mask(PIXMAN_OP_OVER, color, target.get(), 0, 0, 0, 0, cache,
                                        static_cast<int>(glyphs.size()), glyphs.data());
    pixman_glyph_cache_thaw(cache);
    pixman_glyph_cache_destroy(cache);
    pixman_image_unref(color);
}
#endif

// --- memory
// -----------------------------------------------------------------------------------------------

void measureMemset(benchmark::State& state) {
    std::vector<std::uint8_t> target(std::size_t{kWidth} * kHeight * 4);
    for (auto _ : state) {
        std::memset(target.data(), 3, target.size());
        benchmark::ClobberMemory();
    }
}

void measureMemcpyRows(benchmark::State& state) {
    std::vector<std::uint8_t> target(std::size_t{kWidth} * kHeight * 4);
    const std::vector<std::uint8_t> source = picture(kBlitWidth, kBlitHeight, Alpha::Opaque);
    for (auto _ : state) {
        for (std::size_t y = 0; y < kBlitHeight; ++y)
            std::memcpy(&target[((y + 30) * kWidth + 40) * 4], &source[y * kBlitWidth * 4], kBlitWidth * 4);
        benchmark::ClobberMemory();
    }
}

template <typename Function, typename... Args>
void add(const std::string& name, Function function, Args... args) {
    benchmark::RegisterBenchmark(("Raster/" + name).c_str(), function, args...)->UseRealTime();
}

void addFills() {
    for (const auto& [name, alpha] : {std::pair{"FillSolid", 1.0f}, {"FillAlpha", 0.5f}}) {
        const std::string topic = std::string(name) + "/";
        const float a = alpha;
        add(topic + "qel", measure, [a](Frame& frame) { return prepareFill(frame, a); });
#if QEL_PEER_QT
        add(topic + "qt", measureQtFill, a);
#endif
#if QEL_PEER_PIXMAN
        const Shape whole{a < 1 ? Shape::AlphaRect : Shape::SolidRect,
                          {{{0, 0}, {kWidth, kHeight}, {0, 0}}},
                          {0.2f, 0.5f, 0.7f, a}};
        add(topic + "pixman", measurePixmanRects, std::vector<Shape>{whole});
#endif
    }
    add("FillSolid/memset", measureMemset);
}

void addShapes() {
    for (const auto& [name, kind, size] :
         {std::tuple{"Rects32Solid", Shape::SolidRect, 32.0f},
          std::tuple{"Rects32Alpha", Shape::AlphaRect, 32.0f}, std::tuple{"Lines", Shape::Line, 100.0f},
          std::tuple{"Triangles", Shape::Triangle, 64.0f}}) {
        const std::string topic = std::string(name) + "/";
        const std::vector<Shape> list = shapes(kind, 256, size);
        [[maybe_unused]] const bool isRect = kind == Shape::SolidRect || kind == Shape::AlphaRect;
        add(topic + "qel", measure, [list](Frame&) { return prepareShapes(list); });
#if QEL_PEER_QT
        add(topic + "qt", measureQtShapes, list);
#endif
#if QEL_PEER_CAIRO
        add(topic + "cairo", isRect ? measureCairoRects : measureCairoShapes, list);
#endif
#if QEL_PEER_PIXMAN
        if (isRect) add(topic + "pixman", measurePixmanRects, list);
#endif
    }
}

void addBlits() {
    struct Case {
        const char* name;
        Alpha alpha;
        int width, height;
        qel::Filter filter;
    };
    for (const Case& c :
         {Case{"BlitOpaque", Alpha::Opaque, kBlitWidth, kBlitHeight, qel::Filter::Bilinear},
          Case{"BlitAlpha", Alpha::Mixed, kBlitWidth, kBlitHeight, qel::Filter::Bilinear},
          Case{"BilinearOpaque", Alpha::Opaque, kScaledWidth, kScaledHeight, qel::Filter::Bilinear},
          Case{"BilinearAlpha", Alpha::Mixed, kScaledWidth, kScaledHeight, qel::Filter::Bilinear},
          Case{"NearestOpaque", Alpha::Opaque, kScaledWidth, kScaledHeight, qel::Filter::Nearest},
          Case{"NearestAlpha", Alpha::Mixed, kScaledWidth, kScaledHeight, qel::Filter::Nearest}}) {
        const std::string topic = std::string(c.name) + "/";
        add(topic + "qel", measure,
            [c](Frame& frame) { return prepareBlit(frame, c.alpha, c.width, c.height, c.filter); });
#if QEL_PEER_QT
        add(topic + "qt", measureQtBlit, c.alpha, c.width, c.height, c.filter == qel::Filter::Bilinear);
#endif
#if QEL_PEER_PIXMAN
        add(topic + "pixman", measurePixmanBlit, c.alpha, c.width, c.height,
            c.filter == qel::Filter::Bilinear ? PIXMAN_FILTER_BILINEAR : PIXMAN_FILTER_NEAREST);
#endif
    }
    add("BlitOpaque/memcpy", measureMemcpyRows);
    add("Glyphs/qel", measure, prepareGlyphs);
#if QEL_PEER_CAIRO
    add("Glyphs/cairo", measureCairoGlyphs);
#endif
#if QEL_PEER_PIXMAN
    add("Glyphs/pixman", measurePixmanGlyphs);
#endif
    add("Window/qel", measure, prepareWindow);
}

void addScenes() {
    add("Scene/qel", measure, prepareScene);
#if QEL_PEER_QT
    add("Scene/qt", measureQtScene);
#endif
    const auto bilinear = [](Frame& frame) {
        return prepareBlit(frame, Alpha::Mixed, kScaledWidth, kScaledHeight, qel::Filter::Bilinear);
    };
    add("BilinearTwoThreads/qel", measureThreads, bilinear, true);
    add("BilinearTwoThreads/one_thread", measureThreads, bilinear, false);
    add("SceneTwoThreads/qel", measureThreads, prepareScene, true);
    add("SceneTwoThreads/one_thread", measureThreads, prepareScene, false);
}

const bool g_areAdded = [] {
    addFills();
    addShapes();
    addBlits();
    addScenes();
    return true;
}();

} // namespace
