#include <qel/rpc/uri_parser.h>

#include <qel/foundation/base/smart_cstr.h>

#include <uriparser/Uri.h>

#include <string_view>

namespace qel {

namespace {

/// A parsed URI. Its parts are ranges of the text, which must outlive it.
class ParsedURI {
public:
    explicit ParsedURI(const char* text) {
        const char* errorPosition = nullptr;
        m_isValid = uriParseSingleUriExA(&m_uri, text, text + std::string_view(text).size(),
                                         &errorPosition) == URI_SUCCESS;
    }
    ParsedURI(const ParsedURI&) = delete;
    ParsedURI& operator=(const ParsedURI&) = delete;
    ~ParsedURI() {
        if (m_isValid) uriFreeUriMembersA(&m_uri); // a failed parse frees its memory itself
    }

    bool isValid() const { return m_isValid; }
    const UriUriA* operator->() const { return &m_uri; }

private:
    UriUriA m_uri{};
    bool m_isValid;
};

String textOf(const UriTextRangeA& range) {
    return range.first ? String(std::string_view(range.first, range.afterLast)) : String();
}

String joinSegments(const UriPathSegmentA* segment) {
    String path;
    for (const char* separator = ""; segment; segment = segment->next, separator = "/") {
        path += separator;
        path += textOf(segment->text);
    }
    return path;
}

template <typename Query>
void readQuery(const UriTextRangeA& range, Query& query) {
    UriQueryListA* list = nullptr;
    int count = 0;
    if (uriDissectQueryMallocA(&list, &count, range.first, range.afterLast) != URI_SUCCESS) return;
    query.clear();
    for (const UriQueryListA* pair = list; pair; pair = pair->next) {
        query[String(pair->key).utf8_lowercase()] = pair->value;
    }
    uriFreeQueryListA(list);
}

} // namespace

bool URIParser::decodeURI(const char* uri) {
    const ParsedURI parsed(uri ? uri : "");
    if (!parsed.isValid()) return false;
    scheme = textOf(parsed->scheme).utf8_lowercase();
    user = textOf(parsed->userInfo);
    const size_t colon = user.find(':');
    password = colon == String::npos ? String() : user.substr(colon + 1);
    if (colon != String::npos) user.resize(colon);
    host = textOf(parsed->hostText);
    port = textOf(parsed->portText);
    path = joinSegments(parsed->pathHead);
    readQuery(parsed->query, query);
    return true;
}

} // namespace qel
