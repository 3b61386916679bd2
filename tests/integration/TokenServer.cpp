#include "integration/TokenServer.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr int patience = 20'000;

} // namespace

TokenServer::TokenServer(const QStringList& tokens)
{
    m_process.start(QStringLiteral(LARKHAVEN_PYTHON),
                    QStringList{QStringLiteral(LARKHAVEN_TOKEN_SERVER)} + tokens);
    if (m_process.waitForReadyRead(patience))
        m_port = m_process.readLine().trimmed().toInt();
    if (m_port == 0)
        throw std::runtime_error("the token server did not start");
}

TokenServer::~TokenServer()
{
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(patience))
        m_process.kill();
}

QStringList TokenServer::options() const
{
    return {u"--introspection"_s, u"http://127.0.0.1:%1/introspect"_s.arg(m_port)};
}

} // namespace Larkhaven
