#include "app/platform/VCard.h"

#include "domain/Text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::VCard {

namespace {

/// The lines of a text, folded ones joined (RFC 6350, 3.2). Of a line only so much is kept as can matter.
class Lines {
public:
    explicit Lines(QStringView text)
        : m_rest(text)
    {}

    /// The next line; absent at the end.
    std::optional<QString> next()
    {
        if (m_rest.isEmpty())
            return std::nullopt;
        QString line;
        append(line, takePhysical());
        while (m_rest.startsWith(u' ') || m_rest.startsWith(u'\t')) {
            m_rest = m_rest.sliced(1);
            append(line, takePhysical());
        }
        return line;
    }

private:
    /// Room for parameters, and for a value in which every character is escaped.
    static constexpr qsizetype longestLine = 4 * longestValue;

    static void append(QString& line, QStringView piece)
    {
        line += piece.first(std::min(piece.size(), longestLine - line.size()));
    }

    QStringView takePhysical()
    {
        const qsizetype feed = m_rest.indexOf(u'\n');
        QStringView line = feed < 0 ? m_rest : m_rest.first(feed);
        m_rest = feed < 0 ? QStringView() : m_rest.sliced(feed + 1);
        if (line.endsWith(u'\r'))
            line.chop(1);
        return line;
    }

    QStringView m_rest;
};

struct Property {
    QString name; ///< in upper case, without its group
    QStringView value;
};

/// `[group "."] name *(";" parameter) ":" value`; a parameter may be quoted and hold a colon.
std::optional<Property> propertyIn(QStringView line)
{
    qsizetype colon = 0;
    bool isQuoted = false;
    for (; colon < line.size() && (isQuoted || line[colon] != u':'); ++colon) {
        if (line[colon] == u'"')
            isQuoted = !isQuoted;
    }
    if (colon == line.size())
        return std::nullopt;
    QStringView name = line.first(colon);
    if (const qsizetype semicolon = name.indexOf(u';'); semicolon >= 0)
        name = name.first(semicolon);
    name = name.sliced(name.lastIndexOf(u'.') + 1);
    return Property{Text::asciiUppered(name.trimmed()), line.sliced(colon + 1)};
}

/// The parts of a value between unescaped separators, their escapes undone (RFC 6350, 3.4).
QStringList parts(QStringView value, QChar separator)
{
    QStringList result{QString()};
    qsizetype length = 0;
    for (qsizetype index = 0; index < value.size() && length < longestValue; ++index) {
        QChar character = value[index];
        if (character == separator) {
            result.append(QString());
            continue;
        }
        if (character == u'\\' && index + 1 < value.size()) {
            character = value[++index];
            // A name stands in one line.
            if (character == u'n' || character == u'N')
                character = u' ';
        }
        if (character.category() == QChar::Other_Control)
            continue;
        result.last() += character;
        ++length;
    }
    for (QString& part : result)
        part = part.simplified();
    return result;
}

QString firstOf(QStringView value, QChar separator)
{
    return parts(value, separator).constFirst();
}

/// Several names in one place stand apart by commas.
QString namePart(const QStringList& names, qsizetype index)
{
    return names.value(index).replace(u',', u' ').simplified();
}

void take(const Property& property, Contact& contact, QString& formatted)
{
    if (property.name == "N"_L1) {
        const QStringList names = parts(property.value, u';');
        contact.familyName = namePart(names, 0);
        contact.givenName = namePart(names, 1);
        contact.middleName = namePart(names, 2);
    } else if (property.name == "FN"_L1 && formatted.isEmpty()) {
        formatted = firstOf(property.value, QChar());
    } else if (property.name == "NICKNAME"_L1 && contact.nickname.isEmpty()) {
        contact.nickname = firstOf(property.value, u',');
    } else if (property.name == "ORG"_L1 && contact.organization.isEmpty()) {
        contact.organization = firstOf(property.value, u';');
    } else if (property.name == "EMAIL"_L1 && contact.emails.size() < mostEmails) {
        const QString email = firstOf(property.value, QChar());
        if (!email.isEmpty())
            contact.emails.append(email);
    }
}

} // namespace

std::optional<Contact> parse(QStringView text)
{
    if (text.size() > longestCard)
        return std::nullopt;
    Lines lines(text);
    Contact contact;
    QString formatted;
    bool hasBegun = false;
    while (const std::optional<QString> line = lines.next()) {
        const std::optional<Property> property = propertyIn(*line);
        if (!property)
            continue;
        const bool isCard = property->value.trimmed().compare("VCARD"_L1, Qt::CaseInsensitive) == 0;
        if (property->name == "BEGIN"_L1 && isCard)
            hasBegun = true;
        else if (property->name == "END"_L1 && isCard && hasBegun)
            break;
        else if (hasBegun)
            take(*property, contact, formatted);
    }
    if (!hasBegun)
        return std::nullopt;
    // A card may have only the name that is shown.
    if (contact.givenName.isEmpty() && contact.middleName.isEmpty() && contact.familyName.isEmpty() &&
        contact.nickname.isEmpty())
        contact.givenName = formatted;
    return contact;
}

} // namespace Larkhaven::VCard
