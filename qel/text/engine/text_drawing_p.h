// What the parts of TextActor share.
#pragma once

#include <qel/text/engine/text_actor.h>

#include <cmath>
#include <utility>

namespace qel::internal {

/// Protects the lines of a text while they are read or written: hooks of the host that run meanwhile, such as
/// those that draw a glyph, can neither free them nor lay the text out again.
class TextBusy {
public:
    explicit TextBusy(TextActor& actor) : m_isBusy(actor.m_isBusy), m_before(std::exchange(m_isBusy, true)) {}
    TextBusy(const TextBusy&) = delete;
    TextBusy& operator=(const TextBusy&) = delete;
    ~TextBusy() { m_isBusy = m_before; }

private:
    bool& m_isBusy;
    bool m_before;
};

inline Rect moved(const Rect& rect, const IVec2<float>& by) {
    return {rect.x0 + by.x, rect.y0 + by.y, rect.x1 + by.x, rect.y1 + by.y};
}

/// Returns @p clip between two columns, rounded outwards.
inline IVec4<int> columns(const IVec4<int>& clip, float left, float right) {
    const IVec4<int> rounded = Rect(std::floor(left), 0, std::ceil(right), 0).roundNearestAsInt();
    return {rounded.x, clip.y, rounded.z, clip.w};
}

/// Returns the colour of packed bytes, red in the lowest.
inline IVec4<float> unpackedColor(uint32 color) {
    const auto channel = [&](int shift) { return static_cast<float>(color >> shift & 0xFF) / 255.0f; };
    return {channel(0), channel(8), channel(16), channel(24)};
}

} // namespace qel::internal
