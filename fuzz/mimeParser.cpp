#include "format/MIMEParser.h"

#include "domain/Text.h"
#include "format/HeaderParameters.h"

#include <QByteArrayView>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Any bytes are a message: reading them ends, keeps its limits, and gives names that are fit for files.

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void checkFilename(const QString& name)
{
    require(!name.isEmpty());
    for (const QChar character : name) {
        require(character != u'/' && character != u'\\' && character != u':');
        require(character.category() != QChar::Other_Control);
        require(character < QChar(0x202a) || character > QChar(0x202e));
    }
    require(name != u"." && name != u"..");
    // Two passes clean no more than one, but for what the cut to its length lays bare.
    if (name.size() < MIMEParser::maxFilenameCharacters)
        require(MIMEParser::safeFilename(name) == name);
}

void checkMessage(const ParsedMessage& message, qsizetype size)
{
    require(message.attachments.size() <= MIMEParser::maxParts);
    qsizetype dataSize = 0;
    for (qsizetype index = 0; index < message.attachments.size(); ++index) {
        const MailAttachment& attachment = message.attachments[index];
        require(attachment.id == index);
        checkFilename(attachment.filename);
        dataSize += attachment.data.size();
    }
    require(dataSize <= size);
    require(message.listedAttachments().size() <= message.attachments.size());
}

void checkSplit(QByteArrayView raw)
{
    const MIMEParser::SplitEntity entity = MIMEParser::splitHeaders(raw);
    require(raw.sliced(raw.size() - entity.body.size()) == entity.body);
    for (const MIMEHeaders::Field& field : entity.headers.fields) {
        require(!field.value.contains(u'\n') && !field.name.contains(u'\n'));
        require(entity.headers.value(field.name).has_value());
        const HeaderParameters parameters = HeaderParameters::parse(field.value);
        require(parameters.value == Text::asciiLowered(parameters.value));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView raw(data, static_cast<qsizetype>(size));
    const ParsedMessage message = MIMEParser::parse(raw);
    checkMessage(message, raw.size());
    require(MIMEParser::parse(raw) == message);
    checkSplit(raw);
    return 0;
}
