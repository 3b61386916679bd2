#include "format/HeaderParameters.h"

#include "domain/Text.h"
#include "format/MailEncoding.h"
#include "format/QuotedString.h"

#include <QMap>

#include <algorithm>
#include <optional>
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

/// The parameters as they are read one after the other, sections still apart.
class Collector {
public:
    void addSegment(QStringView segment)
    {
        const qsizetype equals = segment.indexOf(u'=');
        if (equals < 0)
            return;
        QString name = Text::asciiLowered(Text::trimmedSpace(segment.first(equals)));
        const QString value = unquoted(Text::trimmedSpace(segment.sliced(equals + 1)));
        const bool extended = name.endsWith(u'*');
        if (extended)
            name.chop(1);

        const qsizetype star = name.lastIndexOf(u'*');
        const std::optional<qint64> index =
            star < 0 ? std::nullopt : decimalInteger(QStringView(name).sliced(star + 1));
        if (index) {
            const ExtendedForm form = *index == 0 ? ExtendedForm::withCharset : ExtendedForm::withoutCharset;
            m_sections[name.first(star)][*index] = extended ? decodedExtended(value, form) : value;
        } else {
            m_plain[name] = extended ? decodedExtended(value, ExtendedForm::withCharset) : value;
        }
    }

    QHash<QString, QString> joined() &&
    {
        for (auto base = m_sections.cbegin(); base != m_sections.cend(); ++base) {
            if (m_plain.contains(base.key()))
                continue;
            QString& joined = m_plain[base.key()];
            for (const QString& section : base.value())
                joined += section;
        }
        return std::move(m_plain);
    }

private:
    QHash<QString, QString> m_plain;
    QHash<QString, QMap<qint64, QString>> m_sections;
};

} // namespace

HeaderParameters HeaderParameters::parse(QStringView text)
{
    std::optional<QStringView> rest = text;
    HeaderParameters result;
    result.value = Text::asciiLowered(Text::trimmedSpace(takeSegment(rest)));
    Collector collector;
    for (int count = 0; rest && count < maxParameters; ++count)
        collector.addSegment(takeSegment(rest));
    result.params = std::move(collector).joined();
    return result;
}

} // namespace Larkhaven
