#pragma once

#include "support/GmailMailbox.h"
#include "support/GmailMethods.h"

#include <QJsonArray>
#include <QJsonObject>

#include <optional>

/// The objects of the Gmail API, v1, for what a mailbox holds.
namespace Larkhaven::GmailAnswers {

/// With `format` "minimal", "metadata" or "raw", and of its headers those that are named; all of them where
/// none is.
QJsonObject message(const GmailMailbox::Message& message, const QString& format, const QStringList& headers);
/// "id" and "threadId".
QJsonObject reference(const GmailMailbox::Message& message);
/// "id", "threadId" and "labelIds".
QJsonObject labelled(const QString& id, const QString& threadId, const QSet<QString>& labelIds);
/// Without counts.
QJsonObject label(const GmailMailbox::Label& label);
QJsonObject history(const GmailMailbox::HistoryRecord& record);

QJsonArray array(const QSet<QString>& ids);

/// A page token that belongs to one listing.
QString token(const QString& listing, qint64 date, quint64 number);
/// Absent where it isn't one of this listing.
std::optional<GmailMailbox::Place> place(const QString& token, const QString& listing);

} // namespace Larkhaven::GmailAnswers
