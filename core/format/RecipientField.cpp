#include "format/RecipientField.h"

#include "domain/Text.h"
#include "format/AddressConstructs.h"
#include "format/MailEncoding.h"

using namespace Qt::StringLiterals;

namespace Larkhaven::RecipientField {

namespace {

/// Finds where the constructs of a text end in which separators are ordinary characters. Each search either
/// passes over what it has read or is the last of its kind, so that all of them together are linear.
class Brackets {
public:
    explicit Brackets(QStringView text)
        : m_text(text)
    {}

    /// The position behind the quoted string, comment or angle brackets that begin here; absent where none
    /// does.
    std::optional<qsizetype> endOf(qsizetype start)
    {
        switch (m_text[start].unicode()) {
        case u'"':
            return ended(start, m_quotesAreOver, AddressConstructs::endOfQuotedString);
        case u'(':
            return ended(start, m_commentsAreOver, AddressConstructs::endOfComment);
        case u'<':
            return endOfAngle(start);
        default:
            return std::nullopt;
        }
    }

private:
    std::optional<qsizetype> ended(qsizetype start, bool& areOver,
                                   std::optional<qsizetype> (*search)(QStringView, qsizetype)) const
    {
        if (areOver)
            return std::nullopt;
        const std::optional<qsizetype> end = search(m_text, start);
        areOver = !end;
        return end;
    }

    std::optional<qsizetype> endOfAngle(qsizetype start)
    {
        if (m_anglesAreOver)
            return std::nullopt;
        for (qsizetype index = start + 1; index < m_text.size(); ++index) {
            if (m_text[index] == u'>')
                return index + 1;
            // The one that opens here is closed by nothing; the next may be.
            if (m_text[index] == u'<')
                return std::nullopt;
        }
        m_anglesAreOver = true;
        return std::nullopt;
    }

    QStringView m_text;
    bool m_quotesAreOver = false;
    bool m_commentsAreOver = false;
    bool m_anglesAreOver = false;
};

bool isSeparator(QChar character)
{
    return character == u',' || character == u';' || Text::isLineEnd(character);
}

/// Reads one piece from its left to its right.
class PieceReader {
public:
    explicit PieceReader(QStringView text)
        : m_text(text)
    {}

    std::optional<EmailAddress> address()
    {
        Brackets brackets(m_text);
        for (qsizetype index = 0; index < m_text.size();) {
            if (const std::optional<qsizetype> end = brackets.endOf(index)) {
                addConstruct(m_text.sliced(index, *end - index));
                index = *end;
            } else {
                addCharacter(m_text[index]);
                ++index;
            }
        }
        if (m_isBroken)
            return std::nullopt;
        return m_angle ? namedAddress() : bareAddress();
    }

private:
    void addConstruct(QStringView construct)
    {
        m_isBareOver = m_isBareOver || m_hasBare;
        switch (construct.front().unicode()) {
        case u'"':
            m_isBroken = m_isBroken || m_angle;
            m_hasQuotes = true;
            m_phrase += AddressConstructs::contentOf(construct);
            break;
        case u'(':
            m_comments.append(AddressConstructs::contentOf(construct));
            if (!m_angle)
                m_phrase += construct;
            break;
        default:
            m_isBroken = m_isBroken || m_angle;
            m_angle = construct.sliced(1).chopped(1);
        }
    }

    void addCharacter(QChar character)
    {
        const bool isBare = !Text::isSpace(character) && !Text::isLineEnd(character);
        m_isTorn = m_isTorn || (isBare && m_isBareOver);
        m_hasBare = m_hasBare || isBare;
        const bool isStray = character == u'"' || character == u'<' || character == u'>';
        const bool isBehind = m_angle && !Text::isSpace(character);
        m_isBroken = m_isBroken || isStray || isBehind;
        m_bare += character;
        m_phrase += character;
    }

    std::optional<EmailAddress> namedAddress() const
    {
        const QStringView address = Text::trimmedSpaceAndLineEnds(*m_angle);
        const QStringView unquoted = Text::trimmedSpaceAndLineEnds(m_bare);
        // Two addresses without anything between them: which of them is meant?
        if (unquoted.contains(u'@') && unquoted != address)
            return std::nullopt;
        const EmailAddress named(m_phrase, address.toString());
        const bool hasComment = !named.name && !m_comments.isEmpty();
        return hasComment ? EmailAddress(m_comments.first(), named.address) : named;
    }

    std::optional<EmailAddress> bareAddress() const
    {
        // A comment in the midst of it would make one address of two pieces.
        const QStringView address = Text::trimmedSpaceAndLineEnds(m_bare);
        if (m_hasQuotes || !address.contains(u'@') || m_isTorn)
            return std::nullopt;
        const std::optional<QString> name =
            m_comments.isEmpty() ? std::nullopt : std::optional(m_comments.first());
        return EmailAddress(name, m_bare);
    }

    QStringView m_text;
    QString m_phrase; ///< what may be the name
    QString m_bare;   ///< what stands in no construct
    QStringList m_comments;
    std::optional<QStringView> m_angle;
    bool m_hasBare = false;
    bool m_isBareOver = false; ///< a construct came behind what stands in none
    bool m_isTorn = false;     ///< and more of it behind that
    bool m_hasQuotes = false;
    bool m_isBroken = false;
};

} // namespace

QList<Piece> read(QStringView field)
{
    QList<Piece> pieces;
    const auto add = [&pieces](QStringView text) {
        text = Text::trimmedSpaceAndLineEnds(text);
        if (!text.isEmpty())
            pieces.append({text.toString(), PieceReader(text).address()});
    };
    Brackets brackets(field);
    qsizetype start = 0;
    qsizetype index = 0;
    while (index < field.size() && pieces.size() < mostPieces - 1) {
        if (const std::optional<qsizetype> end = brackets.endOf(index)) {
            index = *end;
            continue;
        }
        if (isSeparator(field[index])) {
            add(field.sliced(start, index - start));
            start = index + 1;
        }
        ++index;
    }
    if (index == field.size())
        add(field.sliced(start));
    else if (const QStringView rest = Text::trimmedSpaceAndLineEnds(field.sliced(start)); !rest.isEmpty())
        pieces.append({rest.toString(), std::nullopt});
    return pieces;
}

QString kept(const QString& text)
{
    return QString::fromLatin1(MailEncoding::encodeBase64Lines(text.toUtf8())).replace(u"\r\n"_s, u"\r\n "_s);
}

QString restored(const QString& value)
{
    return Text::fromRepairedUTF8(MailEncoding::decodeBase64(value.toUtf8()));
}

} // namespace Larkhaven::RecipientField
