#pragma once

#include "views/compose/ContactsService.h"

#include <QSet>
#include <QString>

/// The text of an address field while it is typed. Pure functions, linear in the text.
namespace Larkhaven::AddressTokens {

/// What is being typed: the text after the last comma, semicolon or line end, trimmed.
QString token(const QString& text);

/// The addresses before it, in lower case.
QSet<QString> addresses(const QString& text);

/// The suggestion as it stands in a field: its name, quoted where it must be (RFC 5322, 3.2.4), and its
/// address.
QString written(const ContactSuggestion& suggestion);

/// The text with the suggestion in place of the token, ready for the next address. A quote or a comment that
/// is open before it is closed first.
QString taking(const QString& text, const ContactSuggestion& suggestion);

} // namespace Larkhaven::AddressTokens
