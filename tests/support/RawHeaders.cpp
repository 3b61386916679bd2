#include "support/RawHeaders.h"

using namespace Qt::StringLiterals;

namespace Larkhaven::RawHeaders {

QList<Header> read(const QByteArray& raw)
{
    QList<Header> headers;
    qsizetype start = 0;
    while (start < raw.size()) {
        qsizetype end = raw.indexOf('\n', start);
        if (end < 0)
            end = raw.size();
        QByteArrayView line = QByteArrayView(raw).sliced(start, end - start);
        start = end + 1;
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty())
            break;
        if (line.front() == ' ' || line.front() == '\t') {
            if (!headers.isEmpty())
                headers.last().second += u' ' + QString::fromUtf8(line.trimmed());
            continue;
        }
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            headers.append(
                {QString::fromUtf8(line.first(colon)), QString::fromUtf8(line.sliced(colon + 1).trimmed())});
    }
    return headers;
}

QString value(const QByteArray& raw, const QString& name)
{
    for (const auto& [known, value] : read(raw)) {
        if (known.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QString mimeType(const QByteArray& raw)
{
    const QString type = value(raw, u"Content-Type"_s).section(u';', 0, 0).trimmed().toLower();
    return type.isEmpty() ? u"text/plain"_s : type;
}

QString text(const QByteArray& raw)
{
    const qsizetype end = raw.indexOf("\r\n\r\n");
    if (end < 0 || mimeType(raw) != u"text/plain"_s)
        return {};
    const QByteArray body = raw.sliced(end + 4);
    const bool isEncoded = value(raw, u"Content-Transfer-Encoding"_s) == u"base64"_s;
    return QString::fromUtf8(isEncoded ? QByteArray::fromBase64(body) : body);
}

} // namespace Larkhaven::RawHeaders
