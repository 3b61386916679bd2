#include "protocols/IMAPMailboxName.h"

#include <QByteArray>
#include <QStringView>

#include <optional>

namespace Larkhaven {

namespace {

QString encodedRun(QStringView units)
{
    QByteArray bytes;
    for (const QChar unit : units) {
        bytes.append(static_cast<char>(unit.unicode() >> 8));
        bytes.append(static_cast<char>(unit.unicode() & 0xff));
    }
    return u'&' + QString::fromLatin1(bytes.toBase64(QByteArray::OmitTrailingEquals)).replace(u'/', u',') +
           u'-';
}

std::optional<QString> decodedRun(QStringView encoded)
{
    QByteArray base64 = encoded.toString().replace(u',', u'/').toUtf8();
    base64.append((4 - base64.size() % 4) % 4, '=');
    const auto decoded = QByteArray::fromBase64Encoding(base64, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.size() % 2 != 0)
        return std::nullopt;
    QString text;
    for (qsizetype index = 0; index < decoded.decoded.size(); index += 2) {
        const auto high = static_cast<unsigned char>(decoded.decoded[index]);
        const auto low = static_cast<unsigned char>(decoded.decoded[index + 1]);
        text.append(QChar(static_cast<char16_t>(high << 8 | low)));
    }
    return text.isValidUtf16() ? std::optional(text) : std::nullopt;
}

} // namespace

QString encodeMailboxName(const QString& name)
{
    QString encoded;
    const QStringView view(name);
    for (qsizetype index = 0; index < view.size();) {
        const auto isPrintable = [](QChar unit) { return unit >= u' ' && unit <= u'~'; };
        if (isPrintable(view[index])) {
            encoded += view[index] == u'&' ? QStringLiteral("&-") : QString(view[index]);
            ++index;
            continue;
        }
        const qsizetype start = index;
        while (index < view.size() && !isPrintable(view[index]))
            ++index;
        encoded += encodedRun(view.sliced(start, index - start));
    }
    return encoded;
}

QString decodeMailboxName(const QString& name)
{
    QString decoded;
    qsizetype copied = 0;
    for (;;) {
        const qsizetype start = name.indexOf(u'&', copied);
        const qsizetype end = start < 0 ? -1 : name.indexOf(u'-', start);
        if (end < 0)
            return decoded.append(QStringView(name).sliced(copied));
        decoded += QStringView(name).sliced(copied, start - copied);
        const QStringView run = QStringView(name).sliced(start + 1, end - start - 1);
        if (run.isEmpty())
            decoded += u'&';
        else if (const std::optional<QString> text = decodedRun(run))
            decoded += *text;
        else
            decoded += QStringView(name).sliced(start, end + 1 - start);
        copied = end + 1;
    }
}

} // namespace Larkhaven
