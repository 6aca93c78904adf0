#include <qel/platform/charset_converter.h>

#include <array>
#include <cerrno>
#include <cstddef>

#include <iconv.h>

namespace qel::platform {

namespace {

/// An open iconv conversion.
class Conversion {
public:
    Conversion(const char* from, const char* to) : m_handle(iconv_open(to, from)) {}
    ~Conversion() {
        if (isOpen()) iconv_close(m_handle);
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    bool isOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    /// Converts a piece of text, or finishes the text if @p in is null; appends to @p out.
    CharsetResult run(char** in, std::size_t* inLeft, std::string& out) {
        std::array<char, 1024> piece;
        for (;;) {
            char* end = piece.data();
            std::size_t left = piece.size();
            const bool failed = iconv(m_handle, in, inLeft, &end, &left) == static_cast<std::size_t>(-1);
            const int error = errno;
            out.append(piece.data(), end);
            if (!failed) return CharsetResult::Done;
            if (error == EINVAL) return CharsetResult::IncompleteCharacter;
            if (error != E2BIG) return CharsetResult::BadCharacter;
        }
    }

private:
    iconv_t m_handle;
};

} // namespace

CharsetResult convertCharset(const char* from, const char* to, std::string_view text, std::string& out) {
    out.clear();
    Conversion conversion(from, to);
    if (!conversion.isOpen()) return CharsetResult::UnknownEncoding;
    char* in = const_cast<char*>(text.data()); // iconv only reads, but its interface predates const
    std::size_t inLeft = text.size();
    const CharsetResult result = conversion.run(&in, &inLeft, out);
    return result == CharsetResult::Done ? conversion.run(nullptr, nullptr, out) : result;
}

} // namespace qel::platform
