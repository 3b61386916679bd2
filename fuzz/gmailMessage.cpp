#include "providers/GmailMessage.h"

#include "providers/SummaryFields.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

/// What the service tells of a message becomes a row within the bounds, whatever it is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const MessageSummary row = GmailMessage::summary(QJsonDocument::fromJson(json).object(), QUuid());
    require(row.subject.size() <= SummaryFields::subjectLimit);
    require(row.snippet.size() <= SummaryFields::snippetLimit);
    require(row.to.size() <= SummaryFields::recipientLimit);
    require(row.labelIDs.size() <= GmailMessage::mostLabels);
    require(row.isRead != row.labelIDs.contains(GmailMessage::SystemLabel::unread));
    require(!row.mailbox.isEmpty() && row.date.isValid());
    // What is kept is read again as it was.
    require(MessageSummary::fromJSON(row.toJSON()).labelIDs == row.labelIDs);
    return 0;
}
