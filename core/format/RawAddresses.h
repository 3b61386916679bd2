#pragma once

#include "domain/EmailAddress.h"

#include <QList>
#include <QString>
#include <QStringView>

/// The two steps below `SenderReader`. Pure functions, callable from any thread, linear in their input.
namespace Larkhaven::RawAddresses {

/// The first addresses of the raw value of an address field, at most `most`, their names as they stand,
/// without quotes. Pieces without an address are left out.
QList<EmailAddress> read(QStringView value, qsizetype most);

/// What a reader may take for addresses in a text, each as `local@domain` with small letters, without
/// punctuation around it, and with the domain in its ASCII form. Letters of full width count as what they
/// look like. Where there is space beside the "@", the domain alone, as `@domain`, if it has a full stop.
QList<QString> seenIn(QStringView text);

/// The domain in small letters, and in ASCII where it can be (RFC 5891).
QString domainForm(QStringView domain);

} // namespace Larkhaven::RawAddresses
