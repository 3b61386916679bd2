#include "views/reader/SourceText.h"

#include "domain/Text.h"

#include <QCoreApplication>

#include <algorithm>
#include <unicode/uchar.h>

namespace Larkhaven::SourceText {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(SourceText)
};

constexpr char32_t replacement = 0xfffd;
/// The picture of the first control; those of the others follow.
constexpr char32_t controlPictures = 0x2400;

/// Of the categories that aren't shown, and what a font need not show (Default_Ignorable_Code_Point): fillers
/// of Hangul are letters by their category.
bool isUnseen(UChar32 character)
{
    constexpr uint32_t unseen = U_GC_C_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK | U_GC_MN_MASK | U_GC_ME_MASK;
    return (U_GET_GC_MASK(character) & unseen) != 0 ||
           u_hasBinaryProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0;
}

char32_t visible(char32_t character)
{
    if (character == U'\t' || (character >= 0x20 && character < 0x7f))
        return character;
    if (character < 0x20)
        return controlPictures + character;
    return isUnseen(static_cast<UChar32>(character)) ? replacement : character;
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
    const QList<uint> characters = Text::fromRepairedUTF8(line).toUcs4();
    for (const uint character : characters)
        result += QChar::fromUcs4(visible(character));
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
        result += Texts::tr("[The rest of the source is left out.]");
    else if (result.endsWith(u'\n'))
        result.chop(1);
    return result;
}

} // namespace Larkhaven::SourceText
