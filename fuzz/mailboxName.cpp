#include "domain/Text.h"
#include "protocols/IMAPArg.h"
#include "protocols/IMAPMailboxName.h"

#include <QByteArrayView>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Names of mailboxes come from servers and from users.

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// What the user typed must come back from its wire form.
void checkRoundTrip(const QString& name)
{
    const QString wire = encodeMailboxName(name);
    require(std::ranges::all_of(wire, [](QChar unit) { return unit >= u' ' && unit <= u'~'; }));
    require(decodeMailboxName(wire) == name);
    // A wire form needs no literal.
    require(IMAPArg::quoted(wire).text() != nullptr);
}

/// What a server sent may be anything, but a well-formed name stays well-formed.
void checkDecoding(const QString& wire)
{
    const QString name = decodeMailboxName(wire);
    require(name.size() <= wire.size());
    require(name.isValidUtf16() || !wire.isValidUtf16());
    if (!wire.contains(u'&'))
        require(name == wire);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const QString text = Text::fromRepairedUTF8(bytes);
    checkRoundTrip(text);
    checkDecoding(text);
    checkDecoding(QString::fromLatin1(bytes));
    return 0;
}
