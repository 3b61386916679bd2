#pragma once

#include "domain/MailProvider.h"
#include "platform/Wakeup.h"
#include "views/compose/ComposeFiles.h"

#include <QObject>

#include <functional>
#include <memory>

namespace Larkhaven {

/// Reads the files that are added to one message, list after list, so that each knows the total of those
/// before it. The files are read on a worker; everything else happens on the main thread.
class ComposeFileReader : public QObject {
    Q_OBJECT

public:
    /// Reads files, on a worker; `total` and `limit` in bytes.
    using Read = std::function<ComposeFiles::Files(QList<QUrl> files, qint64 total, qint64 limit)>;

    /// `total`: the bytes that the message holds already, asked before each list.
    ComposeFileReader(Read read, std::function<qint64()> total, QObject* parent = nullptr);
    ~ComposeFileReader() override;

    void add(const QList<QUrl>& files);
    void add(const ComposeFiles::Image& image);
    bool isReading() const { return m_isReading; }

    /// Ends when nothing is being read, or with `stop`. Whether every file that it had to wait for was
    /// attached.
    Task<bool> ended();
    /// Ends all waits. What is read from then on is still told.
    void stop();

Q_SIGNALS:
    void began();
    void found(const QList<OutgoingAttachment>& attachments);
    /// Comes once for each `began`, with the names of what can't be attached.
    void finished(const QStringList& refused);

private:
    using Work = std::function<ComposeFiles::Files(qint64 total)>;

    void begin(Work work);
    Task<> readAll();

    Read m_read;
    std::function<qint64()> m_total;
    QList<Work> m_waiting;
    bool m_isReading = false;
    bool m_isStopped = false;
    bool m_wasRefused = false; ///< a file of the last ones
    std::shared_ptr<Wakeup> m_end = std::make_shared<Wakeup>();
};

} // namespace Larkhaven
