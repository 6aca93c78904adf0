#include <qel/text/fonts/bmf_file_p.h>

#include <qel/foundation/base/unicode.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/text/fonts/glyph_numbers_p.h>

#include <algorithm>
#include <string_view>

namespace qel::internal {

namespace {

constexpr uint8 kNewestVersion = 3;
constexpr size_t kCharacterSize = 20;
constexpr size_t kKerningSize = 10;
constexpr int kMaxWarnings = 100;

enum Block : uint8 { kInfo = 1, kCommon = 2, kPages = 3, kCharacters = 4, kKernings = 5 };

/// Reads little-endian numbers. After the end of the bytes it returns 0 and isGood() is false.
class ByteReader {
public:
    explicit ByteReader(ConstByteSpan bytes) : m_bytes(bytes) {}

    bool isGood() const { return m_good; }
    bool isAtEnd() const { return m_position == m_bytes.size; }

    /// Returns the next @p size bytes; an empty view if there are fewer.
    ConstByteSpan take(size_t size) {
        if (size > m_bytes.size - m_position) m_good = false;
        if (!m_good) return {};
        m_position += size;
        return {m_bytes.data + m_position - size, size};
    }
    uint32 number(size_t size) {
        uint32 value = 0;
        const ConstByteSpan bytes = take(size);
        for (size_t i = bytes.size; i-- > 0;) value = value << 8 | bytes[i];
        return value;
    }
    uint8 u8() { return static_cast<uint8>(number(1)); }
    uint16 u16() { return static_cast<uint16>(number(2)); }
    int16 i16() { return static_cast<int16>(number(2)); }
    uint32 u32() { return number(4); }
    /// Returns the text up to the next zero byte, which is skipped.
    std::string_view text() {
        const std::string_view rest(reinterpret_cast<const char*>(m_bytes.data) + m_position,
                                    m_bytes.size - m_position);
        const size_t length = rest.find('\0');
        m_good = m_good && length != std::string_view::npos;
        if (!m_good) return {};
        m_position += length + 1;
        return rest.substr(0, length);
    }
    /// Reads the type of a block.
    bool isNext(Block block) { return u8() == block && m_good; }
    /// Reads the size of a block. @return a reader of its content.
    ByteReader block() { return ByteReader(take(u32())); }

private:
    ConstByteSpan m_bytes;
    size_t m_position = 0;
    bool m_good = true;
};

class BmfReader {
public:
    explicit BmfReader(ConstByteSpan file) : m_reader(file) {}

    bool read() {
        const bool isFont = m_reader.take(3).asText() == "BMF" && m_reader.u8() <= kNewestVersion;
        if (!isFont || !m_reader.isNext(kInfo)) return false;
        readInfo();
        if (!m_reader.isNext(kCommon)) return false;
        readCommon();
        const bool hasPages = m_file.common.pageWidth > 0 && m_file.common.pageHeight > 0;
        if (!hasPages || !m_reader.isNext(kPages) || !skipPages()) return false;
        if (!m_reader.isNext(kCharacters)) return false;
        readCharacters(m_reader.block());
        if (m_reader.isAtEnd() || !m_reader.isNext(kKernings)) return m_reader.isGood();
        readKernings(m_reader.block());
        return m_reader.isGood();
    }
    BmfFile& file() { return m_file; }

private:
    void readInfo() {
        BitmapFont::Info& info = m_file.info;
        m_reader.u32(); // the size of the block, which its name ends
        info.fontSize = m_reader.i16();
        const uint8 flags = m_reader.u8();
        info.isSmooth = (flags & 0x80) != 0;
        info.isUnicode = (flags & 0x40) != 0;
        info.charset = m_reader.u8();
        info.stretchHeight = m_reader.u16();
        info.antiAlias = m_reader.u8();
        for (uint8& side : info.padding) side = m_reader.u8();
        for (uint8& side : info.spacing) side = m_reader.u8();
        info.outline = m_reader.u8();
        info.name = m_reader.text();
    }
    void readCommon() {
        BitmapFont::Common& common = m_file.common;
        m_reader.u32(); // the size of the block, which is always the same
        common.lineHeight = m_reader.u16();
        common.base = m_reader.u16();
        common.pageWidth = m_reader.u16();
        common.pageHeight = m_reader.u16();
        common.pageCount = m_reader.u16();
        common.flags = m_reader.u8();
        common.alphaChannel = m_reader.u8();
        common.redChannel = m_reader.u8();
        common.greenChannel = m_reader.u8();
        common.blueChannel = m_reader.u8();
    }
    /// Skips a name for each page. @return false unless they fill the block.
    bool skipPages() {
        ByteReader names = m_reader.block();
        for (int i = 0; i < m_file.common.pageCount && names.isGood(); ++i) names.text();
        return m_reader.isGood() && names.isGood() && names.isAtEnd();
    }
    void readCharacters(ByteReader records) {
        const float uPerPixel = 1.0f / static_cast<float>(m_file.common.pageWidth);
        const float vPerPixel = 1.0f / static_cast<float>(m_file.common.pageHeight);
        for (ByteReader record(records.take(kCharacterSize)); records.isGood();
             record = ByteReader(records.take(kCharacterSize))) {
            const uint32 codePoint = toCodePoint(record.u32(), "invalid codepoint in bitmapfont");
            Font::Character character;
            character.x = record.u16();
            character.y = record.u16();
            const int width = record.u16();
            const int height = record.u16();
            character.xOffset = record.i16();
            character.yOffset = toInt16(record.i16() - m_file.common.base);
            character.xAdvance = record.i16();
            character.page = record.u8();
            character.channel = record.u8();
            const bool isOnPage = character.page < m_file.common.pageCount;
            character.width = toInt16(isOnPage ? width : 0);
            character.height = toInt16(isOnPage ? height : 0);
            character.uMin = static_cast<float>(character.x) * uPerPixel;
            character.vMin = static_cast<float>(character.y) * vPerPixel;
            character.uMax = static_cast<float>(character.x + width) * uPerPixel;
            character.vMax = static_cast<float>(character.y + height) * vPerPixel;
            m_file.characters.emplace_back(codePoint, character);
        }
    }
    void readKernings(ByteReader records) {
        for (ByteReader record(records.take(kKerningSize)); records.isGood();
             record = ByteReader(records.take(kKerningSize))) {
            const uint32 first = toCodePoint(record.u32(), "invalid codepoint in bitmapfont kerning");
            const uint32 second = toCodePoint(record.u32(), "invalid codepoint in bitmapfont kerning");
            m_file.kernings[kerningKey(first, second)] = record.i16();
        }
    }
    /// Returns the code point of a code of the file.
    uint32 toCodePoint(uint32 code, const char* warning) {
        const uint32 codePoint = m_file.info.isUnicode ? code : util::unicode_from_cp1252(code);
        const bool isInvalid = codePoint >= 0xFFFFFFFE;
        if (isInvalid && m_warnings++ < kMaxWarnings) logging::warning() << warning;
        return codePoint;
    }

    ByteReader m_reader;
    BmfFile m_file;
    int m_warnings = 0; ///< limited, so that a damaged file does not flood the log
};

} // namespace

std::optional<BmfFile> readBmfFile(ConstByteSpan file) {
    BmfReader reader(file);
    if (!reader.read()) return std::nullopt;
    return std::move(reader.file());
}

} // namespace qel::internal
