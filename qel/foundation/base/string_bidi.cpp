#include <qel/foundation/base/bidi_analysis.h>
#include <qel/foundation/base/string.h>

#include <fribidi.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace qel {
namespace {

using internal::BidiClass;

constexpr int kHoldsRightToLeft = 2;
constexpr int kBeginsRightToLeft = 1;
constexpr uint32 kFirstRightToLeft = 0x590; // lower code points are not right-to-left and do not make text so

struct KnownType {
    FriBidiCharType type;
    BidiClass bidiClass;
};

constexpr KnownType kKnownTypes[] = {
    {FRIBIDI_TYPE_LTR, BidiClass::L},   {FRIBIDI_TYPE_RTL, BidiClass::R},
    {FRIBIDI_TYPE_AL, BidiClass::AL},   {FRIBIDI_TYPE_WS, BidiClass::WS},
    {FRIBIDI_TYPE_EN, BidiClass::EN},   {FRIBIDI_TYPE_ON, BidiClass::ON},
    {FRIBIDI_TYPE_NSM, BidiClass::NSM}, {FRIBIDI_TYPE_CS, BidiClass::CS},
    {FRIBIDI_TYPE_ES, BidiClass::ES},   {FRIBIDI_TYPE_ET, BidiClass::ET},
    {FRIBIDI_TYPE_AN, BidiClass::AN},   {FRIBIDI_TYPE_BN, BidiClass::BN},
    {FRIBIDI_TYPE_BS, BidiClass::B},    {FRIBIDI_TYPE_SS, BidiClass::S},
    {FRIBIDI_TYPE_LRE, BidiClass::LRE}, {FRIBIDI_TYPE_LRO, BidiClass::LRO},
    {FRIBIDI_TYPE_RLE, BidiClass::RLE}, {FRIBIDI_TYPE_RLO, BidiClass::RLO},
    {FRIBIDI_TYPE_PDF, BidiClass::PDF}, {FRIBIDI_TYPE_LRI, BidiClass::LRI},
    {FRIBIDI_TYPE_RLI, BidiClass::RLI}, {FRIBIDI_TYPE_FSI, BidiClass::FSI},
    {FRIBIDI_TYPE_PDI, BidiClass::PDI},
};

BidiClass classOf(FriBidiCharType type) {
    const auto* known = std::ranges::find(kKnownTypes, type, &KnownType::type);
    return known != std::end(kKnownTypes) ? known->bidiClass : BidiClass::ON;
}

Vector<BidiClass> classesOf(const Vector<uint32>& text) {
    constexpr std::size_t kMost = std::numeric_limits<FriBidiStrIndex>::max(); // the library's limit
    Vector<FriBidiCharType> types(std::min(text.size(), kMost));
    fribidi_get_bidi_types(text.data(), static_cast<FriBidiStrIndex>(types.size()), types.data());
    Vector<BidiClass> classes(types.size());
    std::transform(types.begin(), types.end(), classes.begin(), classOf);
    return classes;
}

bool isRightToLeft(uint8 level) {
    return level % 2 == 1;
}

} // namespace

int String::utf8_rtl_flags() const {
    const Vector<uint32> text = utf8_to_unicode();
    const auto canTurn = [](uint32 codePoint) { return codePoint >= kFirstRightToLeft; };
    if (std::none_of(text.begin(), text.end(), canTurn)) return 0;
    Vector<BidiClass> classes = classesOf(text);
    Vector<uint8> levels(classes.size());
    internal::findBidiLevels(classes, levels, internal::BidiSpaceRule::Reset);
    const bool holds = std::any_of(levels.begin(), levels.end(), isRightToLeft);
    return (holds ? kHoldsRightToLeft : 0) | (isRightToLeft(levels.front()) ? kBeginsRightToLeft : 0);
}

} // namespace qel
