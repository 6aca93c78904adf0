#include <qel/rpc/uri_parser.h>

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace qel;

/// Returns all parts in order, separated by "|".
std::string partsOf(const URIParser& p) {
    std::string text;
    for (const String* part : {&p.scheme, &p.user, &p.password, &p.host, &p.port, &p.path})
        text += *part + "|";
    for (const auto& [key, value] : std::map<std::string, std::string>(p.query.begin(), p.query.end()))
        text += key + "=" + value + "|";
    return text;
}

TEST(URIParserTest, SplitsURIs) {
    const std::pair<const char*, const char*> kCases[] = {
        {"HTTP://a:b:c@Host.Example:8042/over/There?Name=Fer%20ret&flag#nose",
         "http|a|b:c|Host.Example|8042|over/There|flag=|name=Fer ret|"},
        {"mailto:John@example.com", "mailto|||||John@example.com|"},
        {"x://[2001:db8::7]/a%2Fb//c/?k=1&K=2&+=%41", "x|||2001:db8::7||a%2Fb//c/| =A|k=2|"},
        {"../up?=v", "|||||../up|=v|"},
        {"", "||||||"},
    };
    for (const auto& [uri, parts] : kCases) {
        URIParser parser;
        EXPECT_TRUE(parser.decodeURI(uri)) << uri;
        EXPECT_EQ(partsOf(parser), parts) << uri;
    }
}

TEST(URIParserTest, ARefusedURIKeepsTheFields) {
    URIParser parser;
    ASSERT_TRUE(parser.decodeURI("s://u:p@h:1/a?b=c"));
    for (const char* bad : {"http://a b/", "1http://h", "http://h:x/", "%zz", "http://[::1/"}) {
        EXPECT_FALSE(parser.decodeURI(bad)) << bad;
        EXPECT_EQ(partsOf(parser), "s|u|p|h|1|a|b=c|") << bad;
    }
    ASSERT_TRUE(parser.decodeURI("t:?d=e"));
    ASSERT_TRUE(parser.decodeURI("t:x"));
    EXPECT_EQ(partsOf(parser), "t|||||x|d=e|") << "without a query the map is kept";
}

TEST(URIParserTest, HugeURIsDoNotOverflowTheStack) {
    URIParser parser;
    for (const char* part : {"/b", "?k=v&"}) {
        std::string text = "a:";
        while (text.size() < 1'000'000) text += part;
        EXPECT_TRUE(parser.decodeURI(text.c_str())) << part;
    }
}

} // namespace
