#pragma once

#include <QString>

namespace Larkhaven {

/// Modified UTF-7, the form of mailbox names on the wire (RFC 3501, 5.1.3). Total functions, callable from
/// any thread.
QString encodeMailboxName(const QString& name);

/// What can't be decoded stays as it stands, a sequence that would give half of a surrogate pair among it.
QString decodeMailboxName(const QString& name);

} // namespace Larkhaven
