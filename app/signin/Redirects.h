#pragma once

#include "app/platform/Info.h"

#include <QStringList>

namespace Larkhaven {
class WebAuthenticator;
}

/// How redirects of sign-ins reach the program: as arguments of its own, of a later start, or of the desktop.
/// Whatever comes is untrusted. Main thread.
namespace Larkhaven::Redirects {

/// The redirects among the arguments of this process, which are wiped there: they hold codes, and the list of
/// processes shows them for as long. What is left of each is an empty argument.
QStringList takeFrom(int argc, char** argv, const Info& info);

/// Hands the redirects among the arguments to the sign-in under way, and drops those that aren't its own.
/// Whether the program is to show itself: it is where anything else was asked for, or nothing at all.
bool deliver(const QStringList& arguments, const Info& info, WebAuthenticator& authenticator);

} // namespace Larkhaven::Redirects
