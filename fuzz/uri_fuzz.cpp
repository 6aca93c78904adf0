// Two URIs, parsed one after the other by one parser: the input up to the first line feed, and the rest.
#include <fuzz/require.h>
#include <qel/rpc/uri_parser.h>

#include <algorithm>
#include <string_view>
#include <tuple>

using namespace qel;

namespace {

auto fieldsOf(const URIParser& parser) {
    return std::tuple(parser.scheme, parser.user, parser.password, parser.host, parser.port, parser.path,
                      parser.query);
}

/// Every part occurs unchanged in the URI; only the query has its escapes decoded.
void requireParts(const URIParser& parser, const String& uri) {
    for (const String* part : {&parser.user, &parser.password, &parser.host, &parser.port}) {
        require(uri.find(*part) != String::npos);
    }
    require(uri.utf8_lowercase().find(parser.scheme) != String::npos);
    require(parser.path.size() <= uri.size());
    require(std::all_of(parser.path.begin(), parser.path.end(),
                        [&](char c) { return c == '/' || uri.find(c) != String::npos; }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t cut = std::min(input.find('\n'), size);
    URIParser parser;
    for (const std::string_view text : {input.substr(0, cut), input.substr(std::min(cut + 1, size))}) {
        const String uri{std::string(text).c_str()};
        const auto before = fieldsOf(parser);
        if (parser.decodeURI(uri.c_str()))
            requireParts(parser, uri);
        else
            require(fieldsOf(parser) == before);
    }
    return 0;
}
