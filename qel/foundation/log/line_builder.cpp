#include <qel/foundation/log/line_builder_p.h>

#include <locale>
#include <memory>
#include <vector>

namespace qel::logging {

namespace {

/// Builders that grew beyond this are not kept.
constexpr std::size_t kMaxKeptCapacity = 64 * 1024;

/// Set after a thread's spare builders have been destroyed, for lines from destructors that run later.
thread_local bool t_isThreadEnding = false;

/// The spare builders of a thread: one for each level of nested lines that has occurred.
struct Spares {
    std::vector<std::unique_ptr<LineBuilder>> builders;
    ~Spares() { t_isThreadEnding = true; }
};

std::vector<std::unique_ptr<LineBuilder>>& spareBuilders() {
    thread_local Spares t_spares;
    return t_spares.builders;
}

bool isDefaultFormat(const std::ios& stream) {
    return stream.flags() == (std::ios::skipws | std::ios::dec) && stream.width() == 0 &&
           stream.precision() == 6 && stream.fill() == ' ' && stream.good();
}

} // namespace

LineBuilder* LineBuilder::acquire(std::string_view prefix) {
    std::unique_ptr<LineBuilder> builder;
    if (!t_isThreadEnding && !spareBuilders().empty()) {
        builder = std::move(spareBuilders().back());
        spareBuilders().pop_back();
    } else {
        builder = std::make_unique<LineBuilder>();
    }
    builder->restart(prefix);
    return builder.release();
}

void LineBuilder::release(LineBuilder* builder) {
    std::unique_ptr<LineBuilder> owner(builder);
    if (!t_isThreadEnding && builder->m_line.capacity() <= kMaxKeptCapacity) {
        spareBuilders().push_back(std::move(owner));
    }
}

std::ostream& LineBuilder::stream() {
    if (!m_stream) {
        m_stream.emplace(static_cast<std::streambuf*>(this));
        m_stream->imbue(std::locale::classic());
    }
    return *m_stream;
}

void LineBuilder::checkFormat() {
    m_isPlain = isDefaultFormat(*m_stream);
}

void LineBuilder::cutTrailingWhitespace() {
    const std::size_t last = text().find_last_not_of(" \t\f\v\n\r");
    if (last != std::string_view::npos) m_line.resize(m_prefixLength + last + 1);
}

LineBuilder::int_type LineBuilder::overflow(int_type c) {
    if (!traits_type::eq_int_type(c, traits_type::eof())) append(traits_type::to_char_type(c));
    return traits_type::not_eof(c);
}

std::streamsize LineBuilder::xsputn(const char* text, std::streamsize n) {
    m_line.append(text, static_cast<std::size_t>(n));
    return n;
}

void LineBuilder::restart(std::string_view prefix) {
    m_line.assign(prefix);
    m_prefixLength = prefix.size();
    if (!m_isPlain) m_stream.reset(); // rare enough to create a new one
    m_isPlain = true;
}

} // namespace qel::logging
