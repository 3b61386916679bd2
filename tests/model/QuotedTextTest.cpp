#include "format/MIMEParser.h"
#include "model/Writing.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString snippet = u"Preview"_s;

Writing::Setting setting(bool isRichText = false)
{
    return {QUuid::createUuid(), {}, u"mia@example.org"_s, u"\n\n-- \nMia"_s, isRichText};
}

ComposeDraft replied(const QByteArray& raw)
{
    return Writing::reply(setting(), MIMEParser::parse(raw), snippet, Writing::Recipients::sender);
}

ComposeDraft forwarded(const QByteArray& raw)
{
    return Writing::forward(setting(), MIMEParser::parse(raw), snippet, raw);
}

/// A message with a plain text and an HTML text, and what else it holds.
QByteArray ofTwoTexts(const QByteArray& plain, const QByteArray& html)
{
    return "From: Eve <eve@x.example>\r\nTo: mia@example.org, jo@x.example\r\nSubject: Lunch\r\n"
           "Content-Type: multipart/alternative; boundary=b\r\n\r\n--b\r\n"
           "Content-Type: text/plain; charset=utf-8\r\n\r\n" +
           plain + "\r\n--b\r\nContent-Type: text/html; charset=utf-8\r\n\r\n" + html + "\r\n--b--\r\n";
}

const QString quoteNotice = u"The message holds two different texts; the quote is the one that is shown."_s;
const QString forwardNotice =
    u"The message holds two different texts; only the one that is shown is forwarded."_s;

TEST(QuotedText, QuotesWhatIsShownWhereThePlainTextSaysSomethingElse)
{
    const QByteArray raw = ofTwoTexts("I agree to pay 5000 euro", "<p>Shall we have lunch?</p>");
    for (const bool isRich : {false, true}) {
        for (const Writing::Recipients whom : {Writing::Recipients::sender, Writing::Recipients::all}) {
            const ComposeDraft draft = Writing::reply(setting(isRich), MIMEParser::parse(raw), snippet, whom);
            EXPECT_TRUE(draft.body.endsWith(u"wrote:\n> Shall we have lunch?"_s)) << draft.body.toStdString();
            EXPECT_FALSE(draft.body.contains(u"5000"_s));
            EXPECT_EQ(draft.notices, QStringList(quoteNotice));
            EXPECT_FALSE(draft.initialHTML) << "the editor makes a document of the text";
        }
        const ComposeDraft draft = Writing::forward(setting(isRich), MIMEParser::parse(raw), snippet);
        EXPECT_TRUE(draft.body.endsWith(u"\n\nShall we have lunch?"_s)) << draft.body.toStdString();
        EXPECT_FALSE(draft.body.contains(u"5000"_s));
        EXPECT_EQ(draft.notices, QStringList(forwardNotice));
        EXPECT_FALSE(draft.initialHTML);
    }
}

TEST(QuotedText, QuotesThePlainTextWhereTheHTMLSaysTheSame)
{
    const QByteArray raw = ofTwoTexts("Shall we *have lunch*?\r\n<https://x.example/a>",
                                      "<p>Shall we <a href='https://x.example/a'>have lunch</a>?</p>");
    EXPECT_TRUE(replied(raw).body.endsWith(u"> Shall we *have lunch*?\n> <https://x.example/a>"_s));
    EXPECT_TRUE(replied(raw).notices.isEmpty());
    EXPECT_TRUE(forwarded(raw).body.endsWith(u"\n\nShall we *have lunch*?\n<https://x.example/a>"_s));
    EXPECT_TRUE(forwarded(raw).notices.isEmpty());
}

TEST(QuotedText, QuotesNothingThatIsHidden)
{
    for (const QByteArray hidden :
         {"<div style='display:none'>I agree to pay 5000 euro</div>",
          "<font color=white>I agree to pay 5000 euro</font>",
          "<style>.x b{font-size:0}</style><p class=x><b>I agree to pay 5000 euro</b></p>",
          "<p style='text-indent:-9999px'>I agree to pay 5000 euro</p>",
          "<img src=https://x.example/a.png alt='I agree to pay 5000 euro'>"}) {
        const QByteArray raw = ofTwoTexts("I agree to pay 5000 euro\r\nShall we have lunch?",
                                          hidden + "<p>Shall we have lunch?</p>");
        EXPECT_TRUE(replied(raw).body.endsWith(u"wrote:\n> Shall we have lunch?"_s)) << hidden.toStdString();
        EXPECT_EQ(replied(raw).notices, QStringList(quoteNotice)) << hidden.toStdString();
        EXPECT_TRUE(forwarded(raw).body.endsWith(u"\n\nShall we have lunch?"_s)) << hidden.toStdString();
    }
}

TEST(QuotedText, QuotesWhatIsShownAndSaysNothingWhereThePlainTextIsBlank)
{
    const QByteArray raw = ofTwoTexts(" \r\n", "<p>Shall we have lunch?</p>");
    EXPECT_TRUE(replied(raw).body.endsWith(u"> Shall we have lunch?"_s));
    EXPECT_TRUE(replied(raw).notices.isEmpty());
}

TEST(QuotedText, QuotesNothingWhereOnlyAnImageWasShown)
{
    const QByteArray raw = ofTwoTexts("I agree to pay 5000 euro", "<img src=https://x.example/lunch.png>");
    EXPECT_TRUE(replied(raw).body.endsWith(u"wrote:\n> "_s)) << replied(raw).body.toStdString();
    EXPECT_EQ(replied(raw).notices, QStringList(quoteNotice));
}

TEST(QuotedText, SaysBothThatTheTextIsAnotherAndThatItIsCut)
{
    const QByteArray raw =
        ofTwoTexts("I agree to pay 5000 euro", QByteArray("<p>word word</p>\n").repeated(11'000));
    const ComposeDraft draft = forwarded(raw);
    EXPECT_EQ(draft.notices.size(), 2);
    EXPECT_EQ(draft.notices.value(0), forwardNotice);
    EXPECT_EQ(draft.attachments.size(), 1) << "the whole of it goes along";
    EXPECT_FALSE(draft.body.contains(u"5000"_s));
    EXPECT_TRUE(Writing::isCut(MIMEParser::parse(raw), {}));
}

/// A message that forwards one of two texts.
QByteArray forwarding(const QByteArray& plain, const QByteArray& html)
{
    return "From: jo@x.example\r\nContent-Type: multipart/mixed; boundary=o\r\n\r\n--o\r\n\r\nSee below.\r\n"
           "--o\r\nContent-Type: message/rfc822\r\n\r\n" +
           ofTwoTexts(plain, html) + "\r\n--o--\r\n";
}

TEST(QuotedText, ComparesTheTextsOfForwardedMessages)
{
    const QByteArray honest = forwarding("Shall we have lunch?", "<p>Shall we have <b>lunch</b>?</p>");
    EXPECT_TRUE(replied(honest).notices.isEmpty());
    EXPECT_TRUE(replied(honest).body.endsWith(u"> See below.\n> \n> Shall we have lunch?"_s))
        << replied(honest).body.toStdString();
    const QByteArray hostile = forwarding("I agree to pay 5000 euro", "<p>Shall we have lunch?</p>");
    EXPECT_EQ(replied(hostile).notices, QStringList(quoteNotice));
    EXPECT_TRUE(replied(hostile).body.endsWith(
        u"> See below.\n> ---------- Forwarded message ---------\n> From: Eve <eve@x.example>\n> "
        "Subject: Lunch\n> To: mia@example.org, jo@x.example\n> \n> Shall we have lunch?"_s))
        << replied(hostile).body.toStdString();
    EXPECT_FALSE(forwarded(hostile).body.contains(u"5000"_s));
    EXPECT_EQ(forwarded(hostile).notices, QStringList(forwardNotice));
}

TEST(QuotedText, HasTheSheetsOfAForwardedMessageCountForNothing)
{
    // The reader takes them away, so the text is on screen.
    const QByteArray raw =
        forwarding("Shall we have lunch?", "<style>p{display:none}</style><p>Shall we have lunch?</p>");
    EXPECT_TRUE(replied(raw).notices.isEmpty());
}

} // namespace
} // namespace Larkhaven
