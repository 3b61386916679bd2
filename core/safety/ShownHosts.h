#pragma once

#include <QString>
#include <QStringView>

#include <optional>

/// The hosts that a text names to its reader. Pure functions, callable from any thread, linear in the text.
namespace Larkhaven::ShownHosts {

/// The first host in the text whose registrable domain (see `PublicSuffixes`) isn't that of `actual`, in
/// ASCII and lower case; absent where there is none.
///
/// A host is a word below a suffix of ICANN's, whatever punctuation stands around it: "bank.example!",
/// "//bank.example/login", "me@bank.example". Characters that aren't seen count for nothing, the full stops
/// of all scripts for ".", and names in other scripts for their ASCII form (UTS #46). Of a URL nothing behind
/// the host is looked at, and of an address nothing before the "@".
///
/// What reads otherwise is no host, unless a scheme, "www." or a path says that it is one: a name that ends
/// as files do ("main.rs"), the end of a sentence without a blank ("here.It"), and one between ideographs.
std::optional<QString> firstOfAnotherOwner(QStringView text, const QString& actual);

} // namespace Larkhaven::ShownHosts
