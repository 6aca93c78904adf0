// A page of 2,000 actors on a BGRA8 target of 1920 by 1080 pixels, drawn by one thread.
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/scene/actors/rect_actor.h>
#include <qel/system/core/application.h>
#include <qel/system/core/system.h>
#include <qel/testing/drawing.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#if QEL_PEER_QT
#include <QImage>
#include <QPainter>
#include <QThreadPool>
#endif

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kColumns = 25;
constexpr int kRows = 20;
constexpr int kCellWidth = 76;
constexpr int kCellHeight = 54;
constexpr int kIconSize = 24;
constexpr int kBorderSize = 16;

/// Returns BGRA bytes of a disk with a soft edge.
std::vector<std::uint8_t> iconBytes() {
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < kIconSize; ++y)
        for (int x = 0; x < kIconSize; ++x) {
            const int dx = 2 * x + 1 - kIconSize, dy = 2 * y + 1 - kIconSize;
            const int room = kIconSize * kIconSize - dx * dx - dy * dy;
            const int alpha = room < 0 ? 0 : room > 255 ? 255 : room;
            for (const int value : {x * 10, y * 10, 128, alpha})
                bytes.push_back(static_cast<std::uint8_t>(value));
        }
    return bytes;
}

/// Returns BGRA bytes of an opaque button with a light border.
std::vector<std::uint8_t> borderBytes() {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < kBorderSize * kBorderSize; ++i) {
        const int x = i % kBorderSize, y = i / kBorderSize;
        const bool isEdge = x == 0 || y == 0 || x == kBorderSize - 1 || y == kBorderSize - 1;
        const int grey = isEdge ? 240 : 60 + y * 4;
        for (const int value : {grey, grey, grey, 255}) bytes.push_back(static_cast<std::uint8_t>(value));
    }
    return bytes;
}

/// What a cell of the page holds: a background, a button in nine parts, an icon and a translucent bar.
struct Cell {
    explicit Cell(int index) : x(index % kColumns * kCellWidth), y(index / kColumns * kCellHeight) {}

    int x, y;
    float shade() const { return static_cast<float>((x * 7 + y * 3) % 256) / 255; }
};

// --- ours -------------------------------------------------------------------------------------------

qel::SmartPointer<qel::Sprite> makeSprite(int size, const std::vector<std::uint8_t>& bytes) {
    return qel::Sprite::createFromExternal(qel::BGRA8, {size, size}, bytes.data());
}

qel::Rect at(const Cell& cell, int left, int top, int width, int height) {
    const auto x = static_cast<float>(cell.x + left), y = static_cast<float>(cell.y + top);
    return {x, y, x + static_cast<float>(width), y + static_cast<float>(height)};
}

std::vector<std::unique_ptr<qel::RectActor>> makePage() {
    const auto icon = makeSprite(kIconSize, iconBytes()), border = makeSprite(kBorderSize, borderBytes());
    std::vector<std::unique_ptr<qel::RectActor>> page;
    const auto add = [&page](const qel::Rect& bounds) -> qel::RectActor& {
        page.push_back(std::make_unique<qel::RectActor>());
        return page.back()->setBounds(bounds);
    };
    for (int i = 0; i < kColumns * kRows; ++i) {
        const Cell cell(i);
        add(at(cell, 1, 1, 74, 52)).setColor({cell.shade(), 0.3f, 0.4f, 1});
        add(at(cell, 4, 4, 40, 20))
            .setSprite(border)
            .setExtendMethod(qel::ExtendMethod::NineParts)
            .setFixedSize({kBorderSize, kBorderSize});
        add(at(cell, 48, 4, kIconSize, kIconSize)).setSprite(icon);
        add(at(cell, 4, 30, 68, 18)).setColor({0, 0, 0, 0.5f});
    }
    return page;
}

void drawActors(benchmark::State& state) {
    qel::System::initialize({});
    {
        const auto image = qel::makeObject<qel::Image>(qel::BGRA8, qel::IVec2<int>(kWidth, kHeight));
        std::memset(image->getBytePointer(), 0x60, image->getByteSize());
        const auto renderer = qel::makeObject<qel::RendererSoftware>();
        renderer->setRenderTarget(image.get());
        qel::Application& application = *qel::internal::g_system->getApplication();
        application.setRenderer(renderer.get()); // textures then keep the format of their sprite
        const auto page = makePage();
        qel::seams::setDrawingMode(qel::seams::DrawingMode::Inline);
        for (auto _ : state) {
            renderer->start();
            for (const auto& actor : page) renderer->draw(actor.get());
            renderer->stop();
        }
        application.setRenderer(nullptr);
        qel::seams::setDrawingMode(qel::seams::DrawingMode::Default);
    }
    qel::System::deinitialize();
}
BENCHMARK(drawActors)->Name("Actors/Page/qel")->UseRealTime();

// --- Qt ---------------------------------------------------------------------------------------------

#if QEL_PEER_QT
QImage qtImage(int size, const std::vector<std::uint8_t>& bytes, QImage::Format format) {
    return QImage(bytes.data(), size, size, QImage::Format_ARGB32).convertToFormat(format);
}

/// Draws the nine parts of an image in the order of ours.
void drawParts(QPainter& painter, const QRectF& target, const QImage& image) {
    constexpr double kCap = kBorderSize / 4, kMiddle = kBorderSize / 2;
    const double x[] = {target.left(), target.right() - kCap, target.left() + kCap};
    const double y[] = {target.top(), target.bottom() - kCap, target.top() + kCap};
    const double width[] = {kCap, kCap, target.width() - 2 * kCap};
    const double height[] = {kCap, kCap, target.height() - 2 * kCap};
    constexpr double kSource[] = {0, kBorderSize - kCap, kCap}, kSize[] = {kCap, kCap, kMiddle};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            painter.drawImage(QRectF(x[column], y[row], width[column], height[row]), image,
                              QRectF(kSource[column], kSource[row], kSize[column], kSize[row]));
}

void drawQtPage(QPainter& painter, const QImage& icon, const QImage& border) {
    painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
    for (int i = 0; i < kColumns * kRows; ++i) {
        const Cell cell(i);
        painter.fillRect(QRectF(cell.x + 1, cell.y + 1, 74, 52),
                         QColor::fromRgbF(cell.shade(), 0.3f, 0.4f, 1));
        drawParts(painter, QRectF(cell.x + 4, cell.y + 4, 40, 20), border);
        painter.drawImage(QPointF(cell.x + 48, cell.y + 4), icon);
        painter.fillRect(QRectF(cell.x + 4, cell.y + 30, 68, 18), QColor::fromRgbF(0, 0, 0, 0.5f));
    }
}

// On a thread of Qt's own pool, where Qt does not split operations among several threads.
void drawQt(benchmark::State& state) {
    const QImage icon = qtImage(kIconSize, iconBytes(), QImage::Format_ARGB32_Premultiplied);
    const QImage border = qtImage(kBorderSize, borderBytes(), QImage::Format_RGB32);
    QImage target(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    target.fill(0xFF606060);
    QThreadPool::globalInstance()->start([&] {
        for (auto _ : state) {
            QPainter painter(&target);
            drawQtPage(painter, icon, border);
        }
    });
    QThreadPool::globalInstance()->waitForDone();
}
BENCHMARK(drawQt)->Name("Actors/Page/qt")->UseRealTime();
#endif

} // namespace
