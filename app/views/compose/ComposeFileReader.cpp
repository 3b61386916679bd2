#include "views/compose/ComposeFileReader.h"

#include "format/MessageComposer.h"
#include "platform/Tasks.h"

#include <QPointer>

namespace Larkhaven {

ComposeFileReader::ComposeFileReader(Read read, std::function<qint64()> total, QObject* parent)
    : QObject(parent)
    , m_read(std::move(read))
    , m_total(std::move(total))
{}

ComposeFileReader::~ComposeFileReader()
{
    m_end->notify();
}

void ComposeFileReader::add(const QList<QUrl>& files)
{
    if (files.isEmpty())
        return;
    begin([read = m_read, files](qint64 total) {
        return read(files, total, MessageComposer::maxAttachmentBytes);
    });
}

void ComposeFileReader::add(const ComposeFiles::Image& image)
{
    begin([image](qint64 total) {
        return ComposeFiles::made(image, total, MessageComposer::maxAttachmentBytes);
    });
}

void ComposeFileReader::begin(Work work)
{
    m_waiting.append(std::move(work));
    if (!m_isReading)
        spawn(readAll(), dropFailure);
}

Task<> ComposeFileReader::readAll()
{
    const QPointer<ComposeFileReader> self(this);
    m_isReading = true;
    Q_EMIT began();
    QStringList refused;
    while (!m_waiting.isEmpty()) {
        const auto work = [next = m_waiting.takeFirst(), total = m_total()] { return next(total); };
        const ComposeFiles::Files added = co_await runOnWorker(work);
        if (!self)
            co_return;
        if (!added.attachments.isEmpty())
            Q_EMIT found(added.attachments);
        refused += added.refused;
    }
    m_isReading = false;
    m_wasRefused = !refused.isEmpty();
    Q_EMIT finished(refused);
    m_end->notify();
}

Task<bool> ComposeFileReader::ended()
{
    const QPointer<ComposeFileReader> self(this);
    const std::shared_ptr<Wakeup> end = m_end;
    const bool hasWaited = m_isReading;
    while (self && !m_isStopped && m_isReading)
        co_await end->wait(std::chrono::milliseconds(-1));
    co_return self && !m_isStopped && !(hasWaited && m_wasRefused);
}

void ComposeFileReader::stop()
{
    m_isStopped = true;
    m_end->notify();
}

} // namespace Larkhaven
