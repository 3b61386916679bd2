#pragma once

#include <QString>
#include <QStringView>

#include <optional>

/// The host of a URL as it goes over the wire. Pure functions, callable from any thread.
namespace Larkhaven::URLHost {

/// The octets that a name of the DNS has at most, and each of its labels (RFC 1035, 2.3.4: 255 with the
/// lengths of the labels). Longer hosts are refused, in any form.
inline constexpr qsizetype maximumLength = 253;
inline constexpr qsizetype maximumLabelLength = 63;

/// The ASCII form of a registered name or IPv4 address as a URL writes it.
///
/// Percent-encoding is decoded, and a name with other characters than ASCII is mapped to its `xn--` form by
/// UTS #46 (non- transitional, with the checks of RFC 5892 and RFC 5893), as browsers do, so that what is
/// tested here is what they would open. An ASCII name keeps its case. Absent where the name can't be mapped
/// or can't be looked up: labels are letters, digits, "-" and "_", and none is empty but the root's behind a
/// "." at the end. The empty text gives itself.
///
/// NB: RFC 3986, 3.2.2 lets more characters stand in a host; browsers and resolvers open none of these.
std::optional<QString> asciiName(QStringView name);

/// Whether the text is a name in ASCII that can be looked up, as most hosts of URLs are: `asciiName` gives it
/// as it is.
bool isName(QStringView name);

/// How many characters of the text may stand in such a name.
qsizetype endOfName(QStringView text);

/// The address that a host is, as it is usually written: an IPv4 address as four decimal numbers, however
/// many decimal, octal or hexadecimal numbers the host writes it in (URL Standard, 3.5), an IPv6 address as
/// RFC 5952 has it, and one that stands for an IPv4 address (RFC 4291, 2.5.5.2) as that. Absent where the
/// host is a name. `host` is in ASCII, without brackets.
std::optional<QString> addressOf(const QString& host);

/// Whether the text is an IPv6 address (RFC 4291, 2.2), without brackets and zone.
bool isIPv6Address(QStringView text);

} // namespace Larkhaven::URLHost
