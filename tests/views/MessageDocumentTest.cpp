#include "views/reader/MessageDocument.h"

#include "app/platform/Translations.h"
#include "format/MIMEParser.h"
#include "format/MessageComposer.h"
#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"
#include "views/style/DisplayText.h"

#include <QDir>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The words of the document of a plain text, with "[" and "]" around what stands in a frame and "|" between
/// the pieces.
QString shownOf(const QString& text)
{
    ParsedMessage message;
    message.textBody = text;
    const QString document = MessageDocument::make(message, false).document;
    QString body = document.sliced(document.indexOf(u"<body>"_s) + 6);
    body.replace(u"<div role=\"group\""_s, u"[<div"_s).replace(u"</div></div></body>"_s, u"]</body>"_s);
    body.replace(QRegularExpression(u"(<[^>]*>)+"_s), u"|"_s);
    return body;
}

const QString line = u"---------- Forwarded message ---------\n"_s;

TEST(MessageDocument, SetsApartWhatAPlainTextForwards)
{
    EXPECT_EQ(shownOf(u"Look.\n\n"_s + line +
                      u"From: Carl <c@x>\nDate: soon\nSubject: Boats\nTo: Mia\n\nTwo <b>boats</b>"_s),
              u"|Look.\n\n|[|From:| |Carl &lt;c@x&gt;|Date:| |soon|Subject:| |Boats|To:| |Mia|"
              "Two &lt;b&gt;boats&lt;/b&gt;|]|"_s);
    // As some services write it.
    EXPECT_TRUE(shownOf(u"a\r\n"_s + line.trimmed() + u"\r\nFrom: c\r\nSubject: s\r\n\r\nb"_s)
                    .contains(u"[|From:| |c|Subject:| |s|b|"_s));
}

/// The languages of the program, such as "de".
QStringList languages()
{
    const Translations translations;
    QStringList found;
    for (const QString& file : QDir(u":/translations"_s).entryList())
        found.append(file.section(u'_', 1).section(u'.', 0, 0));
    return found;
}

TEST(MessageDocument, SetsApartWhatEachLanguageOfTheProgramForwards)
{
    const MIMEHeaders headers =
        MIMEParser::parse("From: Carl <c@x>\r\nDate: Tue, 3 Mar 2026 10:11:12 +0100\r\n"
                          "Subject: Boats\r\nTo: mia@x\r\n\r\n")
            .headers;
    const QStringList known = languages();
    ASSERT_GE(known.size(), 2);
    for (const QString& writer : known) {
        QString text;
        {
            const Translations translations{QLocale(writer)};
            ASSERT_EQ(translations.language(), writer);
            text = MessageComposer::forwardBody(headers, u"Two boats"_s);
        }
        for (const QString& reader : known) {
            const Translations translations{QLocale(reader)};
            const QString shown = shownOf(text);
            EXPECT_EQ(shown.count(u'['), 1) << writer.toStdString() << " read in " << reader.toStdString();
            const QString expected = reader == u"de"_s ? u"Von:| |Carl &lt;c@x&gt;|Datum:| |"_s
                                                       : u"From:| |Carl &lt;c@x&gt;|Date:| |"_s;
            EXPECT_TRUE(shown.contains(expected)) << shown.toStdString();
            EXPECT_TRUE(shown.contains(reader == u"de"_s ? u"|Betreff:| |Boats|An:| |mia@x|"_s
                                                         : u"|Subject:| |Boats|To:| |mia@x|"_s))
                << shown.toStdString();
        }
    }
}

TEST(MessageDocument, ReadsTheFieldsOfAForwardInTheLanguageOfItsLine)
{
    const QString german = u"---------- Weitergeleitete Nachricht ---------\n"_s;
    EXPECT_TRUE(shownOf(german + u"Von: c\nCc: d\n\nb"_s).contains(u"[|From:| |c|Cc:| |d|b|"_s));
    EXPECT_FALSE(shownOf(german + u"From: c\n\nb"_s).contains(u'['));
    EXPECT_FALSE(shownOf(line + u"Von: c\n\nb"_s).contains(u'['));
}

TEST(MessageDocument, SetsForwardsApartThatForward)
{
    const QString shown = shownOf(u"1\n"_s + line + u"From: a\n\n2\n"_s + line + u"From: b\n\n3"_s);
    EXPECT_EQ(shown.count(u'['), 2);
    EXPECT_TRUE(shown.contains(u"|a|2\n|[|From:| |b|3|"_s)) << shown.toStdString();
    EXPECT_EQ(shownOf((line + u"From: a\n\n"_s).repeated(500)).count(u'['), 8);
}

TEST(MessageDocument, BoundsWhatAForwardSaysOfItself)
{
    const QString shown =
        shownOf(line + u"From: a\u202e\u200bb\nSubject: "_s + QString(5000, u'x') + u"\n\nc"_s);
    EXPECT_TRUE(shown.contains(u"|ab|"_s)) << shown.left(200).toStdString();
    EXPECT_LE(shown.count(u'x'), DisplayText::maxLength);
}

TEST(MessageDocument, LeavesATextAsItStandsThatForwardsNothing)
{
    for (const QString& text : {line, u"a\n"_s + line + u"\nb"_s, u"a\n"_s + line + u"From: b\nwords\n\nc"_s,
                                u"> "_s + line + u"From: a\n\nb"_s, line + u"From: a\nFrom: b\n\nc"_s,
                                line + u"From: b"_s, u"a"_s, QString()}) {
        ParsedMessage message;
        message.textBody = text;
        EXPECT_FALSE(MessageDocument::make(message, false).document.contains(u"role=\"group\""_s))
            << text.toStdString();
        const QString escaped = QString(text).replace(u'>', u"&gt;"_s);
        EXPECT_TRUE(MessageDocument::make(message, false).document.contains(escaped));
    }
}

/// What stands in the body of the document of a message of HTML.
QString bodyOf(const QString& html)
{
    ParsedMessage message;
    message.htmlBody = html;
    const QString document = MessageDocument::make(message, false).document;
    const qsizetype start = document.indexOf(u"<body>"_s) + 6;
    return document.sliced(start, document.indexOf(u"</body>"_s) - start);
}

TEST(MessageDocument, TakesTheStylesOfDeadLinksAndBlockedImagesAway)
{
    const QString style = u" style=\"color:#00f!important\""_s;
    // An element's own style that is important counts before every sheet.
    EXPECT_EQ(bodyOf(u"<a"_s + style + u" title=\"t\">x</a>"_s), u"<a title=\"t\">x</a>");
    EXPECT_EQ(bodyOf(u"<a href=\"javascript:x\" class=\"c\""_s + style + u">x</a>y"_s),
              u"<a class=\"c\">x</a>y");
    const QString image = u"<img src=\"https://img.example/a.png\" width=\"90\" height=\"90\""_s;
    EXPECT_EQ(bodyOf(image + u" style=\"display:block!important\">"_s), bodyOf(image + u">"_s));
    EXPECT_TRUE(bodyOf(image + u">"_s).contains(u"data-lh-blocked"_s));
    // All else keeps its own.
    const QString link = bodyOf(u"<a href=\"https://x.example\""_s + style + u">x</a>"_s);
    EXPECT_TRUE(link.contains(style)) << link.toStdString();
    for (const QString& kept :
         {u"<b"_s + style + u">x</b>"_s, u"<abbr"_s + style + u">&lt;a style=\"x\"&gt;</abbr>"_s})
        EXPECT_TRUE(bodyOf(kept).contains(style)) << bodyOf(kept).toStdString();
    const QString sheet = u"<style>p{content:'<a style=\"b\">'}</style>"_s;
    ParsedMessage message;
    message.htmlBody = sheet + u"<p>x</p>"_s;
    EXPECT_EQ(MessageDocument::make(message, false).document,
              HTMLSanitizer::sanitize(*message.htmlBody, {}).document);
}

/// What stands in the document of the text alone.
QString textOf(const ParsedMessage& message)
{
    const QString document = MessageDocument::makeText(message).document;
    return document.sliced(document.indexOf(u"<body>"_s) + 6);
}

TEST(MessageDocument, WritesTheWordsOfAHTMLMessageAsNothingButCharacters)
{
    ParsedMessage message;
    message.htmlBody =
        u"<p style=\"color:red\">One &lt;b&gt;<i>two</i></p><p style=\"display:none\">three</p>"
        "<img src=\"https://a.example/x.png\" alt=\"four\">"
        "<a href=\"https://b.example/\">five</a>"_s;
    EXPECT_FALSE(MessageDocument::isText(message));
    const QString text = textOf(message);
    EXPECT_TRUE(text.contains(u"One &lt;b&gt;two"_s)) << text.toStdString();
    EXPECT_TRUE(text.contains(u"five"_s));
    EXPECT_FALSE(text.contains(u"three"_s));
    EXPECT_FALSE(text.contains(u"example"_s));
    EXPECT_FALSE(text.contains(u"style="_s));
    EXPECT_FALSE(text.contains(u"<img"_s));
    EXPECT_EQ(MessageDocument::makeText(message).blockedRemoteImages, 0);
    message.htmlBody.reset();
    EXPECT_TRUE(MessageDocument::isText(message));
}

TEST(MessageDocument, CutsATextThatIsTooLongAndSaysSo)
{
    constexpr qsizetype most = MessageDocument::mostTextCharacters;
    const QString end = u"(The rest of this message is left out.)"_s;
    ParsedMessage message;
    message.htmlBody = u"x"_s.repeated(most);
    EXPECT_EQ(textOf(message).count(u'x'), most);
    EXPECT_FALSE(textOf(message).contains(end));
    message.htmlBody = u"x"_s.repeated(most + 1);
    EXPECT_EQ(textOf(message).count(u'x'), most);
    EXPECT_TRUE(textOf(message).contains(end));
}

} // namespace
} // namespace Larkhaven
