#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace Larkhaven {

/// Where the parts of an absolute URL stand in a text: the one reading of URLs (RFC 3986) behind links,
/// images and trackers.
///
///     URI = scheme ":" [ "//" [ userinfo "@" ] host [ ":" port ] ] path [ "?" query ] [ "#" fragment ]
///
/// Stricter than the RFC, since the text is untrusted: with the scheme http or https it has a host that
/// is not empty; the authority holds at most one "@", no backslash, no white space, and nothing else that
/// browsers take for its end; a port is at most 65535. NB: Laxer than the RFC where nothing can be mistaken:
/// path, query and fragment may hold any character, which who writes the URL then encodes.
///
/// The views point into the text that was read, which must outlive them, the host into `mappedHost` where it
/// is written otherwise.
struct URLParts {
    static std::optional<URLParts> read(QStringView text);

    QStringView scheme;                  ///< as written
    bool hasAuthority = false;           ///< whether "//" follows the scheme
    std::optional<QStringView> userInfo; ///< user and password, percent-encoded as written
    QStringView host;   ///< in ASCII (see `URLHost`), in the case of the text; IPv6 without brackets
    QString mappedHost; ///< empty where the host stands in the text as it is
    std::optional<QStringView> port; ///< decimal digits, may be empty
    QStringView path;
    std::optional<QStringView> query;    ///< without "?"
    std::optional<QStringView> fragment; ///< without "#"

    qsizetype hostStart = 0; ///< offset of the host in the text, with its bracket
    qsizetype hostEnd = 0;   ///< offset right behind the host and its bracket
};

/// The scheme that a text begins with, in lower case: what stands before the first ":", where it is not empty
/// and holds only letters, digits, "+", "-" and ".". Absent where the text has none, as with a relative URL.
std::optional<QString> schemeOf(QStringView text);

/// The host as it stands in a URL: an IPv6 address in brackets, any other as it is.
QString bracketedHost(QStringView host);

} // namespace Larkhaven
