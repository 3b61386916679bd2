#include "views/compose/AddressTokens.h"

#include "domain/Text.h"
#include "format/MailEncoding.h"
#include "format/MessageComposer.h"
#include "format/RecipientField.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::AddressTokens {

namespace {

bool isSeparator(QChar character)
{
    return character == u',' || character == u';' || Text::isLineEnd(character);
}

/// The text before the token; empty or ending in a separator.
QStringView before(const QString& text)
{
    const auto last = std::find_if(text.crbegin(), text.crend(), isSeparator);
    return QStringView(text).first(text.crend() - last);
}

QStringView withoutName(QStringView piece)
{
    const qsizetype open = piece.indexOf(u'<');
    const qsizetype close = open < 0 ? -1 : piece.indexOf(u'>', open);
    return close < 0 ? piece : piece.sliced(open + 1, close - open - 1);
}

/// The piece with the quote or the comments closed that it leaves open: they must not take in what follows.
QString closed(const QString& piece)
{
    bool isQuoted = false;
    bool isEscaped = false;
    qsizetype depth = 0;
    for (const QChar character : piece) {
        if (isEscaped) {
            isEscaped = false;
            continue;
        }
        isEscaped = character == u'\\' && (isQuoted || depth > 0);
        if (character == u'"' && depth == 0)
            isQuoted = !isQuoted;
        else if (character == u'(' && !isQuoted)
            ++depth;
        else if (character == u')' && !isQuoted)
            depth = std::max<qsizetype>(depth - 1, 0);
    }
    return piece + (isEscaped ? u"\\"_s : QString()) + (isQuoted ? u"\""_s : QString()) +
           QString(depth, u')');
}

} // namespace

QString token(const QString& text)
{
    return QStringView(text).sliced(before(text).size()).trimmed().toString();
}

QSet<QString> addresses(const QString& text)
{
    QSet<QString> result;
    QStringView rest = before(text);
    while (!rest.isEmpty()) {
        const qsizetype end = std::find_if(rest.begin(), rest.end(), isSeparator) - rest.begin();
        const QString address = Text::lowered(withoutName(rest.first(end)).trimmed());
        if (!address.isEmpty())
            result.insert(address);
        rest = rest.sliced(std::min(end + 1, rest.size()));
    }
    return result;
}

QString written(const ContactSuggestion& suggestion)
{
    const auto isSpecial = [](QChar character) { return uR"(()<>[]:;@\,.")"_s.contains(character); };
    const bool needsQuotes = std::ranges::any_of(suggestion.name, isSpecial);
    const EmailAddress address(suggestion.name, suggestion.email);
    const QString bare = MessageComposer::editableAddress(EmailAddress(std::nullopt, suggestion.email));
    if (needsQuotes || suggestion.name.isEmpty())
        return MessageComposer::editableAddress(address);
    return u"%1 <%2>"_s.arg(MailEncoding::headerSafe(suggestion.name), bare);
}

QString taking(const QString& text, const ContactSuggestion& suggestion)
{
    QStringList all;
    for (const RecipientField::Piece& piece : RecipientField::read(before(text)))
        all.append(closed(piece.text));
    all.append(written(suggestion));
    return all.join(u", "_s) + u", "_s;
}

} // namespace Larkhaven::AddressTokens
