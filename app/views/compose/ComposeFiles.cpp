#include "views/compose/ComposeFiles.h"

#include "views/style/RowText.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QMimeDatabase>

#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven::ComposeFiles {

namespace {

/// The bytes of a file; absent if it can't be read or has more than `room` of them. A file that grows while
/// it is read comes as far as it went at its end.
std::optional<QByteArray> bytesOf(const QString& path, qint64 room)
{
    constexpr qint64 pieceSize = 1 << 20;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray data;
    data.reserve(static_cast<qsizetype>(std::min(file.size(), room)));
    while (true) {
        const QByteArray piece = file.read(pieceSize);
        if (file.error() != QFileDevice::NoError)
            return std::nullopt;
        if (piece.isEmpty())
            return data;
        data += piece;
        if (data.size() > room)
            return std::nullopt;
    }
}

std::optional<OutgoingAttachment> attachmentFor(const QUrl& url, qint64 room)
{
    const QString path = url.toLocalFile();
    const QFileInfo info(path);
    if (!url.isLocalFile() || info.isSymLink() || !info.isFile() || info.size() > room)
        return std::nullopt;
    std::optional<QByteArray> data = bytesOf(path, room);
    if (!data)
        return std::nullopt;
    const QMimeType type = QMimeDatabase().mimeTypeForFile(info.fileName(), QMimeDatabase::MatchExtension);
    return OutgoingAttachment{QUuid::createUuid(), info.fileName(),
                              type.isValid() ? type.name() : u"application/octet-stream"_s, std::move(*data)};
}

struct Text {
    Q_DECLARE_TR_FUNCTIONS(ComposeFiles)
};

/// Types of images that the recipients' programs can show, the one that loses nothing first.
constexpr std::array imageTypes{"image/png"_L1, "image/jpeg"_L1, "image/gif"_L1, "image/webp"_L1};

QString nameOf(const QUrl& url)
{
    const QString name = url.adjusted(QUrl::StripTrailingSlash).fileName();
    return name.isEmpty() ? url.toDisplayString() : name;
}

} // namespace

Files read(const QList<QUrl>& files, qint64 total, qint64 limit)
{
    Files result;
    for (const QUrl& file : files) {
        const std::optional<OutgoingAttachment> attachment = attachmentFor(file, limit - total);
        if (!attachment) {
            result.refused.append(nameOf(file));
            continue;
        }
        total += attachment->data.size();
        result.attachments.append(*attachment);
    }
    return result;
}

Image imageOf(const QMimeData& source)
{
    for (const QLatin1StringView type : imageTypes) {
        const QByteArray data = source.data(type);
        if (!data.isEmpty())
            return {data, type, {}};
    }
    return {{}, u"image/png"_s, qvariant_cast<QImage>(source.imageData())};
}

Files made(const Image& image, qint64 total, qint64 limit)
{
    const QString suffix = image.mimeType.section(u'/', -1).replace("jpeg"_L1, "jpg"_L1);
    const QString name = Text::tr("Pasted Image") + (suffix.isEmpty() ? suffix : u'.' + suffix);
    QByteArray data = image.data;
    if (data.isEmpty() && qint64(image.pixels.width()) * image.pixels.height() <= mostPixels) {
        QBuffer buffer(&data);
        image.pixels.save(&buffer, "PNG");
    }
    if (data.isEmpty() || data.size() > limit - total)
        return {{}, {name}};
    return {{{QUuid::createUuid(), name, image.mimeType, data}}, {}};
}

QString names(const QList<QUrl>& files)
{
    QStringList names;
    for (const QUrl& file : files.first(std::min(files.size(), mostNames)))
        names.append(nameOf(file));
    if (files.size() > mostNames)
        names.append(u"…"_s);
    return names.join(u", "_s);
}

QString refusal(const QStringList& names, qint64 limit)
{
    return Text::tr("Couldn't attach %1. Only files can be attached, up to %2 in total.")
        .arg(names.join(u", "_s), size(limit));
}

QString size(qint64 bytes)
{
    return RowText::size(bytes);
}

} // namespace Larkhaven::ComposeFiles
