#include <qel/rpc/uri_parser.h>

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace qel;
using Query = std::map<std::string, std::string>;

struct Parts {
    const char* uri;
    const char* scheme;
    const char* user;
    const char* password;
    const char* host;
    const char* port;
    const char* path;
    Query query;
};

const Parts kParts[] = {
    {"HTTP://a:b:c@Host.Example:8042/over/There?Name=Fer%20ret&flag#nose",
     "http",
     "a",
     "b:c",
     "Host.Example",
     "8042",
     "over/There",
     {{"name", "Fer ret"}, {"flag", ""}}},
    {"ftp://joe@h", "ftp", "joe", "", "h", "", "", {}},
    {"mailto:John@example.com", "mailto", "", "", "", "", "John@example.com", {}},
    {"x://[2001:db8::7]/a%2Fb//c/?k=1&K=2&+=%41",
     "x",
     "",
     "",
     "2001:db8::7",
     "",
     "a%2Fb//c/",
     {{"k", "2"}, {" ", "A"}}},
    {"../up?=v", "", "", "", "", "", "../up", {{"", "v"}}},
    {"", "", "", "", "", "", "", {}},
};

void expectParts(const URIParser& parser, const Parts& expected) {
    EXPECT_EQ(parser.scheme, expected.scheme);
    EXPECT_EQ(parser.user, expected.user);
    EXPECT_EQ(parser.password, expected.password);
    EXPECT_EQ(parser.host, expected.host);
    EXPECT_EQ(parser.port, expected.port);
    EXPECT_EQ(parser.path, expected.path);
    EXPECT_EQ(Query(parser.query.begin(), parser.query.end()), expected.query);
}

TEST(URIParserTest, TakesURIsApart) {
    for (const Parts& parts : kParts) {
        SCOPED_TRACE(parts.uri);
        URIParser parser;
        ASSERT_TRUE(parser.decodeURI(parts.uri));
        expectParts(parser, parts);
    }
}

TEST(URIParserTest, ASecondURIOverwritesTheFieldsAndARefusedOneLeavesThem) {
    URIParser parser;
    ASSERT_TRUE(parser.decodeURI(kParts[0].uri));
    for (const char* bad : {"http://a b/", "1http://h", "http://h:x/", "%zz", "http://[::1/"}) {
        EXPECT_FALSE(parser.decodeURI(bad)) << bad;
        expectParts(parser, kParts[0]);
    }
    ASSERT_TRUE(parser.decodeURI(kParts[3].uri));
    expectParts(parser, kParts[3]);
    ASSERT_TRUE(parser.decodeURI("s://h"));
    EXPECT_EQ(parser.query.size(), 2u) << "without a query the map stays";
    EXPECT_EQ(parser.host, "h");
}

TEST(URIParserTest, HugeURIsAreTakenApartWithinTheStack) {
    const std::string segments = [] {
        std::string text = "a://";
        for (int i = 0; i < 1'000'000; ++i) text += "u%41/b?c"[i % 8];
        return text;
    }();
    URIParser parser;
    parser.decodeURI(segments.c_str());
    EXPECT_TRUE(parser.decodeURI(("a://" + std::string(1'000'000, 'h')).c_str()));
    EXPECT_TRUE(parser.decodeURI(("a:" + std::string(1'000'000, '/')).c_str()));
    EXPECT_TRUE(parser.decodeURI(("a:?" + std::string(1'000'000, '&')).c_str()));
    EXPECT_EQ(parser.query.size(), 0u);
}

} // namespace
