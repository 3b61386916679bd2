#pragma once

#include "UITestSupport.h"

#include <QByteArray>
#include <QList>

namespace Larkhaven {

/// Forty rows with something of everything: senders and subjects that are short, too long or empty, one from
/// right to left, and each mark.
QList<MessageSummary> sampleRows(const Account& account);
/// A message with receivers, a link, an image and a tracker from elsewhere, and two attachments.
QByteArray sampleMessage();
/// Gives the first account labels, counts, the rows and the message, under the id "2".
void fillWithSamples(MailWindow& mail);

} // namespace Larkhaven
