#pragma once

#include <QByteArrayView>
#include <QString>

/// What a file that came with a message is, by the ending of its name and by its bytes, as the desktop goes
/// by them (shared-mime-info). Callable from any thread.
namespace Larkhaven::AttachedFile {

/// As many of the first bytes are looked at for the kind of a file.
inline constexpr qsizetype firstBytes = 4 * 1024;

struct Kind {
    QString type;    ///< the MIME type whose icon stands for the file
    QString warning; ///< a sentence where the file isn't what it says; otherwise empty

    bool operator==(const Kind&) const = default;
};

/// By its name (`FileName::shown`), the type that the message declares, and its first bytes.
///
/// The icon is that of the ending, or of the content where the two can't be the same kind of file. Warned of
/// is content that is neither what is declared nor what the ending says, or an ending that isn't what is
/// declared. Types that say nothing (application/octet-stream) or that nobody knows contradict nothing, nor
/// do aliases, kinds of one another, and what honest programs mix up: the types of office documents,
/// archives, text and media among themselves.
Kind kindOf(const QString& name, const QString& declaredType, QByteArrayView bytes);

/// Whether the desktop would run such a file, or open it as a program: by its ending, by content that is run
/// under any name, or by the macros in an office document. Linear in all of its bytes.
bool canRun(const QString& name, QByteArrayView bytes);

} // namespace Larkhaven::AttachedFile
