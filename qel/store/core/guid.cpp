#include <qel/store/core/guid.h>

#include <qel/foundation/base/base_encoding.h>

#include <istream>
#include <ostream>

namespace qel {
namespace {

const char* const kBeginnings[8] = {"wet", "bel", "nar", "xan", "bell", "latr", "ev", ""};
const char* const kMiddles[16] = {"adur",  "aes",  "anim", "apoll", "imac", "educ", "equis", "extr",
                                  "guius", "hann", "equi", "amora", "hum",  "iace", "ille",  "opu"};
const char* const kEndings[16] = {"",   "us",   "ix",   "ox",  "ith",  "ath",  "um", "ator",
                                  "or", "axia", "imus", "ais", "itur", "orex", "o",  "y"};

const uint8* bytesOf(const char* text) {
    return reinterpret_cast<const uint8*>(text);
}

} // namespace

GUID GUID::fromString(SmartCStr text) {
    GUID guid;
    const bool isWhole =
        text.size() == kTextSize && util::decodeBase16(guid.bytes.data(), bytesOf(text.c_str()), kTextSize);
    return isWhole ? guid : GUID();
}

String GUID::toString() const {
    return String::encodeBase16fromBuffer(bytes.data(), kSize);
}

String GUID::getFantasyName() const {
    if (isNull()) return "god";
    // 32-bit FNV-1a: the lower half of the 64-bit hash that String computes.
    const auto h = static_cast<uint32>(String::hash(reinterpret_cast<const char*>(bytes.data()), kSize));
    return String(kBeginnings[h & 7]) + kMiddles[(h >> 3) & 15] + kEndings[(h >> 7) & 15];
}

std::ostream& operator<<(std::ostream& out, const GUID& guid) {
    return out << guid.toString();
}

std::istream& operator>>(std::istream& in, GUID& guid) {
    char text[GUID::kTextSize];
    guid = GUID();
    if (!in.read(text, sizeof text)) return in;
    if (!util::decodeBase16(guid.bytes.data(), bytesOf(text), sizeof text)) {
        guid = GUID();
        in.setstate(std::ios::failbit);
    }
    return in;
}

} // namespace qel
