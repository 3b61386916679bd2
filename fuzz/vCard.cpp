// Whatever an address book holds, reading it ends, and what comes out is within its bounds and fit for one
// line.

#include "app/platform/VCard.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace Larkhaven;

namespace {

void check(const QString& text)
{
    if (text.size() > VCard::longestValue)
        std::abort();
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control)
            std::abort();
    }
    if (text != text.simplified())
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const std::optional<Contact> contact = VCard::parse(text);
    if (!contact)
        return 0;
    for (const QString& value : {contact->givenName, contact->middleName, contact->familyName,
                                 contact->nickname, contact->organization})
        check(value);
    if (contact->emails.size() > VCard::mostEmails)
        std::abort();
    for (const QString& email : contact->emails)
        check(email);
    return 0;
}
