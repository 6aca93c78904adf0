// The operations of Image that tabulate functions.
#include <qel/imaging/pixels/image.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/preintegrated_rows_p.h>
#include <qel/imaging/pixels/turn_tiles_p.h>

#include <algorithm>

namespace qel {
namespace {

/// The pixels of a side of the squares that are mirrored at the diagonal.
constexpr size_t kTile = internal::kTileBytes / 4;

bool isTableSize(unsigned steps) {
    if (steps >= 1 && steps <= Image::kMaximumTableSteps) return true;
    logging::error() << "invalid number of steps for a lookup table: " << steps;
    return false;
}

float abscissa(unsigned i, unsigned steps, float begin, float end) {
    if (steps == 1) return begin;
    return static_cast<float>(i) / static_cast<float>(steps - 1) * (end - begin) + begin;
}

Vector<IVec4<float>> tabulate(unsigned steps, float begin, float end,
                              const std::function<IVec4<float>(float)>& f) {
    Vector<IVec4<float>> values(steps);
    for (unsigned i = 0; i < steps; ++i) values[i] = f(abscissa(i, steps, begin, end));
    return values;
}

IVec2<float> tableAddress(unsigned steps, float begin, float end) {
    if (steps == 1) return {0.0f, 0.5f};
    const auto count = static_cast<float>(steps);
    const float scale = (static_cast<float>(steps - 1) / count) / (end - begin);
    return {scale, 0.5f / count - scale * begin};
}

void writePixel(uint8* out, const IVec4<float>& value) {
    for (int c = 0; c < 4; ++c) out[c] = internal::toTableByte(value[c]);
}

/// Returns the sums of the values up to each step.
Vector<IVec4<float>> runningSums(Vector<IVec4<float>> values) {
    for (size_t i = 1; i < values.size(); ++i)
        for (int c = 0; c < 4; ++c) values[i][c] = values[i - 1][c] + values[i][c];
    return values;
}

/// Copies the part after the diagonal of @p rows rows from @p first on to the columns before it.
void mirror(uint8* pixels, size_t steps, size_t first, size_t rows) {
    const auto pitch = static_cast<int64>(steps * 4);
    const auto at = [&](size_t row, size_t column) { return pixels + (row * steps + column) * 4; };
    size_t column = first;
    for (; rows == kTile && column + kTile <= steps; column += kTile)
        if (column > first)
            internal::turnTile({at(column, first), pitch, at(first, column), pitch, kTile}, 4);
    const auto copyBelow = [&](size_t from, size_t to) {
        for (size_t row = first; row < first + rows; ++row)
            for (size_t c = std::max(from, row + 1); c < to; ++c) std::copy_n(at(row, c), 4, at(c, row));
    };
    copyBelow(first, std::min(first + rows, steps));
    copyBelow(std::max(column, first + rows), steps);
}

} // namespace

IVec2<float> Image::createLookupTableForTexture(unsigned steps, float begin, float end,
                                                const std::function<IVec4<float>(float)>& f) {
    clear();
    if (!isTableSize(steps)) return {};
    const Vector<IVec4<float>> values = tabulate(steps, begin, end, f);
    initialize(RGBA8, {static_cast<int>(steps), 1});
    if (!isInitialized()) return {};
    for (size_t i = 0; i < steps; ++i) writePixel(getBytePointer() + i * 4, values[i]);
    return tableAddress(steps, begin, end);
}

IVec2<float> Image::createPreintegrationForTexture(unsigned steps, float begin, float end,
                                                   const std::function<IVec4<float>(float)>& f) {
    clear();
    if (!isTableSize(steps)) return {};
    const Vector<IVec4<float>> values = tabulate(steps, begin, end, f);
    const Vector<IVec4<float>> sums = runningSums(values);
    initialize(RGBA8, {static_cast<int>(steps), static_cast<int>(steps)});
    if (!isInitialized()) return {};
    for (size_t row = 0; row < steps; ++row) {
        uint8* const diagonal = getBytePointer(static_cast<int>(row)) + row * 4;
        writePixel(diagonal, values[row]);
        internal::writePreintegratedRow(diagonal + 4, sums.data(), row, row + 1, steps);
        if (row % kTile == kTile - 1 || row + 1 == steps)
            mirror(getBytePointer(), steps, row - row % kTile, row % kTile + 1);
    }
    return tableAddress(steps, begin, end);
}

} // namespace qel
