#pragma once

#include <QByteArray>

#include <optional>

namespace Larkhaven {

/// A multipart/related body (RFC 2387) of JSON and a message: each part with its Content-Type as its only
/// field, all lines ended by CR LF, nothing before the first delimiter and nothing behind the last.
struct MultipartUpload {
    QByteArray metadata;
    QByteArray message;

    /// Absent where it isn't exactly that.
    static std::optional<MultipartUpload> parse(const QByteArray& contentType, const QByteArray& body);
};

} // namespace Larkhaven
