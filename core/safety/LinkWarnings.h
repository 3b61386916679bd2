#pragma once

#include "safety/LinkCleaner.h"
#include "safety/LinkRecord.h"

#include <QList>

/// What the reader warns of before it opens a link. Pure functions, callable from any thread, linear in the
/// URL and the text.
namespace Larkhaven::LinkWarnings {

/// The most UTF-16 units of a user, as a name of the DNS has at most.
inline constexpr qsizetype longestUser = 253;

/// The signs of deception of a link, the least alarming first: those of `LinkCleaner::warnings`, and
///
/// - a host that the text names in any way (see `ShownHosts`), whose owner is another than the link's;
/// - an empty user before a password, shown with its colon;
///
/// while a host whose last label is of another script is no address, and a host that is one, in whatever
/// notation, is shown as that. A user is one line of bounded length, and none of it is invisible or turns the
/// direction.
QList<LinkCleaner::Warning> of(const LinkRecord& link);

} // namespace Larkhaven::LinkWarnings
