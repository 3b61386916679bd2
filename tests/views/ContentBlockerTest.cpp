#include "views/reader/ContentBlocker.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::ContentBlocker {
namespace {

TEST(ContentBlocker, NamesItsListsAfterTheirModes)
{
    EXPECT_EQ(storedText(Mode::blockAll), u"blockAll");
    EXPECT_EQ(storedText(Mode::httpsImagesOnly), u"httpsImagesOnly");
    EXPECT_EQ(identifier(Mode::blockAll), u"larkhaven.blockAll.v1");
    EXPECT_EQ(identifier(Mode::httpsImagesOnly), u"larkhaven.httpsImagesOnly.v1");
}

TEST(ContentBlocker, WritesTheListThatBlocksAllExactly)
{
    EXPECT_EQ(source(Mode::blockAll),
              "[{\"trigger\":{\"url-filter\":\".*\"},\"action\":{\"type\":\"block\"}},\n"
              "{\"trigger\":{\"url-filter\":\"^data:\"},\"action\":{\"type\":\"ignore-previous-rules\"}},\n"
              "{\"trigger\":{\"url-filter\":\"^about:\"},\"action\":{\"type\":\"ignore-previous-rules\"}}]");
}

TEST(ContentBlocker, WritesTheListThatLetsImagesThroughExactly)
{
    EXPECT_EQ(source(Mode::httpsImagesOnly),
              "[{\"trigger\":{\"url-filter\":\".*\"},\"action\":{\"type\":\"block\"}},\n"
              "{\"trigger\":{\"url-filter\":\"^https://\",\"resource-type\":[\"image\"]},"
              "\"action\":{\"type\":\"ignore-previous-rules\"}},\n"
              "{\"trigger\":{\"url-filter\":\"^data:\"},\"action\":{\"type\":\"ignore-previous-rules\"}},\n"
              "{\"trigger\":{\"url-filter\":\"^about:\"},\"action\":{\"type\":\"ignore-previous-rules\"}},\n"
              "{\"trigger\":{\"url-filter\":\".*\"},\"action\":{\"type\":\"block-cookies\"}}]");
}

struct Row {
    const char* url;
    Resource resource;
    bool isBlocked;
};

void expectVerdicts(Mode mode, const QList<Row>& rows, bool areCookiesBlocked)
{
    for (const Row& row : rows) {
        const Verdict expected{row.isBlocked, areCookiesBlocked};
        const QUrl url(QString::fromLatin1(row.url));
        EXPECT_EQ(ruleList(mode).verdict(url, row.resource), expected) << row.url;
    }
}

TEST(ContentBlocker, LetsNothingThroughThatLeavesTheMachineInTheFirstMode)
{
    expectVerdicts(Mode::blockAll,
                   {{"https://a.example/x.png", Resource::image, true},
                    {"http://a.example/x.png", Resource::image, true},
                    {"https://a.example/", Resource::document, true},
                    {"https://a.example/x.css", Resource::other, true},
                    {"wss://a.example/", Resource::other, true},
                    {"ftp://a.example/", Resource::other, true},
                    {"file:///etc/passwd", Resource::image, true},
                    {"blob:https://a.example/1", Resource::image, true},
                    {"qrc:/a", Resource::other, true},
                    {"chrome://version", Resource::document, true},
                    {"larkhaven-message:document", Resource::image, true},
                    {"larkhaven-message:other", Resource::document, true},
                    {"javascript:1", Resource::other, true},
                    {"xdata:image/png,", Resource::image, true},
                    {"https://a.example/data:", Resource::image, true},
                    {"https://a.example/?about:blank", Resource::image, true},
                    {"data:image/png;base64,AA", Resource::image, false},
                    {"DATA:image/png;base64,AA", Resource::image, false},
                    {"data:text/plain,x", Resource::other, false},
                    {"about:blank", Resource::document, false},
                    {"about:srcdoc", Resource::document, false}},
                   false);
}

TEST(ContentBlocker, LetsImagesOverHTTPSThroughWithoutCookiesInTheSecondMode)
{
    expectVerdicts(Mode::httpsImagesOnly,
                   {{"https://a.example/x.png", Resource::image, false},
                    {"HTTPS://A.EXAMPLE/x.png", Resource::image, false},
                    {"https://a.example:8443/x.png", Resource::image, false},
                    {"https://[::1]/x.png", Resource::image, false},
                    {"http://a.example/x.png", Resource::image, true},
                    {"http://a.example/?https://b.example/", Resource::image, true},
                    {"https:a", Resource::image, true},
                    {"https://a.example/", Resource::document, true},
                    {"https://a.example/x.css", Resource::other, true},
                    {"https://a.example/x.js", Resource::other, true},
                    {"wss://a.example/", Resource::other, true},
                    {"file:///etc/passwd", Resource::image, true},
                    {"data:image/png;base64,AA", Resource::image, false},
                    {"about:blank", Resource::document, false}},
                   true);
}

TEST(ContentBlocker, LetsALaterRuleTakeBackTheOnesBefore)
{
    const std::optional<RuleList> list =
        RuleList::compile(R"([{"trigger":{"url-filter":"a"},"action":{"type":"block-cookies"}},
                              {"trigger":{"url-filter":"b"},"action":{"type":"ignore-previous-rules"}},
                              {"trigger":{"url-filter":"c"},"action":{"type":"block"}}])");
    ASSERT_TRUE(list);
    const auto verdict = [&list](const QString& url) { return list->verdict(QUrl(url), Resource::other); };
    EXPECT_EQ(verdict(u"x:a"_s), (Verdict{false, true}));
    EXPECT_EQ(verdict(u"x:ab"_s), (Verdict{false, false}));
    EXPECT_EQ(verdict(u"x:abc"_s), (Verdict{true, false}));
    EXPECT_EQ(verdict(u"x:ac"_s), (Verdict{true, true}));
}

TEST(ContentBlocker, RefusesListsThatItDoesNotUnderstandInFull)
{
    const QList<QByteArray> refused{
        "",
        "x",
        "{}",
        "[]",
        "[1]",
        "[[]]",
        R"([{"trigger":{},"action":{"type":"block"}}])",
        R"([{"trigger":{"url-filter":1},"action":{"type":"block"}}])",
        R"([{"trigger":{"url-filter":"("},"action":{"type":"block"}}])",
        R"([{"trigger":{"url-filter":".*"}}])",
        R"([{"trigger":{"url-filter":".*"},"action":{}}])",
        R"([{"trigger":{"url-filter":".*"},"action":{"type":"css-display-none"}}])",
        R"([{"trigger":{"url-filter":".*"},"action":{"type":"block","selector":"a"}}])",
        R"([{"trigger":{"url-filter":".*"},"action":{"type":"block"},"note":1}])",
        R"([{"trigger":{"url-filter":".*","if-domain":["a"]},"action":{"type":"block"}}])",
        R"([{"trigger":{"url-filter":".*","resource-type":[]},"action":{"type":"block"}}])",
        R"([{"trigger":{"url-filter":".*","resource-type":["font"]},"action":{"type":"block"}}])",
        R"([{"trigger":{"url-filter":".*","resource-type":"image"},"action":{"type":"block"}}])",
        R"([{"trigger":{"url-filter":".*"},"action":{"type":"block"}},{"trigger":{}}])"};
    for (const QByteArray& json : refused)
        EXPECT_FALSE(RuleList::compile(json)) << json.toStdString();
    EXPECT_TRUE(RuleList::compile(R"([{"trigger":{"url-filter":".*"},"action":{"type":"block"}}])"));
}

TEST(ContentBlocker, CompilesEachListOnceAndKeepsItsPlace)
{
    const RuleList* const all = &ruleList(Mode::blockAll);
    const RuleList* const images = &ruleList(Mode::httpsImagesOnly);
    EXPECT_NE(all, images);
    EXPECT_EQ(&ruleList(Mode::blockAll), all);
    EXPECT_EQ(&ruleList(Mode::httpsImagesOnly), images);
}

} // namespace
} // namespace Larkhaven::ContentBlocker
