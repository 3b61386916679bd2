#include "integration/MailServer.h"

#include "protocols/StreamTransport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr int patience = 120'000;

/// One folder for the process, since its authority is what the process trusts. In memory where there is some:
/// thousands of files are made in no time.
QString stateFolder()
{
    static const QTemporaryDir folder((QDir(u"/dev/shm"_s).exists() ? u"/dev/shm"_s : QDir::tempPath()) +
                                      u"/larkhaven-XXXXXX"_s);
    return folder.path();
}

} // namespace

MailServer::MailServer(const QStringList& options, Submission submission)
    : m_state(stateFolder())
    , m_submission(submission)
{
    start(options +
          QStringList{u"--fresh"_s, u"--cert"_s, u"good"_s, u"--password"_s, QString::fromLatin1(password)});
    qputenv("SSL_CERT_FILE", QFile::encodeName(m_state + u"/ca.pem"_s));
}

MailServer::~MailServer()
{
    QProcess process;
    process.start(QStringLiteral(LARKHAVEN_DEMO "/mailserver"), {u"stop"_s, m_state});
    process.waitForFinished(patience);
}

QByteArray MailServer::run(const QStringList& arguments, const QByteArray& input) const
{
    QProcess process;
    process.start(QStringLiteral(LARKHAVEN_DEMO "/mailserver"), arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(patience) || process.exitCode() != 0)
        throw std::runtime_error("mailserver " + arguments.join(u' ').toStdString() + ": " +
                                 process.readAllStandardError().toStdString());
    return process.readAllStandardOutput();
}

QStringList MailServer::submissionOption() const
{
    return {u"--submission"_s, m_submission == Submission::none ? u"no"_s : u"yes"_s};
}

void MailServer::start(const QStringList& options)
{
    run(QStringList{u"start"_s, m_state} + submissionOption() + options);
}

void MailServer::restart(const QStringList& options)
{
    run(QStringList{u"restart"_s, m_state} + submissionOption() + options);
}

void MailServer::stop()
{
    run({u"stop"_s, m_state});
}

void MailServer::kill()
{
    run({u"kill"_s, m_state});
}

void MailServer::stopSubmission()
{
    run({u"stop"_s, m_state, u"--submission-only"_s});
}

void MailServer::killSubmission()
{
    run({u"kill"_s, m_state, u"--submission-only"_s});
}

void MailServer::deliver(const QByteArray& message)
{
    run({u"deliver"_s, m_state, u"-"_s}, message);
}

QByteArray MailServer::submissionLog() const
{
    QFile log(m_state + u"/submission.log"_s);
    if (!log.open(QIODevice::ReadOnly))
        throw std::runtime_error("the submission server keeps no log");
    return log.readAll();
}

QByteArray MailServer::doveadm(const QStringList& arguments)
{
    return run(QStringList{u"doveadm"_s, m_state, u"--"_s} + arguments);
}

int MailServer::port(const QString& name) const
{
    QFile ports(m_state + u"/ports"_s);
    if (!ports.open(QIODevice::ReadOnly))
        throw std::runtime_error("the server has told no ports");
    const QStringList lines = QString::fromUtf8(ports.readAll()).split(u'\n');
    for (const QString& line : lines) {
        if (line.startsWith(name + u'='))
            return line.section(u'=', 1).toInt();
    }
    throw std::runtime_error("the server has told no such port");
}

int MailServer::plainSubmissionPort() const
{
    return port(u"SMTP_PLAIN_PORT"_s);
}

Account MailServer::account(ConnectionSecurity security, const char* user) const
{
    const bool isImplicit = security == ConnectionSecurity::tls;
    Account account;
    account.email = QString::fromLatin1(user);
    account.id = QUuid::createUuidV5(QUuid(), account.email);
    account.server = ServerSettings::preset(account.email);
    account.server->imapHost = u"localhost"_s;
    account.server->imapPort = port(isImplicit ? u"IMAPS_PORT"_s : u"IMAP_PORT"_s);
    account.server->imapSecurity = security;
    if (m_submission == Submission::postfix) {
        account.server->smtpHost = u"localhost"_s;
        account.server->smtpPort = port(isImplicit ? u"SMTPS_PORT"_s : u"SMTP_PORT"_s);
        account.server->smtpSecurity = security;
    }
    return account;
}

std::shared_ptr<IMAPProvider> MailServer::providerOf(const Account& account,
                                                     TransportFactory transports) const
{
    return IMAPProvider::create(account, MailAuth::password(QString::fromLatin1(password)), nullptr,
                                transports ? std::move(transports) : MailTransports::open);
}

std::shared_ptr<IMAPProvider> MailServer::providerOf(const char* user) const
{
    return providerOf(account(ConnectionSecurity::tls, user));
}

std::shared_ptr<IMAPProvider> MailServer::provider(ConnectionSecurity security,
                                                   std::shared_ptr<MailCache> cache,
                                                   TransportFactory transports) const
{
    return IMAPProvider::create(account(security), MailAuth::password(QString::fromLatin1(password)),
                                std::move(cache), transports ? std::move(transports) : MailTransports::open);
}

} // namespace Larkhaven
