#pragma once

#include "format/MailAttachment.h"

#include <QList>
#include <QWidget>

class QLabel;

namespace Larkhaven {

/// The files of a message, one chip for each; a click saves. Hidden where there are none.
class AttachmentsRow : public QWidget {
    Q_OBJECT

public:
    explicit AttachmentsRow(QWidget* parent = nullptr);

    void setAttachments(const QList<MailAttachment>& attachments);

Q_SIGNALS:
    void saveRequested(const Larkhaven::MailAttachment& attachment);

private:
    QLabel* m_label;
    QWidget* m_chips;
};

} // namespace Larkhaven
