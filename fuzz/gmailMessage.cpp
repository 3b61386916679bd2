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
    const bool isBounded =
        row.subject.size() <= SummaryFields::subjectLimit &&
        row.snippet.size() <= SummaryFields::snippetLimit && row.to.size() <= SummaryFields::recipientLimit &&
        row.labelIDs.size() <= GmailMessage::mostLabels && !row.mailbox.isEmpty() && row.date.isValid() &&
        row.isRead != row.labelIDs.contains(QLatin1StringView("UNREAD"));
    if (!isBounded)
        std::abort();
    // What is kept is read again as it was.
    if (MessageSummary::fromJSON(row.toJSON()).labelIDs != row.labelIDs)
        std::abort();
    return 0;
}
