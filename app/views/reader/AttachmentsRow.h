#pragma once

#include "format/MailAttachment.h"
#include "safety/AttachedFile.h"

#include <QList>
#include <QWidget>

class QLabel;

namespace Larkhaven {

/// The files of a message, one chip for each; a click saves. Hidden where there are none.
class AttachmentsRow : public QWidget {
    Q_OBJECT

public:
    explicit AttachmentsRow(QWidget* parent = nullptr);

    /// A file, and what it is seen to be.
    struct File {
        MailAttachment attachment;
        QString name;
        AttachedFile::Kind kind;
    };
    /// Pure, but work for a worker.
    static QList<File> judged(const QList<MailAttachment>& attachments);

    void setFiles(const QList<File>& files);

Q_SIGNALS:
    void saveRequested(const Larkhaven::MailAttachment& attachment);

private:
    QLabel* m_label;
    QWidget* m_chips;
};

} // namespace Larkhaven
