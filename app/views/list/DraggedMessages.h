#pragma once

#include "domain/Message.h"

#include <QMimeData>

namespace Larkhaven {

/// Rows of the table on their way to a mailbox of the sidebar. They carry nothing that another program could
/// take.
class DraggedMessages : public QMimeData {
    Q_OBJECT

public:
    explicit DraggedMessages(QList<MessageSummary> messages)
        : m_messages(std::move(messages))
    {}

    const QList<MessageSummary>& messages() const { return m_messages; }

    QStringList formats() const override { return {QStringLiteral("application/x-larkhaven-messages")}; }
    bool hasFormat(const QString& mimeType) const override { return formats().contains(mimeType); }

private:
    QList<MessageSummary> m_messages;
};

} // namespace Larkhaven
