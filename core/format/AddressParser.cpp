#include "format/AddressParser.h"

#include "domain/Text.h"
#include "format/QuotedString.h"

#include <algorithm>

namespace Larkhaven::AddressParser {

namespace {

/// Where the piece at the beginning of `text` ends: at its first separating comma, or at the end of the text.
qsizetype pieceEnd(QStringView text)
{
    bool inQuote = false;
    qsizetype angleDepth = 0;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar character = text[index];
        if (character == u'"')
            inQuote = !inQuote;
        else if (inQuote)
            continue;
        else if (character == u'<')
            ++angleDepth;
        else if (character == u'>')
            angleDepth = std::max<qsizetype>(angleDepth - 1, 0);
        else if (character == u',' && angleDepth == 0)
            return index;
    }
    return text.size();
}

} // namespace

QList<EmailAddress> parseList(QStringView text)
{
    QList<EmailAddress> addresses;
    while (addresses.size() < maxAddresses) {
        const qsizetype end = pieceEnd(text);
        if (std::optional<EmailAddress> address = parseOne(text.first(end)))
            addresses.append(*std::move(address));
        if (end == text.size())
            break;
        text = text.sliced(end + 1);
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
    text = Text::trimmedSpaceAndLineEnds(text);
    const qsizetype angleStart = text.lastIndexOf(u'<');
    const qsizetype angleEnd = text.lastIndexOf(u'>');
    if (angleStart >= 0 && angleEnd > angleStart) {
        const QString name = unquoted(Text::trimmedSpace(text.first(angleStart)));
        return EmailAddress(name, text.sliced(angleStart + 1, angleEnd - angleStart - 1).toString());
    }
    const qsizetype commentStart = text.indexOf(u'(');
    const qsizetype commentEnd = text.lastIndexOf(u')');
    if (commentStart >= 0 && commentEnd > commentStart) {
        return EmailAddress(text.sliced(commentStart + 1, commentEnd - commentStart - 1).toString(),
                            text.first(commentStart).toString());
    }
    if (text.contains(u'@'))
        return EmailAddress(std::nullopt, text.toString());
    return std::nullopt;
}

} // namespace Larkhaven::AddressParser
