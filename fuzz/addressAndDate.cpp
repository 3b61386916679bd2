#include "domain/Text.h"
#include "format/AddressParser.h"
#include "format/MailDate.h"
#include "format/MessageComposer.h"
#include "format/RecipientField.h"
#include "format/SenderReader.h"

#include <QByteArrayView>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Any text may stand in an address field or a Date field.

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void checkAddresses(const QString& text)
{
    const QList<EmailAddress> addresses = AddressParser::parseList(text);
    require(addresses.size() <= text.count(u',') + 1);
    for (const EmailAddress& address : addresses) {
        require(Text::trimmedSpaceAndLineEnds(address.address) == address.address);
        require(!address.name || !address.name->isEmpty());
        require(address == EmailAddress(address.name, address.address));
    }
    AddressParser::parseOne(text);
}

/// An address of the sender stands in the field, but for space and comments in it.
void checkSender(const QString& text)
{
    const Sender sender = SenderReader::read({text}, {});
    require(sender.addresses.size() <= SenderReader::mostAddresses);
    for (const EmailAddress& address : sender.addresses) {
        require(!address.address.isEmpty() && address.address.size() <= text.size());
        require(!address.name || !address.name->isEmpty());
    }
    require(Sender::fromJSON(sender.toJSON()) == sender);
}

/// Nobody is made up of what a user types, and what is read is written so that it is read again.
void checkField(const QString& text)
{
    for (const RecipientField::Piece& piece : RecipientField::read(text)) {
        require(!piece.text.isEmpty() && text.contains(piece.text));
        if (!piece.address || !AddressParser::isSendable(piece.address->address))
            continue;
        require(text.contains(piece.address->address));
        const QString written = MessageComposer::editableAddress(*piece.address);
        const QList<RecipientField::Piece> read = RecipientField::read(written);
        require(read.size() == 1 && read.first().address &&
                read.first().address->address == piece.address->address);
    }
    require(RecipientField::restored(RecipientField::kept(text)) == text);
}

void checkDate(const QString& text)
{
    constexpr int lastYearOfFourDigits = 9999;
    const std::optional<QDateTime> date = MailDate::parse(text);
    if (!date)
        return;
    require(date->isValid() && date->timeSpec() == Qt::UTC);
    const QString written = MailDate::format(*date);
    require(!written.isEmpty());
    if (date->date().year() > 1970 && date->date().year() < lastYearOfFourDigits)
        require(MailDate::parse(written) == date);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = Text::fromRepairedUTF8(QByteArrayView(data, static_cast<qsizetype>(size)));
    checkAddresses(text);
    checkField(text);
    checkSender(text);
    checkDate(text);
    return 0;
}
