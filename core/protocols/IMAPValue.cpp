#include "protocols/IMAPValue.h"

#include "domain/Text.h"

namespace Larkhaven {

std::optional<QString> IMAPValue::text() const
{
    if (const Atom* atom = std::get_if<Atom>(&m_value))
        return atom->text;
    if (const QByteArray* bytes = std::get_if<QByteArray>(&m_value))
        return Text::fromRepairedUTF8(*bytes);
    return std::nullopt;
}

std::optional<qint64> IMAPValue::integer() const
{
    const std::optional<QString> digits = text();
    if (!digits)
        return std::nullopt;
    // QString reads spaces around a number and digits of other scripts, which are no numbers here.
    const bool isSigned = digits->startsWith(u'+') || digits->startsWith(u'-');
    const QStringView magnitude = QStringView(*digits).sliced(isSigned ? 1 : 0);
    for (const QChar digit : magnitude) {
        if (digit < u'0' || digit > u'9')
            return std::nullopt;
    }
    bool isNumber = false;
    const qint64 number = digits->toLongLong(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<QByteArray> IMAPValue::data() const
{
    if (const Atom* atom = std::get_if<Atom>(&m_value))
        return atom->text.toUtf8();
    if (const QByteArray* bytes = std::get_if<QByteArray>(&m_value))
        return *bytes;
    return std::nullopt;
}

bool IMAPValue::isKeyword(QLatin1StringView keyword) const
{
    // Nothing is decoded for it: a stranger may put a large literal in the place of a keyword.
    if (const Atom* atom = std::get_if<Atom>(&m_value))
        return atom->text.size() == keyword.size() && Text::asciiUppered(atom->text) == keyword;
    const QByteArray* bytes = std::get_if<QByteArray>(&m_value);
    return bytes && bytes->size() == keyword.size() &&
           bytes->compare(QByteArrayView(keyword.data(), keyword.size()), Qt::CaseInsensitive) == 0;
}

} // namespace Larkhaven
