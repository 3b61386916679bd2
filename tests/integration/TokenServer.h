#pragma once

#include <QProcess>
#include <QStringList>

namespace Larkhaven {

/// Tells the mail servers which OAuth tokens are good; ends with its object. Failures to run it throw.
class TokenServer {
public:
    /// `tokens` are "token=user".
    explicit TokenServer(const QStringList& tokens);
    ~TokenServer();
    TokenServer(const TokenServer&) = delete;
    TokenServer& operator=(const TokenServer&) = delete;

    /// The options of "mailserver start" that make it ask here.
    QStringList options() const;

private:
    QProcess m_process;
    int m_port = 0;
};

} // namespace Larkhaven
