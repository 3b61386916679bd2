#include "format/MailtoURL.h"

#include "domain/ShownText.h"
#include "domain/Text.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr QLatin1StringView scheme = "mailto:"_L1;

int hexDigit(QChar character)
{
    if (character >= u'0' && character <= u'9')
        return character.unicode() - u'0';
    const char16_t letter = character.unicode() | 0x20;
    return letter >= u'a' && letter <= u'f' ? letter - u'a' + 10 : -1;
}

/// RFC 3986, 2.1. A "%" without two digits behind it stands for itself.
QString decoded(QStringView text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    qsizetype start = 0;
    const auto takePlain = [&](qsizetype end) { bytes += text.sliced(start, end - start).toUtf8(); };
    for (qsizetype place = 0; place < text.size(); ++place) {
        if (text[place] != u'%' || place + 2 >= text.size())
            continue;
        const int high = hexDigit(text[place + 1]);
        const int low = hexDigit(text[place + 2]);
        if (high < 0 || low < 0)
            continue;
        takePlain(place);
        bytes += static_cast<char>(high * 16 + low);
        place += 2;
        start = place + 1;
    }
    takePlain(text.size());
    return Text::fromRepairedUTF8(bytes);
}

QString line(QStringView text)
{
    return Text::trimmedSpace(ShownText::line(text, MailtoURL::maxLength)).toString();
}

QString lines(QString text)
{
    text.replace("\r\n"_L1, "\n"_L1).replace(u'\r', u'\n');
    QStringList shown;
    for (const QStringView one : QStringView(text).tokenize(u'\n'))
        shown.append(ShownText::line(one, MailtoURL::maxLength));
    return shown.join(u'\n');
}

void addAddresses(QString& field, QStringView value)
{
    const QString addresses = line(decoded(value));
    if (addresses.isEmpty())
        return;
    field += (field.isEmpty() ? QString() : u", "_s) + addresses;
}

} // namespace

bool MailtoURL::hasScheme(QStringView url)
{
    return url.size() >= scheme.size() && Text::isSameKeyword(url.first(scheme.size()), QString(scheme));
}

std::optional<MailtoURL> MailtoURL::parse(QStringView url)
{
    if (url.size() > maxLength || !hasScheme(url))
        return std::nullopt;
    QStringView rest = url.sliced(scheme.size());
    if (const qsizetype fragment = rest.indexOf(u'#'); fragment >= 0)
        rest = rest.first(fragment);
    const qsizetype query = rest.indexOf(u'?');
    MailtoURL result;
    addAddresses(result.to, query < 0 ? rest : rest.first(query));
    if (query < 0)
        return result;
    bool hasSubject = false;
    bool hasBody = false;
    qsizetype count = 0;
    for (const QStringView field : rest.sliced(query + 1).tokenize(u'&')) {
        if (++count > maxFields)
            break;
        const qsizetype equals = field.indexOf(u'=');
        if (equals < 0)
            continue;
        const QString name = Text::asciiLowered(decoded(field.first(equals)));
        const QStringView value = field.sliced(equals + 1);
        if (name == "to"_L1)
            addAddresses(result.to, value);
        else if (name == "cc"_L1)
            addAddresses(result.cc, value);
        else if (name == "bcc"_L1)
            addAddresses(result.bcc, value);
        else if (name == "subject"_L1 && !std::exchange(hasSubject, true))
            result.subject = line(decoded(value));
        else if (name == "body"_L1 && !std::exchange(hasBody, true))
            result.body = lines(decoded(value));
    }
    return result;
}

QList<MailtoURL> MailtoURL::takeFrom(QStringList& arguments)
{
    QList<MailtoURL> messages;
    arguments.removeIf([&messages](const QString& argument) {
        if (!hasScheme(argument))
            return false;
        const std::optional<MailtoURL> message =
            messages.size() < maxMessages ? parse(argument) : std::nullopt;
        if (message)
            messages.append(*message);
        return true;
    });
    return messages;
}

} // namespace Larkhaven
