#include <qel/foundation/base/number_format.h>

#include <fmt/format.h>

#include <array>
#include <cmath>

namespace qel::util {
namespace {

using UnitNames = std::array<const char*, 7>;

constexpr UnitNames kDecimalBytes = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
constexpr UnitNames kBinaryBytes = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
constexpr UnitNames kDecimalBits = {"bit", "kbit", "Mbit", "Gbit", "Tbit", "Pbit", "Ebit"};

String formatWithUnit(uint64 amount, uint64 base, const UnitNames& units) {
    if (amount < base) return fmt::format("{} {}", amount, units[0]);
    const double step = static_cast<double>(base);
    double value = static_cast<double>(amount) / step;
    std::size_t unit = 1;
    for (; value >= step - 0.05 && unit + 1 < units.size(); ++unit)
        value /= step; // 0.05 rounds up to the base
    return fmt::format("{:.1f} {}", value, units[unit]);
}

struct LengthUnit {
    double mm;
    const char* name;
};

constexpr LengthUnit kMillimetre = {1, "mm"};

LengthUnit unitFor(double mm) {
    const double size = std::abs(mm);
    if (size >= 1e6) return {1e6, "km"};
    if (size >= 1e3) return {1e3, "m"};
    if (size >= 10) return {10, "cm"};
    if (size >= 1 || size == 0) return kMillimetre;
    return size > 0 ? LengthUnit{1e-3, "µm"} : kMillimetre; // the latter is NaN
}

} // namespace

String stringFormatWithBytesUnit1000(uint64 bytes) {
    return formatWithUnit(bytes, 1000, kDecimalBytes);
}

String stringFormatWithBytesUnit1024(uint64 bytes) {
    return formatWithUnit(bytes, 1024, kBinaryBytes);
}

String stringFormatWithBitsUnit1000(uint64 bits) {
    return formatWithUnit(bits, 1000, kDecimalBits);
}

String stringFormatLengthWithMMUnit(double mm, bool autoUnit) {
    const LengthUnit unit = autoUnit ? unitFor(mm) : kMillimetre;
    return fmt::format("{:.2f} {}", mm / unit.mm, unit.name);
}

} // namespace qel::util
