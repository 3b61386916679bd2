#pragma once

#include "domain/Text.h"

#include <QString>
#include <QStringView>
#include <QUrl>

#include <optional>

namespace Larkhaven {

/// An absolute URL from a message, kept as it was written.
///
/// QUrl rewrites what it reads (it decodes "%41", lowers the host, shows `xn--` names in Unicode), and reads
/// some texts otherwise than browsers do. This value changes only two things: the host is in ASCII (`xn--`
/// form), and a character that may not stand in a URL, such as a quote, a backslash, a control or a letter
/// beyond ASCII, is percent-encoded as UTF-8, as is a "%" without two digits behind it. The rest,
/// percent-encoding and case among it, stays byte for byte. The square brackets of queries stay as well, as
/// in browsers. What counts as a URL at all: see `URLParts`.
///
/// The absolute form is pure ASCII, and has one reading only: what is shown and tested is what a browser
/// opens.
class MailURL {
public:
    /// Reads a URL; absent where the text is none. Linear in the text.
    static std::optional<MailURL> parse(QStringView text);

    /// The whole URL.
    QString absoluteString() const;

    /// In lower case.
    QString scheme() const { return Text::asciiLowered(m_scheme); }

    /// What stands before the "@" up to its first ":", percent-encoded; empty where there is none.
    QString user() const;

    /// All that stands before the "@", percent-encoded; empty where there is none.
    QString userInfo() const { return m_userInfo.value_or(QString()); }

    /// Whether an "@" stands before the host, with whatever before it.
    bool hasUserInfo() const { return m_userInfo.has_value(); }

    /// In ASCII, in the case of the text; an IPv6 address without brackets; empty where there is none.
    const QString& host() const { return m_host; }

    /// The port as written; absent where none is written.
    std::optional<int> port() const;

    /// Percent-encoded.
    const QString& path() const { return m_path; }

    /// Percent-encoded, without "?"; absent where there is none.
    const std::optional<QString>& query() const { return m_query; }

    /// Percent-encoded, without "#"; absent where there is none.
    const std::optional<QString>& fragment() const { return m_fragment; }

    /// The same URL with another query, which must be percent-encoded; or without query and "?".
    MailURL withQuery(std::optional<QString> query) const;

    /// For the services of the desktop. NB: QUrl may write the same URL in other bytes, but it means the
    /// same.
    QUrl toQUrl() const;

    bool operator==(const MailURL&) const = default;

private:
    MailURL() = default;

    QString m_scheme;
    bool m_hasAuthority = false;
    std::optional<QString> m_userInfo;
    QString m_host;
    std::optional<QString> m_port;
    QString m_path;
    std::optional<QString> m_query;
    std::optional<QString> m_fragment;
};

} // namespace Larkhaven
