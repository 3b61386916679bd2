#include "support/MultipartUpload.h"

#include <algorithm>

namespace Larkhaven {
namespace {

bool isBoundary(const QByteArray& text)
{
    return !text.isEmpty() && text.size() <= 70 && std::ranges::all_of(text, [](char unit) {
        return isalnum(static_cast<unsigned char>(unit)) || QByteArray("'()+_,-./:=?").contains(unit);
    });
}

/// Takes the text off the front.
bool take(QByteArray& bytes, const QByteArray& text)
{
    if (!bytes.startsWith(text))
        return false;
    bytes.remove(0, text.size());
    return true;
}

} // namespace

std::optional<MultipartUpload> MultipartUpload::parse(const QByteArray& contentType, const QByteArray& body)
{
    QByteArray boundary = contentType;
    if (!take(boundary, "multipart/related; boundary=") || !isBoundary(boundary))
        return std::nullopt;
    const QByteArray delimiter = "\r\n--" + boundary;
    QByteArray rest = "\r\n" + body;
    if (rest.count(delimiter) != 3)
        return std::nullopt;
    MultipartUpload upload;
    if (!take(rest, delimiter + "\r\nContent-Type: application/json; charset=UTF-8\r\n\r\n"))
        return std::nullopt;
    upload.metadata = rest.first(rest.indexOf(delimiter));
    rest.remove(0, upload.metadata.size());
    if (!take(rest, delimiter + "\r\nContent-Type: message/rfc822\r\n\r\n"))
        return std::nullopt;
    upload.message = rest.first(rest.indexOf(delimiter));
    rest.remove(0, upload.message.size());
    if (rest != delimiter + "--\r\n")
        return std::nullopt;
    return upload;
}

} // namespace Larkhaven
