#include "providers/PackedRow.h"

#include "domain/Coding.h"
#include "providers/PackedBytes.h"

#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr quint8 attachmentsBit = 1;
constexpr quint8 fromBit = 2;
constexpr quint8 senderBit = 4;
constexpr quint8 readBit = 1;
constexpr quint8 starredBit = 2;
constexpr quint8 unconfirmedBit = 4;
constexpr quint8 clearBit = 1;
constexpr quint8 nameBit = 1;

quint8 bits(std::initializer_list<std::pair<bool, quint8>> flags)
{
    quint8 result = 0;
    for (const auto& [isSet, bit] : flags)
        result = static_cast<quint8>(result | (isSet ? bit : 0));
    return result;
}

void write(PackedWriter& writer, const EmailAddress& address)
{
    writer.byte(bits({{address.name.has_value(), nameBit}}));
    if (address.name)
        writer.text(*address.name);
    writer.text(address.address);
}

EmailAddress readAddress(PackedReader& reader)
{
    EmailAddress address;
    if (reader.byte() & nameBit)
        address.name = reader.text();
    address.address = reader.text();
    return address;
}

void write(PackedWriter& writer, const QList<EmailAddress>& addresses)
{
    writer.number(static_cast<quint64>(addresses.size()));
    for (const EmailAddress& address : addresses)
        write(writer, address);
}

QList<EmailAddress> readAddresses(PackedReader& reader)
{
    QList<EmailAddress> addresses;
    for (qsizetype count = reader.count(); count > 0; --count)
        addresses.append(readAddress(reader));
    return addresses;
}

void write(PackedWriter& writer, const Sender& sender)
{
    writer.byte(bits({{sender.isClear, clearBit}}));
    writer.byte(static_cast<quint8>(sender.names));
    write(writer, sender.addresses);
}

Sender::Names checkedNames(quint8 names)
{
    if (names > static_cast<quint8>(Sender::Names::holdHiddenCharacters))
        throw Coding::unreadable("names"_L1);
    return static_cast<Sender::Names>(names);
}

Sender readSender(PackedReader& reader)
{
    Sender sender;
    sender.isClear = (reader.byte() & clearBit) != 0;
    sender.names = checkedNames(reader.byte());
    sender.addresses = readAddresses(reader);
    return sender;
}

void passAddress(PackedReader& reader)
{
    if (reader.byte() & nameBit)
        reader.bytes();
    reader.bytes();
}

void passAddresses(PackedReader& reader)
{
    for (qsizetype count = reader.count(); count > 0; --count)
        passAddress(reader);
}

/// The rest of the bytes as `summary` reads them, without making anything of them: each start reads the rows
/// of all mailboxes.
void passContent(PackedReader& reader)
{
    reader.signedNumber();
    const quint8 flags = reader.byte();
    reader.signedNumber();
    if (flags & fromBit)
        passAddress(reader);
    if (flags & senderBit) {
        reader.byte();
        checkedNames(reader.byte());
        passAddresses(reader);
    }
    passAddresses(reader);
    reader.bytes();
    reader.bytes();
}

void passState(PackedReader& reader)
{
    reader.byte();
    reader.bytes();
    for (qsizetype count = reader.count(); count > 0; --count)
        reader.bytes();
}

} // namespace

PackedRow::State PackedRow::State::of(const MessageSummary& summary, bool isUnconfirmed)
{
    return {summary.isRead, summary.isStarred, isUnconfirmed, summary.mailbox, summary.labelIDs};
}

QByteArray PackedRow::State::packed() const
{
    PackedWriter writer;
    writer.byte(bits({{isRead, readBit}, {isStarred, starredBit}, {isUnconfirmed, unconfirmedBit}}));
    writer.text(mailbox);
    writer.number(static_cast<quint64>(labelIDs.size()));
    for (const QString& label : labelIDs)
        writer.text(label);
    return writer.result();
}

PackedRow PackedRow::of(const MessageSummary& summary, bool isUnconfirmed)
{
    PackedWriter writer;
    writer.signedNumber(summary.date.toMSecsSinceEpoch());
    writer.byte(bits({{summary.hasAttachments, attachmentsBit},
                      {summary.from.has_value(), fromBit},
                      {summary.sender.has_value(), senderBit}}));
    writer.signedNumber(summary.size);
    if (summary.from)
        write(writer, *summary.from);
    if (summary.sender)
        write(writer, *summary.sender);
    write(writer, summary.to);
    writer.text(summary.subject);
    writer.text(summary.snippet);
    PackedRow row;
    row.content = writer.result();
    row.content.squeeze();
    row.state = State::of(summary, isUnconfirmed).packed();
    return row;
}

bool PackedRow::isWhole() const
{
    try {
        PackedReader contentReader(content);
        passContent(contentReader);
        PackedReader stateReader(state);
        passState(stateReader);
        return contentReader.atEnd() && stateReader.atEnd();
    } catch (const DecodingError&) {
        return false;
    }
}

MessageSummary PackedRow::summary(const QString& id, const QUuid& accountID) const
{
    MessageSummary summary;
    summary.id = id;
    summary.accountID = accountID;
    PackedReader reader(content);
    summary.date = QDateTime::fromMSecsSinceEpoch(reader.signedNumber(), Qt::UTC);
    const quint8 flags = reader.byte();
    summary.hasAttachments = (flags & attachmentsBit) != 0;
    summary.size = reader.signedNumber();
    if (flags & fromBit)
        summary.from = readAddress(reader);
    if (flags & senderBit)
        summary.sender = readSender(reader);
    summary.to = readAddresses(reader);
    summary.subject = reader.text();
    summary.snippet = reader.text();
    const State done = unpackedState();
    summary.isRead = done.isRead;
    summary.isStarred = done.isStarred;
    summary.mailbox = done.mailbox;
    summary.labelIDs = done.labelIDs;
    return summary;
}

PackedRow::State PackedRow::unpackedState() const
{
    PackedReader reader(state);
    State done;
    const quint8 flags = reader.byte();
    done.isRead = (flags & readBit) != 0;
    done.isStarred = (flags & starredBit) != 0;
    done.isUnconfirmed = (flags & unconfirmedBit) != 0;
    done.mailbox = reader.text();
    for (qsizetype count = reader.count(); count > 0; --count)
        done.labelIDs.append(reader.text());
    return done;
}

qint64 PackedRow::date() const
{
    return PackedReader(content).signedNumber();
}

} // namespace Larkhaven
