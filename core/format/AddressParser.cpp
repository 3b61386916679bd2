#include "format/AddressParser.h"

#include "domain/Text.h"
#include "format/QuotedString.h"

#include <algorithm>

namespace Larkhaven::AddressParser {

namespace {

/// What one look at a piece tells of it; -1 where a character doesn't stand in it.
struct Piece {
    qsizetype end; ///< at its first separating comma, or at the end of the text
    qsizetype lastOpen = -1;
    qsizetype lastClose = -1;
    qsizetype commentStart = -1; ///< the first "("
    qsizetype commentEnd = -1;   ///< the last ")"
    bool hasAt = false;
};

enum class Commas { separate, stand };

/// The piece at the beginning of `text`.
Piece pieceOf(QStringView text, Commas commas)
{
    Piece piece{text.size()};
    bool inQuote = false;
    qsizetype angleDepth = 0;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const char16_t unit = text[index].unicode();
        // Letters are none of the characters below.
        if (unit > u'@')
            continue;
        switch (unit) {
        case u'"':
            inQuote = !inQuote;
            break;
        case u'<':
            piece.lastOpen = index;
            angleDepth += inQuote ? 0 : 1;
            break;
        case u'>':
            piece.lastClose = index;
            angleDepth = inQuote ? angleDepth : std::max<qsizetype>(angleDepth - 1, 0);
            break;
        case u'(':
            piece.commentStart = piece.commentStart < 0 ? index : piece.commentStart;
            break;
        case u')':
            piece.commentEnd = index;
            break;
        case u'@':
            piece.hasAt = true;
            break;
        case u',':
            if (commas == Commas::separate && !inQuote && angleDepth == 0) {
                piece.end = index;
                return piece;
            }
            break;
        default:
            break;
        }
    }
    return piece;
}

QString stretch(QStringView text, qsizetype start, qsizetype end)
{
    return Text::trimmedSpaceAndLineEnds(text.sliced(start, end - start)).toString();
}

/// The address of a piece of the text.
std::optional<EmailAddress> addressOf(QStringView text, const Piece& piece)
{
    if (piece.lastOpen >= 0 && piece.lastClose > piece.lastOpen) {
        QStringView name = text.first(piece.lastOpen);
        while (!name.isEmpty() && (Text::isSpace(name.front()) || Text::isLineEnd(name.front())))
            name = name.sliced(1);
        return EmailAddress(unquoted(Text::trimmedSpace(name)),
                            stretch(text, piece.lastOpen + 1, piece.lastClose));
    }
    if (piece.commentStart >= 0 && piece.commentEnd > piece.commentStart) {
        return EmailAddress(stretch(text, piece.commentStart + 1, piece.commentEnd),
                            stretch(text, 0, piece.commentStart));
    }
    if (piece.hasAt)
        return EmailAddress(std::nullopt, stretch(text, 0, piece.end));
    return std::nullopt;
}

} // namespace

QList<EmailAddress> parseList(QStringView text)
{
    QList<EmailAddress> addresses;
    while (addresses.size() < maxAddresses) {
        const Piece piece = pieceOf(text, Commas::separate);
        if (std::optional<EmailAddress> address = addressOf(text, piece))
            addresses.append(*std::move(address));
        if (piece.end == text.size())
            break;
        text = text.sliced(piece.end + 1);
    }
    return addresses;
}

namespace {

bool mayStandInAddress(QChar character)
{
    if (character.unicode() > u' ' && character.unicode() < 0x7f)
        return !QStringView(uR"(<>,;:"()[]\)").contains(character);
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

} // namespace

bool isSendable(QStringView address)
{
    const qsizetype at = address.indexOf(u'@');
    return at > 0 && at < address.size() - 1 && address.count(u'@') == 1 &&
           address.size() <= longestAddress && address.toUtf8().size() <= longestAddress &&
           std::ranges::all_of(address, mayStandInAddress);
}

std::optional<EmailAddress> parseOne(QStringView text)
{
    return addressOf(text, pieceOf(text, Commas::stand));
}

} // namespace Larkhaven::AddressParser
