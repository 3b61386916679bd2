#pragma once

#include "format/MIMEParser.h"
#include "safety/HTMLSanitizer.h"
#include "views/richtext/ComposeHTML.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>

#include <gtest/gtest.h>

/// Documents of the compose window, and what is looked up in them.
namespace Larkhaven::ComposedDocuments {

using namespace Qt::StringLiterals;

inline const ComposeFormat::Sizes sizes;

inline std::unique_ptr<QTextDocument> documentOf(const QString& html)
{
    auto document = std::make_unique<QTextDocument>();
    ComposeHTML::read(html, *document, sizes);
    return document;
}

inline QString textOf(const QString& html)
{
    return ComposeHTML::plainText(*documentOf(html));
}

inline QTextCharFormat formatOf(const QTextDocument& document, const QString& text)
{
    const QTextCursor found = document.find(text);
    EXPECT_FALSE(found.isNull()) << text.toStdString();
    return found.charFormat();
}

/// What is between the tags of the body, without line ends.
inline QString bodyOf(const QTextDocument& document)
{
    QString html = ComposeHTML::write(document).value_or(QString());
    EXPECT_TRUE(html.startsWith("<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body>"_L1));
    html = html.section(u"<body>"_s, 1).section(u"</body>"_s, 0, 0);
    return html.remove(u'\n');
}

/// The document as another mail program gets it and as ours opens it again.
inline std::unique_ptr<QTextDocument> sentAndRead(const QTextDocument& document)
{
    const QString html = ComposeHTML::write(document).value_or(QString());
    const QByteArray message = "MIME-Version: 1.0\r\nContent-Type: text/html; charset=utf-8\r\n"
                               "Content-Transfer-Encoding: base64\r\n\r\n" +
                               html.toUtf8().toBase64() + "\r\n";
    const ParsedMessage parsed = MIMEParser::parse(message);
    return documentOf(HTMLSanitizer::sanitize(parsed.htmlBody.value_or(QString()), {}).document);
}

/// Each character with all that is told of how it looks.
inline QStringList appearance(const QTextDocument& document)
{
    QStringList lines;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QString line = u"quote %1 list %2/%3 align %4:"_s.arg(ComposeFormat::quoteLevel(block.blockFormat()))
                           .arg(block.textList() ? block.textList()->format().style() : 0)
                           .arg(block.textList() ? block.textList()->format().indent() : 0)
                           .arg(static_cast<int>(block.blockFormat().alignment()));
        for (auto place = block.begin(); !place.atEnd(); ++place) {
            const QTextCharFormat format = place.fragment().charFormat();
            const QString look = u"{%1%2%3%4 %5 %6 %7 %8}"_s.arg(
                format.fontWeight() >= QFont::DemiBold ? u"b"_s : QString(),
                format.fontItalic() ? u"i"_s : QString(), format.fontUnderline() ? u"u"_s : QString(),
                format.fontStrikeOut() ? u"s"_s : QString(), ComposeFormat::link(format),
                format.hasProperty(QTextFormat::ForegroundBrush) ? format.foreground().color().name()
                                                                 : QString(),
                QString::number(ComposeFormat::size(format).value_or(0)),
                format.fontFamilies().toStringList().join(u','));
            for (const QChar character : place.fragment().text())
                line += look + character;
        }
        lines.append(line);
    }
    return lines;
}

} // namespace Larkhaven::ComposedDocuments
