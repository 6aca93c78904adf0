#include <hosts/widgets/text_table.h>

#include <qel/foundation/base/buffer.h>

namespace qelwidgets {

bool TextTable::load(const std::string& name, const std::string& language) {
    qel::Buffer content;
    if (!content.loadFromResource((name + "." + language + ".txt").c_str(), true)) return false;
    read(content.getConstByteSpan().asText(), language);
    return true;
}

void TextTable::read(std::string_view lines, const std::string& language) {
    std::string* text = nullptr;
    while (!lines.empty()) {
        const size_t end = std::min(lines.find('\n'), lines.size());
        const std::string_view line = lines.substr(0, end);
        lines.remove_prefix(std::min(end + 1, lines.size()));
        if (line.starts_with('[') && line.ends_with(']') && line.find('|') == line.npos) {
            text = &m_texts["tr-" + std::string(line.substr(1, line.size() - 2)) + "." + language + ".txt"];
        } else if (text) {
            *text += (text->empty() ? "" : "\n") + std::string(line);
        }
    }
}

bool TextTable::loadResource(qel::SmartCStr name, qel::Buffer& buffer) {
    const auto found = m_texts.find(name.c_str());
    if (found == m_texts.end()) return false;
    buffer.resize(found->second.size());
    found->second.copy(reinterpret_cast<char*>(buffer.getBytePointer()), found->second.size());
    return true;
}

} // namespace qelwidgets
