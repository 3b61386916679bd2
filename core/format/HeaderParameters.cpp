#include "format/HeaderParameters.h"

#include "domain/Text.h"
#include "format/MailEncoding.h"
#include "format/QuotedString.h"
#include "format/UsualTexts.h"

#include <algorithm>
#include <optional>
#include <tuple>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Takes the segment before the next ";" outside quotes off `rest`; all of it where there is none.
QStringView takeSegment(std::optional<QStringView>& rest)
{
    const QStringView text = *rest;
    bool inQuote = false;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar character = text[index];
        if (character == u'"') {
            inQuote = !inQuote;
        } else if (character == u'\\' && inQuote) {
            ++index;
        } else if (character == u';' && !inQuote) {
            rest = text.sliced(index + 1);
            return text.first(index);
        }
    }
    rest.reset();
    return text;
}

enum class ExtendedForm { withCharset, withoutCharset };

/// extended-value = [charset] "'" [language] "'" text (RFC 2231, 4)
QString decodedExtended(const QString& value, ExtendedForm form)
{
    QStringView text(value);
    QString charset;
    if (form == ExtendedForm::withCharset) {
        const qsizetype charsetEnd = text.indexOf(u'\'');
        const qsizetype languageEnd = charsetEnd < 0 ? -1 : text.indexOf(u'\'', charsetEnd + 1);
        if (languageEnd >= 0) {
            charset = text.first(charsetEnd).toString();
            text = text.sliced(languageEnd + 1);
        }
    }
    if (charset.isEmpty())
        charset = u"utf-8"_s;
    QByteArray octets = text.toUtf8();
    octets.replace('%', '=');
    return MailEncoding::decodeText(MailEncoding::decodeQuotedPrintable(octets, false), charset);
}

/// A run of ASCII digits, with a sign or none, that fits 64 bits.
std::optional<qint64> decimalInteger(QStringView text)
{
    const QStringView digits = text.startsWith(u'-') || text.startsWith(u'+') ? text.sliced(1) : text;
    const bool isNumber = !digits.isEmpty() && std::all_of(digits.begin(), digits.end(), [](QChar character) {
        return character >= u'0' && character <= u'9';
    });
    bool fits = false;
    const qint64 number = isNumber ? text.toLongLong(&fits) : 0;
    return fits ? std::optional(number) : std::nullopt;
}

/// The text in small letters, in which the usual ones are.
QString lowered(QStringView text, const UsualTexts& usual)
{
    const QString known = usual.find(text);
    return known.isNull() ? Text::asciiLowered(text) : known;
}

QString loweredName(QStringView name)
{
    static const UsualTexts usual{u"charset"_s, u"boundary"_s, u"name"_s, u"filename"_s, u"format"_s};
    return lowered(name, usual);
}

QString loweredType(QStringView value)
{
    static const UsualTexts usual{u"text/plain"_s, u"text/html"_s,       u"multipart/alternative"_s,
                                  u"attachment"_s, u"multipart/mixed"_s, u"multipart/related"_s,
                                  u"inline"_s};
    return lowered(value, usual);
}

/// A piece of a parameter that is written in sections.
struct Section {
    QString name;
    qint64 number = 0;
    QString value;

    std::tuple<const QString&, const qint64&> place() const { return {name, number}; }
};

/// The parameters as they are read one after the other, sections still apart.
class Collector {
public:
    void addSegment(QStringView segment)
    {
        const qsizetype equals = segment.indexOf(u'=');
        if (equals < 0)
            return;
        QStringView written = Text::trimmedSpace(segment.first(equals));
        const QStringView value = Text::trimmedSpace(segment.sliced(equals + 1));
        const bool isExtended = written.endsWith(u'*');
        if (isExtended)
            written.chop(1);
        const qsizetype star = written.lastIndexOf(u'*');
        const std::optional<qint64> number =
            star < 0 ? std::nullopt : decimalInteger(written.sliced(star + 1));
        if (!number) {
            addPlain(loweredName(written), read(value, isExtended, ExtendedForm::withCharset));
            return;
        }
        const ExtendedForm form = *number == 0 ? ExtendedForm::withCharset : ExtendedForm::withoutCharset;
        m_sections.append({loweredName(written.first(star)), *number, read(value, isExtended, form)});
    }

    ParameterList joined() &&
    {
        ParameterList plain(std::move(m_plain));
        if (m_sections.isEmpty())
            return plain;
        QList<ParameterList::Parameter> all(plain.begin(), plain.end());
        std::ranges::stable_sort(m_sections, {}, &Section::place);
        for (auto section = m_sections.cbegin(); section != m_sections.cend();) {
            const QString name = section->name;
            QString joined;
            for (; section != m_sections.cend() && section->name == name; ++section) {
                const auto next = std::next(section);
                // Of two sections of a number the later one counts.
                const bool isLast = next == m_sections.cend() || next->place() != section->place();
                if (isLast)
                    joined += section->value;
            }
            if (!plain.contains(name))
                all.append({name, joined});
        }
        return ParameterList(std::move(all));
    }

private:
    /// Of two parameters of a name the later one counts: a flood of one name takes one place.
    void addPlain(const QString& name, const QString& value)
    {
        if (!m_plain.isEmpty() && m_plain.last().name == name)
            m_plain.last().value = value;
        else
            m_plain.append({name, value});
    }

    static QString read(QStringView value, bool isExtended, ExtendedForm form)
    {
        const QString text = unquoted(value);
        return isExtended ? decodedExtended(text, form) : text;
    }

    QList<ParameterList::Parameter> m_plain;
    QList<Section> m_sections;
};

} // namespace

ParameterList::ParameterList(QList<Parameter> parameters)
    : m_parameters(std::move(parameters))
{
    const auto isInOrder = [](const Parameter& one, const Parameter& next) { return one.name < next.name; };
    const auto isOut = [isInOrder](const Parameter& one, const Parameter& next) {
        return !isInOrder(one, next);
    };
    if (std::ranges::adjacent_find(std::as_const(m_parameters), isOut) == m_parameters.cend())
        return;
    std::ranges::stable_sort(m_parameters, isInOrder);
    // The last of each name stays.
    const auto isSame = [](const Parameter& one, const Parameter& next) { return one.name == next.name; };
    const auto kept = std::unique(m_parameters.rbegin(), m_parameters.rend(), isSame);
    m_parameters.erase(m_parameters.begin(), kept.base());
}

const ParameterList::Parameter* ParameterList::find(QStringView name) const
{
    const auto found = std::ranges::lower_bound(m_parameters, name, {}, &Parameter::name);
    return found != m_parameters.cend() && found->name == name ? &*found : nullptr;
}

std::optional<QString> ParameterList::value(QStringView name) const
{
    const Parameter* const found = find(name);
    return found ? std::optional(found->value) : std::nullopt;
}

HeaderParameters HeaderParameters::parse(QStringView text)
{
    std::optional<QStringView> rest = text;
    HeaderParameters result;
    result.value = loweredType(Text::trimmedSpace(takeSegment(rest)));
    Collector collector;
    for (int count = 0; rest && count < maxParameters; ++count)
        collector.addSegment(takeSegment(rest));
    result.params = std::move(collector).joined();
    return result;
}

} // namespace Larkhaven
