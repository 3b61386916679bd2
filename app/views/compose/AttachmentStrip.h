#pragma once

#include "domain/Message.h"

#include <QList>
#include <QTimer>
#include <QWidget>

class QLabel;
class QScrollArea;

namespace Larkhaven {

/// The files of a message that is being written, with their sizes; each can be removed. Hidden where there
/// are none. Once they take half of what a message may hold, their total is told.
class AttachmentStrip : public QWidget {
    Q_OBJECT

public:
    explicit AttachmentStrip(QWidget* parent = nullptr);

    const QList<OutgoingAttachment>& attachments() const { return m_attachments; }
    void setAttachments(const QList<OutgoingAttachment>& attachments);
    /// In bytes.
    qint64 total() const;
    /// The keyboard goes to the first button.
    void takeFocus(Qt::FocusReason reason);

Q_SIGNALS:
    void attachmentsChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void showMore();
    void fit();
    QWidget* makeItem(const OutgoingAttachment& attachment);
    void remove(const QUuid& id);

    QList<OutgoingAttachment> m_attachments;
    QWidget* m_chips;
    QScrollArea* m_scroll; ///< more than two lines of chips would leave no room for the text
    QLabel* m_total;
    qsizetype m_shown = 0; ///< those that have a chip
    QTimer m_turn;         ///< brings the next chips
};

} // namespace Larkhaven
