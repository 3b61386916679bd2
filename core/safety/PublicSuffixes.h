#pragma once

#include <QString>

/// Where one owner's names end and another's begin: the Public Suffix List (publicsuffix.org) through libpsl,
/// the system's own copy of it or, where that is older or missing, the one in the library. It is read once,
/// at the first question. Callable from any thread.
///
/// Without any list each name of two labels counts as an owner's, as does one of three below a label such as
/// "co" and a country's; and nothing is known as a suffix.
namespace Larkhaven::PublicSuffixes {

/// The part of a host that one owner has registered, suffixes of providers such as "github.io" counted as
/// public: two hosts belong together if theirs is the same. `host` is in ASCII; the result is in lower case,
/// without a "." at its end. A host that is a suffix itself gives itself, as does an address.
QString registrableDomain(const QString& host);

/// Whether the host is below a suffix of ICANN's part of the list, or below "example", which stands for any
/// (RFC 2606). `host` is in ASCII. False for a suffix itself, and for an address.
bool isBelowSuffix(const QString& host);

/// Whether there is a list.
bool areKnown();

} // namespace Larkhaven::PublicSuffixes
