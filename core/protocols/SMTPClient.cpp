#include "protocols/SMTPClient.h"

#include "domain/MailError.h"
#include "domain/Text.h"
#include "platform/Tasks.h"
#include "protocols/StreamTransport.h"
#include "protocols/TransportCloser.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Larkhaven::SMTPClient {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(SMTPClient)
};

/// The failure of a connection before its first word, with the other security where there is no TLS.
[[noreturn]] void failAtGreeting(const StreamError& error)
{
    if (!error.isWithoutTLS())
        throw error;
    throw MailError::unsupported(error.localizedText() + u' ' +
                                 Texts::tr("Try STARTTLS (usually port 587)."));
}

constexpr std::array ready{220};
constexpr std::array closing{221};
constexpr std::array signedIn{235};
constexpr std::array done{250};
constexpr std::array doneOrForwarded{250, 251};
constexpr std::array goOn{334};
constexpr std::array sendData{354};

/// RFC 5321, 4.1.3: an address literal. The machine's own name is nobody's business.
const QString& hello()
{
    static const QString text = u"EHLO [127.0.0.1]"_s;
    return text;
}

bool isSeparator(QChar character)
{
    return character == u'@' || character.isSpace() || QStringView(u"<>,;\"()[]\\").contains(character);
}

/// The first of the lines whose first word is AUTH, in capitals (RFC 4954, 3); empty where there is none.
QString mechanismsIn(const QList<QString>& offers)
{
    for (const QString& offer : offers) {
        QString line = Text::asciiUppered(offer);
        if (line == "AUTH"_L1 || line.startsWith("AUTH "_L1))
            return line;
    }
    return {};
}

bool hasMechanism(const QString& mechanisms, QLatin1StringView name)
{
    for (const QStringView word : QStringView(mechanisms).tokenize(u' ')) {
        if (word == name)
            return true;
    }
    return false;
}

bool isASCII(const QString& address)
{
    return std::ranges::all_of(address, [](QChar character) { return character.unicode() < 0x80; });
}

bool isASCII(const QByteArray& data)
{
    return std::ranges::all_of(data, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

QString base64(const QString& text)
{
    return QString::fromLatin1(text.toUtf8().toBase64());
}

void check(const Reply& reply, Session::Codes expected)
{
    if (std::ranges::find(expected, reply.code) != expected.end())
        return;
    const QString text = Text::prefix(reply.lines.join(u' '), errorTextLimit);
    throw MailError::protocolError(
        Texts::tr("The mail server said: %1 %2").arg(QString::number(reply.code), text));
}

Task<QByteArray> stuffed(QByteArray data)
{
    if (data.size() <= workerThreshold)
        co_return stuffedMessage(data);
    const auto stuff = [data] { return stuffedMessage(data); };
    QByteArray message = co_await runOnWorker(stuff);
    co_return message;
}

} // namespace

Task<> send(ServerSettings settings, MailAuth auth, TransportFactory factory, QString from,
            QList<QString> recipients, QByteArray data)
{
    const bool implicitTLS = settings.smtpSecurity == ConnectionSecurity::tls;
    const std::shared_ptr<MailTransport> transport =
        co_await factory(settings.smtpHost, settings.smtpPort, implicitTLS);
    const TransportCloser closer(*transport);
    Session session(transport);
    co_await session.open(settings, auth);
    co_await session.submit(from, recipients, data);
    co_await session.quit();
}

Task<> verify(ServerSettings settings, MailAuth auth, TransportFactory factory)
{
    const bool implicitTLS = settings.smtpSecurity == ConnectionSecurity::tls;
    const std::shared_ptr<MailTransport> transport =
        co_await factory(settings.smtpHost, settings.smtpPort, implicitTLS);
    const TransportCloser closer(*transport);
    Session session(transport);
    co_await session.open(settings, auth);
    co_await session.quit();
}

QString validateAddress(const QString& address)
{
    const qsizetype at = address.indexOf(u'@');
    const bool isValid = address.isValidUtf16() && at > 0 && at + 1 < address.size() &&
                         std::none_of(address.cbegin(), address.cbegin() + at, isSeparator) &&
                         std::none_of(address.cbegin() + at + 1, address.cend(), isSeparator);
    if (!isValid)
        throw MailError::unsupported(Texts::tr("“%1” isn’t a valid email address.").arg(address));
    return address;
}

QByteArray stuffedMessage(QByteArrayView data)
{
    constexpr qsizetype room = 64;
    QByteArray stuffed;
    stuffed.reserve(data.size() + room);
    while (!data.isEmpty()) {
        if (data.front() == '.')
            stuffed += '.';
        const qsizetype lineFeed = data.indexOf('\n');
        if (lineFeed < 0) {
            stuffed += data;
            break;
        }
        stuffed += data.first(lineFeed);
        if (lineFeed == 0 || data[lineFeed - 1] != '\r')
            stuffed += '\r';
        stuffed += '\n';
        data = data.sliced(lineFeed + 1);
    }
    if (!stuffed.endsWith("\r\n"))
        stuffed += "\r\n";
    return stuffed += ".\r\n";
}

// --- The dialogue

Task<QList<QString>> Session::command(QString text, Codes expected)
{
    // Nothing from outside can thus become a second command.
    if (text.contains(u'\r') || text.contains(u'\n'))
        throw MailError::protocolError(Texts::tr("Invalid SMTP command."));
    co_await m_reader.transport().send(text.toUtf8() + "\r\n");
    QList<QString> lines = co_await expect(expected);
    co_return lines;
}

Task<QList<QString>> Session::expect(Codes expected)
{
    const Reply reply = co_await readReply();
    check(reply, expected);
    QList<QString> lines = reply.lines;
    co_return lines;
}

Task<Reply> Session::readReply()
{
    constexpr qsizetype codeSize = 3;
    Reply reply;
    qsizetype size = 0;
    for (;;) {
        const QByteArray bytes = co_await m_reader.readLine();
        const QString line = Text::fromRepairedUTF8(bytes);
        const auto isDigit = [](QChar character) { return character >= u'0' && character <= u'9'; };
        if (line.size() < codeSize || !std::ranges::all_of(QStringView(line).first(codeSize), isDigit))
            throw MailError::protocolError(Texts::tr("Unexpected SMTP reply."));
        size += bytes.size();
        if (reply.lines.size() == replyLineLimit || size > replySizeLimit)
            throw MailError::protocolError(Texts::tr("SMTP reply too long."));
        reply.code = QStringView(line).first(codeSize).toInt();
        reply.lines.append(line.sliced(std::min(codeSize + 1, line.size())));
        if (line.size() == codeSize || line[codeSize] != u'-')
            co_return reply;
    }
}

Task<> Session::open(ServerSettings settings, MailAuth auth)
{
    try {
        co_await expect(ready);
    } catch (const StreamError& error) {
        failAtGreeting(error);
    }
    co_await greet();
    if (settings.smtpSecurity == ConnectionSecurity::startTLS)
        co_await upgradeToTLS(settings.smtpHost);
    const QString mechanisms = mechanismsIn(m_offers);
    if (auth.password())
        co_await signIn(settings, *auth.password(), mechanisms);
    else
        co_await signInWithToken(settings, auth.manager(), mechanisms);
}

Task<> Session::greet()
{
    const QList<QString> lines = co_await command(hello(), done);
    m_offers = lines;
}

/// Whether a line of the server's is the keyword, with or without parameters (RFC 5321, 4.1.1.1).
bool Session::offers(QLatin1StringView keyword) const
{
    return std::ranges::any_of(m_offers, [keyword](const QString& line) {
        const qsizetype blank = line.indexOf(u' ');
        return Text::asciiUppered(QStringView(line).first(blank < 0 ? line.size() : blank)) == keyword;
    });
}

Task<> Session::upgradeToTLS(QString host)
{
    const bool isOffered = std::ranges::any_of(
        m_offers, [](const QString& offer) { return Text::asciiUppered(offer) == "STARTTLS"_L1; });
    if (!isOffered)
        throw MailError::unsupported(
            Texts::tr("%1 doesn't offer STARTTLS. Try SSL/TLS (usually port 465).").arg(host));
    co_await command(u"STARTTLS"_s, ready);
    // Whoever sits in the middle may have sent more in the clear, to be read as if it had come through TLS.
    if (m_reader.hasBufferedBytes())
        throw MailError::protocolError(Texts::tr("Unexpected data before TLS."));
    co_await m_reader.transport().startTLS();
    // What the server said before TLS counts for nothing.
    co_await greet();
}

Task<> Session::signIn(ServerSettings settings, QString password, QString mechanisms)
{
    const bool hasPlain = hasMechanism(mechanisms, "PLAIN"_L1);
    if (!hasPlain && !hasMechanism(mechanisms, "LOGIN"_L1))
        throw MailError::unsupported(Texts::tr("%1 doesn't accept password sign-in.").arg(settings.smtpHost));
    try {
        if (hasPlain) {
            const QString credential = QChar(u'\0') + settings.username + QChar(u'\0') + password;
            co_await command(u"AUTH PLAIN "_s + base64(credential), signedIn);
        } else {
            co_await command(u"AUTH LOGIN"_s, goOn);
            co_await command(base64(settings.username), goOn);
            co_await command(base64(password), signedIn);
        }
    } catch (const MailError& error) {
        if (error.kind() != MailError::Kind::protocolError)
            throw;
        throw MailError::notSignedIn();
    }
}

Task<> Session::signInWithToken(ServerSettings settings, std::shared_ptr<TokenSource> manager,
                                QString mechanisms)
{
    if (!hasMechanism(mechanisms, "XOAUTH2"_L1))
        throw MailError::unsupported(Texts::tr("%1 doesn't accept OAuth sign-in.").arg(settings.smtpHost));
    for (const bool forceRefresh : {false, true}) {
        const QString token = co_await manager->validToken(forceRefresh);
        const int code = co_await tryToken(xoauth2Payload(settings.username, token));
        if (code == signedIn.front())
            co_return;
    }
    throw MailError::notSignedIn();
}

/// The code of the reply that settles it.
Task<int> Session::tryToken(QByteArray payload)
{
    co_await m_reader.transport().send("AUTH XOAUTH2 " + payload + "\r\n");
    Reply reply = co_await readReply();
    if (reply.code == goOn.front()) {
        // The server tells why it refuses, and wants an empty answer before it does.
        co_await m_reader.transport().send("\r\n");
        reply = co_await readReply();
    }
    const int code = reply.code;
    co_return code;
}

Task<> Session::submit(QString from, QList<QString> recipients, QByteArray data)
{
    const QString parameters = senderParameters(QList<QString>(1, from) + recipients, data);
    co_await command(u"MAIL FROM:<"_s + validateAddress(from) + u'>' + parameters, done);
    for (const QString& recipient : std::as_const(recipients))
        co_await command(u"RCPT TO:<"_s + validateAddress(recipient) + u'>', doneOrForwarded);
    co_await command(u"DATA"_s, sendData);
    const QByteArray message = co_await stuffed(data);
    co_await m_reader.transport().send(message);
    co_await expectAcceptance();
}

/// What MAIL FROM needs for addresses beyond ASCII (RFC 6531, 3.4): SMTPUTF8, and 8BITMIME for a header that
/// holds them.
QString Session::senderParameters(const QList<QString>& addresses, const QByteArray& data) const
{
    const auto foreign =
        std::ranges::find_if(addresses, [](const QString& address) { return !isASCII(address); });
    if (foreign == addresses.end())
        return {};
    if (!offers("SMTPUTF8"_L1))
        throw MailError::unsupported(
            Texts::tr("“%1” has letters that this mail server doesn’t take in addresses.").arg(*foreign));
    return offers("8BITMIME"_L1) && !isASCII(data) ? u" SMTPUTF8 BODY=8BITMIME"_s : u" SMTPUTF8"_s;
}

/// The answer to the end of the message. Only a refusal (RFC 5321, 4.2.1: 4yz or 5yz) proves that the message
/// has not gone out.
Task<> Session::expectAcceptance()
{
    m_reader.transport().setReceiveTimeout(acceptanceTimeout);
    std::optional<Reply> reply;
    std::optional<MailError> failure;
    try {
        reply = co_await readReply();
    } catch (const MailError& error) {
        failure = error.afterHandingOver();
    } catch (const LocalizedError& error) {
        failure = MailError::protocolError(error.localizedText()).afterHandingOver();
    }
    if (failure)
        throw *failure;
    m_reader.transport().setReceiveTimeout(answerTimeout);
    try {
        check(*reply, done);
    } catch (const MailError& error) {
        constexpr int transientFailures = 400;
        constexpr int permanentFailuresEnd = 600;
        const bool isRefusal = reply->code >= transientFailures && reply->code < permanentFailuresEnd;
        throw isRefusal ? error : error.afterHandingOver();
    }
}

Task<> Session::quit()
{
    try {
        co_await command(u"QUIT"_s, closing);
    } catch (const std::exception&) {
        // The server has the message, or has proved what was asked. Telling a failure now would make the user
        // send the message twice.
    }
}

} // namespace Larkhaven::SMTPClient
