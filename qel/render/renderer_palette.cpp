#include <qel/imaging/pixels/image.h>
#include <qel/render/alpha_composite.h>
#include <qel/render/renderer.h>

#include <bit>
#include <cmath>

namespace qel {

namespace {

constexpr int kSide = 256;
constexpr unsigned kEntries = kSide * kSide;

uint8 toByte(float channel) {
    const float clamped = channel > 0 ? (channel < 1 ? channel : 1.0f) : 0.0f;
    return static_cast<uint8>(std::lround(clamped * 255));
}

} // namespace

IVec4<float> util::alphaComposite(const IVec4<float>& top, const IVec4<float>& bottom) {
    const float alpha = 1 - (1 - top.w) * (1 - bottom.w);
    if (alpha < 1e-5f) return {};
    const float t = top.w / alpha;
    return {t * top.x + (1 - t) * bottom.x, t * top.y + (1 - t) * bottom.y, t * top.z + (1 - t) * bottom.z,
            alpha};
}

// Bits are composed from the lowest up, so an entry is that of the word without its highest bit, composed
// with the colour of that bit.
void Renderer::createOverlay16BitPaletteImage(Image& out, const IVec4<float>* colors) {
    out.initialize(RGBA8, {kSide, kSide});
    if (!out.isInitialized()) return;
    Vector<IVec4<float>> entries(kEntries);
    uint8* pixel = out.getBytePointer();
    for (unsigned word = 0; word < kEntries; ++word, pixel += 4) {
        if (const int bits = std::bit_width(word); bits > 0 && colors != nullptr)
            entries[word] = util::alphaComposite(entries[word ^ (1u << (bits - 1))], colors[bits - 1]);
        for (int i = 0; i < 4; ++i) pixel[i] = toByte(entries[word][i]);
    }
}

} // namespace qel
