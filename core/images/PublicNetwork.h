#pragma once

#include <QHostAddress>
#include <QStringView>

/// What of the network an untrusted sender may name: the public internet, and nothing of the user's own
/// networks. Pure functions, callable from any thread.
namespace Larkhaven::PublicNetwork {

/// Whether the address is of a host on the public internet, by the special-purpose registries of IANA
/// (RFC 6890): not loopback, private (RFC 1918), shared (RFC 6598), link-local, unique local (RFC 4193),
/// multicast, unspecified, broadcast, mapped or compatible IPv4 (RFC 4291, 2.5.5), 6to4, Teredo, for
/// documentation, for benchmarks or reserved. An address of NAT64 (64:ff9b::/96, RFC 6052) is what the IPv4
/// address in it is.
bool isPublic(const QHostAddress& address);

/// Whether a host of a URL may be looked up: a name in ASCII with a dot in it that isn't the root's, that is
/// not "localhost" and doesn't end in ".localhost" (RFC 6761), ".local" (RFC 6762), ".internal" or
/// ".home.arpa" (RFC 8375), in any case; or an address, IPv4 only as four decimal numbers. Other spellings of
/// IPv4 ("127.1", "0x7f000001") are no names either.
bool isPublicName(QStringView host);

} // namespace Larkhaven::PublicNetwork
