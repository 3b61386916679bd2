#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// What a file of an image is, by its own bytes: what a server says of it doesn't count. Pure functions over
/// untrusted bytes, callable from any thread, linear in them.
namespace Larkhaven::ImageFile {

/// The formats that are shown.
enum class Format { png, jpeg, gif, webp, avif, bmp };

/// How many bytes of a file `format` needs at most.
inline constexpr qsizetype longestSignature = 64;

/// The format of the file that begins with these bytes; absent where it is none of them, or can't be known
/// yet.
std::optional<Format> format(QByteArrayView start);

/// "image/png" and so on.
QByteArray mediaType(Format format);

/// Of a whole picture, in pixels.
struct Size {
    qint64 width = 0;
    qint64 height = 0;

    qint64 pixels() const { return width * height; }
    bool operator==(const Size&) const = default;
};

/// The size of the canvas that a decoder would make for a file of this format: the largest that is announced,
/// where the file has several pictures. Absent where the file announces none, or a picture without a pixel.
/// Sides are at most 2^32 - 1.
std::optional<Size> size(Format format, QByteArrayView file);

} // namespace Larkhaven::ImageFile
