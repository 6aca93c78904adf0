#include <qel/render/command_list_p.h>

#include <qel/render/drawing_mode_p.h>
#include <qel/system/core/parallel_kernel.h>
#include <qel/system/core/system.h>

#include <cstdlib>

namespace qel::internal {

constinit std::atomic<DrawingMode> g_drawingMode{DrawingMode::Default};

namespace {

/// Rows of a band: few enough to stay in a processor's cache under all operations.
constexpr int kBandRows = 32;
/// Lists with less work are drawn at once, because waking a worker would take longer.
constexpr uint64 kInlinePixels = 40'000;

/// Runs a function for each band.
template <typename DrawBand>
class BandKernel final : public ParallelKernel {
public:
    BandKernel(int height, DrawBand drawBand) : m_height(height), m_drawBand(drawBand) {}

    void prepare(unsigned& parts) override {
        parts = static_cast<unsigned>((m_height + kBandRows - 1) / kBandRows);
    }
    void execute(unsigned index) override {
        const int begin = static_cast<int>(index) * kBandRows;
        m_drawBand(begin, std::min(begin + kBandRows, m_height));
    }

private:
    int m_height;
    DrawBand m_drawBand;
};

/// Returns true if the rows of an external target share bytes: its pixels must be drawn one after another.
bool hasSharedRows(const Surface& surface) {
    std::ptrdiff_t rowBytes = 0;
    withPixelType(surface.kind,
                  [&](auto pixel) { rowBytes = std::ptrdiff_t{surface.size.x} * pixel.kBytes; });
    return std::abs(surface.pitch) < rowBytes;
}

/// Returns true if @p pixels changes of pixels are worth several threads.
bool isForBands(const Surface& surface, uint64 pixels) {
    if (g_system == nullptr || surface.isPlain) return false;
    switch (g_drawingMode.load(std::memory_order_relaxed)) {
    case DrawingMode::Default:
        return pixels >= kInlinePixels;
    case DrawingMode::Banded:
        return true;
    case DrawingMode::Plain:
    case DrawingMode::Inline:
        break;
    }
    return false;
}

} // namespace

void CommandList::replay(const Surface& surface) {
    Surface target = surface;
    target.isPlain = isPlainDrawing() || hasSharedRows(surface);
    const auto draw = [&](int begin, int end) { drawBand(target, begin, end); };
    if (isForBands(target, m_pixels)) {
        BandKernel kernel(target.size.y, draw);
        g_system->execute(kernel);
    } else {
        draw(0, target.size.y);
    }
    clear();
}

void CommandList::drawBand(const Surface& surface, int begin, int end) const {
    for (const auto& [top, bottom, command] : m_commands) {
        const int from = std::max(begin, top);
        const int to = std::min(end, bottom);
        if (from < to) command->drawRows(surface, from, to);
    }
}

void CommandList::clear() {
    for (const Entry& entry : m_commands) entry.command->~DrawCommand();
    m_commands.clear();
    m_block = 0;
    m_used = 0;
    m_pixels = 0;
    m_lastImage = nullptr;
    m_imageBytes = 0;
}

// Textures may be replaced in the frame, so that the commands alone keep the pixels of earlier draws.
void CommandList::countImage(const Image* image) {
    if (image != nullptr && image != m_lastImage) m_imageBytes += image->getByteSize();
    m_lastImage = image;
}

void* CommandList::allocate(size_t size) {
    constexpr size_t kAlignment = alignof(std::max_align_t);
    size = (size + kAlignment - 1) / kAlignment * kAlignment;
    if (m_used + size > kBlockBytes) {
        ++m_block;
        m_used = 0;
    }
    if (m_block == m_blocks.size()) m_blocks.push_back(std::make_unique<Block>());
    void* const place = m_blocks[m_block]->bytes + m_used;
    m_used += size;
    return place;
}

} // namespace qel::internal
