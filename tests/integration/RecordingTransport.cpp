#include "integration/RecordingTransport.h"

#include "protocols/StreamTransport.h"

namespace Larkhaven {

namespace {

Task<std::shared_ptr<MailTransport>> openRecording(QString host, int port, bool implicitTLS,
                                                   std::shared_ptr<RecordingTransport::Record> record)
{
    const std::shared_ptr<MailTransport> transport = co_await MailTransports::open(host, port, implicitTLS);
    co_return std::make_shared<RecordingTransport>(transport, record);
}

} // namespace

qsizetype RecordingTransport::Record::commands(const QByteArray& words) const
{
    qsizetype count = 0;
    for (const QByteArray& line : sent) {
        const qsizetype tagEnd = line.indexOf(' ');
        if (line.mid(tagEnd + 1).startsWith(words))
            ++count;
    }
    return count;
}

TransportFactory RecordingTransport::factory(std::shared_ptr<Record> record)
{
    return [record](const QString& host, int port, bool implicitTLS) {
        return openRecording(host, port, implicitTLS, record);
    };
}

Task<> RecordingTransport::send(QByteArray data)
{
    m_record->sent.append(data);
    return m_transport->send(data);
}

} // namespace Larkhaven
