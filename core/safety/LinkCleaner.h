#pragma once

#include "safety/LinkRecord.h"
#include "safety/MailURL.h"

#include <QList>
#include <QString>

/// What a link of a message gives away about its reader, and the signs that it deceives. Pure functions,
/// callable from any thread, linear in the URL and the text.
namespace Larkhaven::LinkCleaner {

/// A sign of a deceptive link.
struct Warning {
    enum class Kind {
        mismatchedText, ///< the text names another site; `shown` and `actual`
        punycode,       ///< international characters can imitate another site; `host`
        ipAddress,      ///< a number in place of a name; `host`
        insecure,       ///< plain HTTP
    };

    static Warning mismatchedText(QString shown, QString actual);
    static Warning punycode(QString host);
    static Warning ipAddress(QString host);
    static Warning insecure();

    /// What the user reads. NB: it holds untrusted text, and is to be shown as plain text.
    QString message() const;

    bool operator==(const Warning&) const = default;

    Kind kind = Kind::insecure;
    QString shown;  ///< the site or user that the link seems to name
    QString actual; ///< the host that it goes to
    QString host;   ///< the host that it goes to, where nothing is compared
};

/// The URL without the query items that only track the click, those that begin with "utm_", "pk_" or "mtm_"
/// among them. The other items keep their order and bytes; without any the "?" goes too. A URL that loses
/// nothing is returned as it is. Path and fragment are not looked at.
MailURL clean(const MailURL& url);

/// The registrable domain of a host by its labels alone: the last two, or the last three where the last but
/// one is such as "co" and the last a country's.
QString registrableDomain(const QString& host);

/// The signs of deception of a link, the least alarming first. None for other schemes than http and https.
/// NB: `LinkWarnings` knows more.
///
/// Hosts in them are in lower case and in their `xn--` form, IPv6 without brackets. A user is
/// percent-decoded, unless that would yield control or format characters, with which a sender could write
/// lines of their own into the warning.
QList<Warning> warnings(const LinkRecord& link);

} // namespace Larkhaven::LinkCleaner
