#include "views/reader/MessageDocument.h"

#include "format/MIMEParser.h"
#include "support/QtPrinters.h"
#include "views/style/DisplayText.h"

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

} // namespace
} // namespace Larkhaven
