#include "views/SourceText.h"

#include "domain/Text.h"

#include <QCoreApplication>

#include <algorithm>

namespace Larkhaven::SourceText {

namespace {

constexpr char16_t replacement = 0xfffd;
/// The picture of the first control; those of the others follow.
constexpr char16_t controlPictures = 0x2400;

char16_t visible(QChar character)
{
    const char16_t unit = character.unicode();
    if (unit == u'\t' || (unit >= 0x20 && unit < 0x7f))
        return unit;
    if (unit < 0x20)
        return static_cast<char16_t>(controlPictures + unit);
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_NotAssigned:
    case QChar::Other_PrivateUse:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
    case QChar::Mark_Enclosing:
    case QChar::Mark_NonSpacing:
        return replacement;
    default:
        return unit;
    }
}

/// Where a piece of at most `longestLine` bytes ends that cuts no character of UTF-8 in two.
qsizetype pieceEnd(QByteArrayView line)
{
    if (line.size() <= longestLine)
        return line.size();
    qsizetype end = longestLine;
    while (end > longestLine - 4 && (static_cast<unsigned char>(line[end]) & 0xc0) == 0x80)
        --end;
    return end;
}

void addLine(QByteArrayView line, QString& result)
{
    const QString text = Text::fromRepairedUTF8(line);
    for (const QChar character : text)
        result += QChar(visible(character));
    result += u'\n';
}

} // namespace

QString shown(QByteArrayView raw)
{
    QByteArrayView rest = raw.first(std::min(raw.size(), mostBytes));
    QString result;
    result.reserve(rest.size());
    qsizetype lines = 0;
    for (; !rest.isEmpty() && lines < mostLines; ++lines) {
        const qsizetype feed = rest.indexOf('\n');
        const QByteArrayView line = feed < 0 ? rest : rest.first(feed);
        const qsizetype end = pieceEnd(line);
        const bool isWhole = end == line.size();
        QByteArrayView piece = line.first(end);
        if (isWhole && feed >= 0 && piece.endsWith('\r'))
            piece.chop(1);
        addLine(piece, result);
        rest = rest.sliced(isWhole && feed >= 0 ? feed + 1 : end);
    }
    if (!rest.isEmpty() || raw.size() > mostBytes)
        result += QCoreApplication::translate("SourceText", "[The rest of the source is left out.]");
    else if (result.endsWith(u'\n'))
        result.chop(1);
    return result;
}

} // namespace Larkhaven::SourceText
