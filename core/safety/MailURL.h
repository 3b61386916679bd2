#pragma once

#include "domain/Text.h"

#include <QString>
#include <QStringView>
#include <QUrl>

#include <optional>

namespace Larkhaven {

struct URLParts;

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
    const QString& absoluteString() const { return m_text; }

    /// In lower case.
    QString scheme() const { return Text::asciiLowered(view({0, m_schemeEnd})); }

    /// What stands before the "@" up to its first ":", percent-encoded; empty where there is none.
    QString user() const;

    /// All that stands before the "@", percent-encoded; empty where there is none.
    QString userInfo() const { return view(m_userInfo).toString(); }

    /// Whether an "@" stands before the host, with whatever before it.
    bool hasUserInfo() const { return m_userInfo.isThere(); }

    /// In ASCII, in the case of the text; an IPv6 address without brackets; empty where there is none.
    QString host() const { return view(m_host).toString(); }

    /// The port as written; absent where none is written.
    std::optional<int> port() const;

    // These views live as long as the URL is neither changed nor destroyed.

    /// Percent-encoded.
    QStringView path() const { return view(m_path); }

    /// Percent-encoded, without "?"; absent where there is none.
    std::optional<QStringView> query() const { return optionalView(m_query); }

    /// Percent-encoded, without "#"; absent where there is none.
    std::optional<QStringView> fragment() const { return optionalView(m_fragment); }

    /// The same URL with another query, which must be percent-encoded; or without query and "?".
    MailURL withQuery(std::optional<QStringView> query) const;

    /// For the services of the desktop. NB: QUrl may write the same URL in other bytes, but it means the
    /// same.
    QUrl toQUrl() const;

    /// The text says all: no two URLs that differ in a part have the same.
    bool operator==(const MailURL& other) const { return m_text == other.m_text; }

private:
    /// Where a part stands in the text.
    struct Span {
        qsizetype start = -1;
        qsizetype end = -1;

        bool isThere() const { return start >= 0; }
    };

    MailURL() = default;

    QStringView view(Span span) const
    {
        return span.isThere() ? QStringView(m_text).sliced(span.start, span.end - span.start) : QStringView();
    }
    std::optional<QStringView> optionalView(Span span) const
    {
        return span.isThere() ? std::optional(view(span)) : std::nullopt;
    }
    /// Takes the text as it is, where nothing in it must change, as in nearly all URLs; returns whether it
    /// did.
    bool keep(QStringView text, const URLParts& parts);
    /// Adds a part to the end of the text, percent-encoded.
    Span append(QStringView part);

    QString m_text; ///< one text for all parts: a message may have thousands of links
    qsizetype m_schemeEnd = 0;
    Span m_userInfo;
    Span m_host; ///< without brackets
    Span m_port;
    Span m_path;
    Span m_query;
    Span m_fragment;
};

} // namespace Larkhaven

Q_DECLARE_TYPEINFO(Larkhaven::MailURL, Q_RELOCATABLE_TYPE);
