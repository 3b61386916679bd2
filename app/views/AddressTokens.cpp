#include "views/AddressTokens.h"

#include "domain/Text.h"
#include "format/MailEncoding.h"
#include "format/MessageComposer.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::AddressTokens {

namespace {

/// The text before the token; empty or ending in a comma.
QStringView before(const QString& text)
{
    return QStringView(text).first(text.lastIndexOf(u',') + 1);
}

QStringView withoutName(QStringView piece)
{
    const qsizetype open = piece.indexOf(u'<');
    const qsizetype close = open < 0 ? -1 : piece.indexOf(u'>', open);
    return close < 0 ? piece : piece.sliced(open + 1, close - open - 1);
}

/// The pieces between commas, but for those within quotes.
QStringList pieces(QStringView text)
{
    QStringList result;
    QString piece;
    bool isQuoted = false;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar character = text[index];
        if (character == u',' && !isQuoted) {
            result.append(std::exchange(piece, QString()).trimmed());
            continue;
        }
        piece += character;
        if (isQuoted && character == u'\\' && index + 1 < text.size())
            piece += text[++index];
        else if (character == u'"')
            isQuoted = !isQuoted;
    }
    result.append(piece.trimmed());
    result.removeAll(QString());
    return result;
}

} // namespace

QString token(const QString& text)
{
    return QStringView(text).sliced(before(text).size()).trimmed().toString();
}

QSet<QString> addresses(const QString& text)
{
    QSet<QString> result;
    for (const QStringView piece : before(text).tokenize(u',')) {
        const QString address = Text::lowered(withoutName(piece).trimmed());
        if (!address.isEmpty())
            result.insert(address);
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
    QStringList all = pieces(before(text));
    all.append(written(suggestion));
    return all.join(u", "_s) + u", "_s;
}

} // namespace Larkhaven::AddressTokens
