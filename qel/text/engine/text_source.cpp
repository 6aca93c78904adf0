#include <qel/text/engine/text_source_p.h>

#include <algorithm>
#include <utility>

namespace qel::internal {

TextSource::TextSource(String text) {
    const std::size_t end = SmartCStr(text).size();
    m_layers.push_back({std::move(text), 0, end});
}

void TextSource::dropFinished() {
    while (m_layers.size() > 1 && m_layers.back().position == m_layers.back().end) m_layers.pop_back();
}

uint32 TextSource::next() {
    dropFinished();
    ++m_index;
    Layer& layer = m_layers.back();
    if (layer.position == layer.end) return 0;
    const auto byte = static_cast<uint8>(layer.text[layer.position]);
    if (byte < 0x80) {
        ++layer.position;
        return byte;
    }
    String::const_iterator iterator = layer.text.cbegin() + static_cast<std::ptrdiff_t>(layer.position);
    const uint32 codePoint = layer.text.utf8_parse(iterator);
    layer.position = static_cast<std::size_t>(iterator - layer.text.cbegin());
    return codePoint;
}

std::string_view TextSource::ahead() {
    dropFinished();
    const Layer& layer = m_layers.back();
    return std::string_view(layer.text).substr(layer.position, layer.end - layer.position);
}

void TextSource::skipAscii(std::size_t count) {
    m_layers.back().position += count;
    m_index += static_cast<uint32>(count);
}

void TextSource::appendUpTo(std::size_t end, String& code) {
    Layer& layer = m_layers.back();
    const std::string_view bytes = std::string_view(layer.text).substr(layer.position, end - layer.position);
    if (std::all_of(bytes.begin(), bytes.end(), [](char byte) { return static_cast<uint8>(byte) < 0x80; })) {
        code.append(bytes);
        skipAscii(bytes.size());
        return;
    }
    while (layer.position < end) code.utf8_append(next());
}

bool TextSource::readCode(String& code) {
    for (;;) {
        const std::size_t brace = ahead().find('}');
        Layer& layer = m_layers.back();
        if (brace != std::string_view::npos) {
            appendUpTo(layer.position + brace, code);
            next();
            return true;
        }
        appendUpTo(layer.end, code);
        if (m_layers.size() == 1) return false;
    }
}

void TextSource::insert(String text) {
    dropFinished();
    const std::size_t end = text.size();
    m_layers.push_back({std::move(text), 0, end});
}

} // namespace qel::internal
