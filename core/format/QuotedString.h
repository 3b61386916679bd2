#pragma once

#include <QString>
#include <QStringView>

namespace Larkhaven {

/// The content of a quoted string (RFC 5322, 3.2.4): where the text begins and ends with a double quote, and
/// these are two, without them and with each `\"` turned into a double quote. Any other text as it stands.
/// Pure, from any thread.
///
/// NB: no other quoted pair is undone; file names of Windows come with single backslashes.
QString unquoted(QStringView text);

} // namespace Larkhaven
