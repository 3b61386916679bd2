#pragma once

#include "domain/Message.h"

#include <QList>
#include <QStringList>
#include <QUrl>

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

/// What the user is told about refused files.
QString refusal(const QStringList& names, qint64 limit);

/// Bytes in decimal units.
QString size(qint64 bytes);

} // namespace Larkhaven::ComposeFiles
