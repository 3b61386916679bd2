#pragma once

#include "domain/MailProvider.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>

#include <stop_token>

namespace Larkhaven::NameLookup {

/// The addresses of a host in the order in which the system would try them (RFC 6724); empty where the name
/// leads nowhere, nobody answers, or `stop` was requested before its turn came. Keeps no answer. `host` is a
/// name in ASCII or an address. Main thread; the question is asked on threads that do nothing else, since an
/// answer may take as long as the system allows it.
Task<QList<QHostAddress>> addresses(QByteArray host, std::stop_token stop);

} // namespace Larkhaven::NameLookup
