#include "support/HostileMessages.h"

using namespace Qt::StringLiterals;

namespace Larkhaven::HostileMessages {

namespace {

constexpr qsizetype longText = 4'000'000;

QByteArray message(const QByteArray& headers, const QString& text, const QByteArray& type = "text/plain")
{
    return headers + "MIME-Version: 1.0\r\nContent-Type: " + type + "; charset=utf-8\r\n\r\n" + text.toUtf8();
}

QByteArray usual(const QString& text, const QByteArray& type = "text/plain")
{
    return message("From: Ada <ada@example.com>\r\nTo: mia@example.org\r\nSubject: Hello\r\n", text, type);
}

QByteArray html(const QString& body)
{
    return usual(u"<html><body>"_s + body + u"</body></html>"_s, "text/html");
}

/// Pieces in turn, up to the length.
QString filled(const QString& piece, qsizetype length = longText)
{
    return piece.repeated(length / piece.size());
}

QString marks(qsizetype count)
{
    return u'a' + QString(count, QChar(0x301));
}

QString lines()
{
    return filled(u"These are the words of one line of a text, as people write it.\n"_s);
}

/// A letter from the left to the right and one from the right to the left.
QString mixedDirections()
{
    return filled(u"a\u05d0"_s, 250'000);
}

QByteArray hundredThousandAddresses()
{
    QByteArray list;
    for (int number = 0; number < 100'000; ++number)
        list += "Person " + QByteArray::number(number) + " <p" + QByteArray::number(number) +
                "@example.com>,\r\n ";
    return list + "last@example.com";
}

QByteArray thousandAttachments()
{
    QByteArray raw = "From: ada@example.com\r\nTo: mia@example.org\r\nSubject: Hello\r\nMIME-Version: 1.0\r\n"
                     "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nText\r\n";
    for (int number = 0; number < 1'000; ++number)
        raw += "--b\r\nContent-Disposition: attachment; filename=\"" + QByteArray(200, 'n') +
               QByteArray::number(number) + ".txt\"\r\n\r\nx\r\n";
    return raw + "--b--\r\n";
}

QString styledRuns()
{
    return filled(u"<b>bold</b> <i style=\"color:#f00;font-size:20px\">red</i> <u>line</u> "_s);
}

QString cells()
{
    return u"<table>"_s + filled(u"<tr><td>one</td><td>two</td><td>three</td></tr>"_s) + u"</table>"_s;
}

QString longLinks()
{
    const QString piece = u"<a href=\"https://example.com/"_s + QString(4'000, u'a') + u"\">a link</a> "_s;
    return filled(piece);
}

QString paragraphs()
{
    return filled(u"<p>These are the words of a <b>paragraph</b> as people write it.</p>"_s);
}

} // namespace

QList<Message> received()
{
    const QByteArray from = "From: Ada <ada@example.com>\r\n";
    const QByteArray to = "To: mia@example.org\r\n";
    const QByteArray subject = "Subject: Hello\r\n";
    return {
        {u"subject of 18 million"_s,
         message(from + to + "Subject: " + QByteArray(18'000'000, 'x') + "\r\n", u"Text"_s)},
        {u"subject of 20,000 marks"_s,
         message(from + to + "Subject: " + marks(20'000).toUtf8() + "\r\n", u"Text"_s)},
        {u"one word of 250,000"_s, usual(QString(250'000, u'w'))},
        {u"100,000 combining marks"_s, usual(marks(100'000))},
        {u"mixed directions, one line"_s, usual(mixedDirections())},
        {u"Latin and Cyrillic in turn"_s, usual(filled(u"a\u0431"_s, 250'000))},
        {u"right to left, 250,000"_s, usual(filled(u"\u05e9\u05dc\u05d5\u05dd "_s, 250'000))},
        {u"emoji joined without end"_s, usual(filled(u"\U0001f468\u200d"_s, 250'000))},
        {u"letters that no font has"_s, usual(filled(u"\U000e1234\U00013abc"_s, 250'000))},
        {u"name of a million"_s,
         message("From: \"" + QByteArray(1'000'000, 'n') + "\" <ada@example.com>\r\n" + to + subject,
                 u"Text"_s)},
        {u"100,000 addresses"_s,
         message(from + "To: " + hundredThousandAddresses() + "\r\n" + subject, u"Text"_s)},
        {u"4 MB of lines"_s, usual(lines())},
        {u"4 MB of line ends"_s, usual(QString(longText, u'\n'))},
        {u"4 MB of HTML alone"_s, html(paragraphs())},
        {u"1,000 attachments"_s, thousandAttachments()},
    };
}

QList<Message> drafts()
{
    return {
        {u"4 MB of text"_s, usual(lines())},
        {u"4 MB in one line"_s, usual(QString(lines()).replace(u'\n', u' '))},
        {u"4 MB of marks"_s, usual(marks(longText))},
        {u"4 MB of mixed directions"_s, usual(filled(u"a\u05d0"_s))},
        {u"4 MB of paragraphs"_s, html(paragraphs())},
        {u"4 MB of table cells"_s, html(cells())},
        {u"4 MB of list items"_s, html(u"<ol>"_s + filled(u"<li>an item of the list</li>"_s) + u"</ol>"_s)},
        {u"4 MB of nested lists"_s, html(filled(u"<ul><li>item"_s))},
        {u"4 MB of styled runs"_s, html(styledRuns())},
        {u"4 MB of quotes"_s, html(filled(u"<blockquote>a quote"_s))},
        {u"4 MB of links"_s, html(filled(u"<a href=\"https://example.com/a\">a link</a> "_s))},
        {u"4 MB of long links"_s, html(longLinks())},
        {u"4 MB of line breaks"_s, html(filled(u"line<br>"_s))},
        {u"4 MB of preformatted text"_s, html(u"<pre>"_s + lines() + u"</pre>"_s)},
        {u"an HTML word of 250,000"_s, html(u"<p>"_s + QString(250'000, u'w') + u"</p>"_s)},
        {u"HTML in mixed directions"_s, html(u"<p>"_s + mixedDirections() + u"</p>"_s)},
        {u"4 MB of nested tables"_s, html(filled(u"<table><tr><td>cell"_s))},
        {u"a stored subject of 18 million"_s,
         message("From: mia@example.org\r\nSubject: " + QByteArray(18'000'000, 'x') + "\r\n", u"Text"_s)},
        {u"stored for 100,000"_s,
         message("From: mia@example.org\r\nTo: " + hundredThousandAddresses() + "\r\n", u"Text"_s)},
    };
}

QList<Text> pastes()
{
    constexpr qsizetype megabyte = 1'000'000;
    return {
        {u"1 MB of lines"_s, filled(u"These are the words of one line of a text.\n"_s, megabyte)},
        {u"1 MB in one line"_s, filled(u"These are the words of one line of a text. "_s, megabyte)},
        {u"a word of 250,000"_s, QString(250'000, u'w')},
        {u"100,000 combining marks"_s, marks(100'000)},
        {u"mixed directions"_s, mixedDirections()},
        {u"Latin and Cyrillic in turn"_s, filled(u"a\u0431"_s, 250'000)},
        {u"1 MB of paragraphs"_s, paragraphs().first(megabyte), true},
        {u"1 MB of styled runs"_s, styledRuns().first(megabyte), true},
        {u"1 MB of table cells"_s, cells().first(megabyte), true},
        {u"4 MB of long links pasted"_s, longLinks(), true},
        {u"an HTML word of 250,000"_s, u"<p>"_s + QString(250'000, u'w') + u"</p>"_s, true},
        {u"HTML in mixed directions"_s, u"<p>"_s + mixedDirections() + u"</p>"_s, true},
    };
}

QList<Text> recipients()
{
    return {
        {u"a link to a word of 18 million"_s, QString(18'000'000, u'w')},
        {u"a link to 100,000 addresses"_s, QString::fromLatin1(hundredThousandAddresses())},
        {u"a link to 100,000 marks"_s, marks(100'000) + u"@example.com"_s},
        {u"a link in mixed directions"_s, mixedDirections() + u"@example.com"_s},
        {u"a link of commas"_s, QString(longText, u',')},
        {u"a link of quotes"_s, filled(u"\"\\<("_s)},
    };
}

} // namespace Larkhaven::HostileMessages
