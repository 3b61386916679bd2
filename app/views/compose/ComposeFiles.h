#pragma once

#include "domain/Message.h"

#include <QImage>
#include <QList>
#include <QStringList>
#include <QUrl>

class QMimeData;

/// Reads the files that are attached to a message. Pure but for the files; for a worker thread, as a file may
/// lie on a slow disk.
namespace Larkhaven::ComposeFiles {

struct Files {
    QList<OutgoingAttachment> attachments;
    QStringList refused; ///< names of files that can't be attached
};

/// Reads the files in their order. One is refused if it is not a regular file (a symbolic link is none),
/// can't be read, or takes the total over the limit; the others are not.
///
/// `total` and `limit` in bytes.
Files read(const QList<QUrl>& files, qint64 total, qint64 limit);

/// An image of the clipboard: the bytes of a file where there are some, else its pixels.
struct Image {
    QByteArray data;
    QString mimeType; ///< of `data`
    QImage pixels;
};

/// Images of more pixels are not made into files.
inline constexpr qint64 mostPixels = 100'000'000;

/// Reads no more of the clipboard than its first image; nothing is decoded where it has the bytes of a file.
Image imageOf(const QMimeData& source);

/// The image as one file; refused under its name where it takes the total over the limit, in bytes.
Files made(const Image& image, qint64 total, qint64 limit);

/// The names of the files, at most `mostNames` of them.
QString names(const QList<QUrl>& files);
inline constexpr qsizetype mostNames = 10;

/// What the user is told about refused files.
QString refusal(const QStringList& names, qint64 limit);

/// Bytes in decimal units.
QString size(qint64 bytes);

} // namespace Larkhaven::ComposeFiles
