#include <qel/volume/header_lines_p.h>

#include <string_view>

namespace qel::internal {
namespace {

constexpr size_t kBlockBytes = 16384;

} // namespace

HeaderLines::Result HeaderLines::next(String& line, size_t longest) {
    line.clear();
    bool hasByte = false;
    while (m_at < m_block.getSize() || fill()) {
        hasByte = true;
        const std::string_view rest = m_block.getConstByteSpan().asText().substr(m_at);
        const size_t end = rest.find('\n');
        line.append(rest.substr(0, end));
        if (line.size() > longest) return Result::TooLong;
        m_at += end == std::string_view::npos ? rest.size() : end + 1;
        if (end != std::string_view::npos) return Result::Line;
    }
    return hasByte && !m_error ? Result::Line : Result::End;
}

bool HeaderLines::fill() {
    if (m_error) return false;
    m_blockBegin += m_block.getSize();
    m_at = 0;
    m_block.resize(kBlockBytes);
    size_t done = 0;
    m_error = m_file.readAt(m_blockBegin, m_block.getBytePointer(), kBlockBytes, done);
    m_block.resize(m_error ? 0 : done);
    return !m_block.empty();
}

} // namespace qel::internal
