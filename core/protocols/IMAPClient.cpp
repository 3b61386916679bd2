#include "protocols/IMAPClient.h"

#include "domain/MailError.h"
#include "domain/Text.h"
#include "platform/Tasks.h"
#include "protocols/ResponseTooLarge.h"
#include "protocols/StreamTransport.h"
#include "protocols/TransportCloser.h"
#include "protocols/UIDSet.h"

#include <QCoreApplication>

#include <algorithm>
#include <numeric>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(IMAPClient)
};

/// The failure of a connection before its first word, with the other security where there is no TLS.
[[noreturn]] void failAtGreeting(const StreamError& error)
{
    if (!error.isWithoutTLS())
        throw error;
    throw MailError::unsupported(error.localizedText() + u' ' +
                                 Texts::tr("Try STARTTLS (usually port 143)."));
}

IMAPArg quoted(const QString& text)
{
    return IMAPArg::quoted(text);
}

IMAPArg piece(const QString& text)
{
    return IMAPArg::text(text);
}
IMAPArg piece(const IMAPArg& arg)
{
    return arg;
}

/// A command of its pieces; a plain QString stands for itself.
template <typename... Pieces>
QList<IMAPArg> command(const Pieces&... pieces)
{
    return {piece(pieces)...};
}

/// The number in "[UIDVALIDITY 123]"; absent if it is none, or below 0.
std::optional<qint64> uidValidityIn(const QString& code)
{
    constexpr qsizetype prefixLength = 12;
    QStringView number = QStringView(code).sliced(prefixLength);
    while (number.startsWith(u' ') || number.startsWith(u']'))
        number = number.sliced(1);
    while (number.endsWith(u' ') || number.endsWith(u']'))
        number.chop(1);
    const std::optional<qint64> uidValidity = IMAPValue::atom(number.toString()).integer();
    return uidValidity.value_or(-1) < 0 ? std::nullopt : uidValidity;
}

/// Adds to the pieces of a response. Small ones are joined at once; large ones where they are parsed, so that
/// they cost this thread no copy.
void addPiece(QList<QByteArray>& pieces, const QByteArray& bytes)
{
    const bool isLarge = bytes.size() > IMAPClient::workerThreshold;
    if (isLarge || pieces.isEmpty() || pieces.last().size() > IMAPClient::workerThreshold)
        pieces.append(bytes);
    else
        pieces.last() += bytes;
}

/// Adds what a SEARCH response lists.
void appendNumbers(IMAPResponse response, QList<qint64>& uids)
{
    // There may be a million of them.
    if (uids.isEmpty())
        uids = std::move(response.numbers);
    else
        uids.append(response.numbers);
    for (const IMAPValue& value : response.values.sliced(1)) {
        if (const std::optional<qint64> uid = value.integer())
            uids.append(*uid);
    }
}

/// Adds what an ESEARCH response lists, if it is the answer to the command of the tag (RFC 4466, 2.6.2).
void appendRanges(const IMAPResponse& response, const QString& tag, QList<qint64>& uids)
{
    const IMAPValues& values = response.values;
    const std::optional<IMAPValues> correlator = values.size() > 1 ? values[1].list() : std::nullopt;
    const bool isOther = correlator && correlator->size() == 2 && correlator->first().isKeyword("TAG"_L1) &&
                         correlator->last().text() != tag;
    const auto all =
        std::ranges::find_if(values, [](const IMAPValue& value) { return value.isKeyword("ALL"_L1); });
    if (isOther || all == values.end())
        return;
    const auto next = std::next(all);
    const std::optional<QString> set = next == values.end() ? std::nullopt : (*next).text();
    const std::optional<qint64> size = set ? UIDSet::size(*set) : std::nullopt;
    // What can't be read must not be taken for an empty mailbox.
    if (!size)
        throw MailError::protocolError(
            Texts::tr("The server listed the messages in a way that can’t be read."));
    if (*size > IMAPResponse::valueLimit - uids.size())
        throw MailError::protocolError(Texts::tr("Server response too large."));
    uids.append(UIDSet::unfold(*set));
}

/// A delimiter is one character (RFC 3501, 7.2.2); anything else is none.
std::optional<QString> delimiterIn(const IMAPValue& value)
{
    std::optional<QString> delimiter = value.text();
    if (delimiter && (delimiter->size() != 1 || delimiter->front().category() == QChar::Other_Control))
        delimiter.reset();
    return delimiter;
}

/// The namespaces of one class, of which those that can't be read are left out.
QList<IMAPClient::Namespace> namespacesIn(const IMAPValue& value)
{
    QList<IMAPClient::Namespace> found;
    for (const IMAPValue& entry : value.list().value_or(IMAPValues())) {
        const std::optional<IMAPValues> fields = entry.list();
        if (!fields || fields->size() < 2 || found.size() == IMAPClient::namespaceLimit)
            continue;
        const std::optional<QString> prefix = fields->at(0).text();
        const std::optional<QString> delimiter = delimiterIn(fields->at(1));
        if (prefix && prefix->size() <= IMAPClient::namespacePrefixLimit)
            found.append({*prefix, delimiter});
    }
    return found;
}

/// The numbers of a STATUS response by their names in capitals, of doubles the last; absent if it is none.
std::optional<QHash<QString, qint64>> statusIn(const IMAPResponse& response)
{
    const std::optional<IMAPValues> pairs =
        response.values.isEmpty() ? std::nullopt : response.values.last().list();
    if (!response.isNamed("STATUS"_L1) || !pairs)
        return std::nullopt;
    QHash<QString, qint64> numbers;
    for (qsizetype index = 0; index + 1 < pairs->size(); index += 2) {
        if (const std::optional<QString> name = pairs->at(index).text())
            numbers.insert(Text::asciiUppered(*name), pairs->at(index + 1).integer().value_or(0));
    }
    return numbers;
}

void readStatus(const QHash<QString, qint64>& numbers, IMAPClient::Status& status)
{
    status.unseen = numbers.value(u"UNSEEN"_s, status.unseen);
    status.messages = numbers.value(u"MESSAGES"_s, status.messages);
}

const QString& statusItems()
{
    static const QString items = u" (UNSEEN MESSAGES)"_s;
    return items;
}

/// STATUS commands that are in flight, and their answers.
class PendingStatuses {
public:
    void add(const QString& tag, const QString& mailbox)
    {
        m_commands.append({tag, mailbox, IMAPClient::Status(), false});
    }
    bool isDone() const { return m_answered == m_commands.size(); }
    void take(const IMAPResponse& response)
    {
        if (response.kind == IMAPResponse::Kind::tagged)
            takeEnd(response);
        else if (const auto numbers = statusIn(response))
            takeNumbers(response, *numbers);
    }
    QList<std::optional<IMAPClient::Status>> results() const
    {
        QList<std::optional<IMAPClient::Status>> results;
        for (const Command& command : m_commands)
            results.append(command.status);
        return results;
    }

private:
    struct Command {
        QString tag;
        QString mailbox;
        std::optional<IMAPClient::Status> status = IMAPClient::Status();
        bool isAnswered = false;
    };

    void takeEnd(const IMAPResponse& response)
    {
        const auto ended = std::ranges::find_if(m_commands, [&response](const Command& command) {
            return command.tag == response.tag && !command.isAnswered;
        });
        if (ended == m_commands.end())
            return;
        ended->isAnswered = true;
        ++m_answered;
        if (!response.isNamed("OK"_L1))
            ended->status.reset();
    }

    /// The answer names its mailbox; one with another name belongs to the command whose turn it is.
    void takeNumbers(const IMAPResponse& response, const QHash<QString, qint64>& numbers)
    {
        const QString name =
            response.values.size() < 3 ? QString() : response.values[1].text().value_or(QString());
        const auto isOpen = [](const Command& command) { return !command.isAnswered; };
        auto found = std::ranges::find_if(
            m_commands, [&](const Command& command) { return isOpen(command) && command.mailbox == name; });
        if (found == m_commands.end())
            found = std::ranges::find_if(m_commands, isOpen);
        if (found != m_commands.end() && found->status)
            readStatus(numbers, *found->status);
    }

    QList<Command> m_commands;
    qsizetype m_answered = 0;
};

} // namespace

Task<std::shared_ptr<IMAPClient>> IMAPClient::connect(ServerSettings settings, MailAuth auth,
                                                      TransportFactory factory)
{
    const bool implicitTLS = settings.imapSecurity == ConnectionSecurity::tls;
    std::shared_ptr<MailTransport> transport =
        co_await factory(settings.imapHost, settings.imapPort, implicitTLS);
    TransportCloser guard(*transport);
    const std::shared_ptr<IMAPClient> client(new IMAPClient(transport));
    co_await client->open(settings, auth);
    guard.dismiss();
    co_return client;
}

Task<> IMAPClient::open(ServerSettings settings, MailAuth auth)
{
    try {
        co_await readGreeting();
    } catch (const StreamError& error) {
        failAtGreeting(error);
    }
    co_await refreshCapabilities();
    if (settings.imapSecurity == ConnectionSecurity::startTLS)
        co_await upgradeToTLS(settings.imapHost);
    if (auth.password())
        co_await signIn(settings.username, *auth.password());
    else
        co_await signInWithToken(settings.username, auth.manager());
    // Servers change their capabilities on login.
    co_await refreshCapabilities();
}

Task<> IMAPClient::readGreeting()
{
    const QByteArray line = co_await m_reader.readLine();
    const QList<QByteArray> pieces(1, line);
    const IMAPResponse greeting = co_await parsed(pieces);
    if (!greeting.isNamed("OK"_L1) && !greeting.isNamed("PREAUTH"_L1))
        throw MailError::protocolError(Texts::tr("The IMAP server refused the connection."));
}

Task<> IMAPClient::upgradeToTLS(QString host)
{
    if (!m_capabilities.contains(u"STARTTLS"_s))
        throw MailError::unsupported(
            Texts::tr("%1 doesn't offer STARTTLS. Try SSL/TLS (usually port 993).").arg(host));
    co_await execute(command(u"STARTTLS"_s));
    // Whoever sits in the middle may have sent more in the clear, to be read as if it had come through TLS.
    if (m_reader.hasBufferedBytes())
        throw MailError::protocolError(Texts::tr("Unexpected data before TLS."));
    co_await m_reader.transport().startTLS();
    co_await refreshCapabilities();
}

Task<> IMAPClient::signIn(QString username, QString password)
{
    const bool hasPlain = m_capabilities.contains(u"AUTH=PLAIN"_s);
    if (!hasPlain && m_capabilities.contains(u"LOGINDISABLED"_s))
        throw MailError::unsupported(Texts::tr("The server doesn't accept password sign-in."));
    try {
        if (hasPlain) {
            const QByteArray response = '\0' + username.toUtf8() + '\0' + password.toUtf8();
            co_await execute(command(u"AUTHENTICATE PLAIN"_s), response.toBase64() + "\r\n");
        } else {
            co_await execute(command(u"LOGIN "_s, quoted(username), u" "_s, quoted(password)));
        }
    } catch (const MailError& error) {
        if (error.kind() != MailError::Kind::protocolError)
            throw;
        throw MailError::notSignedIn();
    }
}

Task<> IMAPClient::signInWithToken(QString username, std::shared_ptr<TokenSource> manager)
{
    if (!m_capabilities.contains(u"AUTH=XOAUTH2"_s))
        throw MailError::unsupported(Texts::tr("The server doesn't accept OAuth sign-in."));
    for (const bool forceRefresh : {false, true}) {
        const QString token = co_await manager->validToken(forceRefresh);
        try {
            co_await execute(command(u"AUTHENTICATE XOAUTH2"_s), xoauth2Payload(username, token) + "\r\n");
            co_return;
        } catch (const MailError& error) {
            if (error.kind() != MailError::Kind::protocolError)
                throw;
        }
    }
    throw MailError::notSignedIn();
}

Task<QList<IMAPResponse>> IMAPClient::execute(QList<IMAPArg> args, std::optional<QByteArray> continuationData)
{
    const QString tag = nextTag();
    m_answer = {};
    const QList<IMAPResponse> early = co_await sendCommand(tag, args);
    QList<IMAPResponse> responses = co_await collectResponses(tag, early, continuationData);
    co_return responses;
}

Task<QList<IMAPResponse>> IMAPClient::sendCommand(QString tag, QList<IMAPArg> args)
{
    QList<IMAPResponse> early;
    QByteArray pending = tag.toUtf8() + ' ';
    std::optional<TransportCloser> unfinishedLiteral;
    for (const IMAPArg& arg : std::as_const(args)) {
        if (const QString* plain = arg.text()) {
            pending += plain->toUtf8();
            continue;
        }
        // What is sent next would be taken for the literal by a server that still waits for it.
        if (!unfinishedLiteral)
            unfinishedLiteral.emplace(m_reader.transport());
        pending += '{' + QByteArray::number(arg.literal()->size()) + "}\r\n";
        co_await m_reader.transport().send(std::exchange(pending, {}));
        const QList<IMAPResponse> untagged = co_await untilContinuation(tag);
        early.append(untagged);
        pending = *arg.literal();
    }
    pending += "\r\n";
    co_await m_reader.transport().send(pending);
    if (unfinishedLiteral)
        unfinishedLiteral->dismiss();
    co_return early;
}

Task<QList<IMAPResponse>> IMAPClient::untilContinuation(QString tag)
{
    QList<IMAPResponse> untagged;
    for (;;) {
        IMAPResponse response = co_await readResponse();
        switch (response.kind) {
        case IMAPResponse::Kind::untagged:
            if (response.isNamed("BYE"_L1))
                throw MailError::connectionClosed();
            untagged.append(std::move(response));
            break;
        case IMAPResponse::Kind::continuation:
            co_return untagged;
        case IMAPResponse::Kind::tagged:
            if (response.tag == tag)
                throw MailError::protocolError(response.statusText());
            break;
        }
    }
}

Task<QList<IMAPResponse>> IMAPClient::collectResponses(QString tag, QList<IMAPResponse> early,
                                                       std::optional<QByteArray> continuationData)
{
    QList<IMAPResponse> responses = early;
    for (;;) {
        std::optional<IMAPResponse> buffered = bufferedResponse();
        if (!buffered)
            buffered.emplace(co_await receiveResponse());
        IMAPResponse& response = *buffered;
        switch (response.kind) {
        case IMAPResponse::Kind::untagged:
            if (response.isNamed("BYE"_L1))
                throw MailError::connectionClosed();
            responses.append(std::move(response));
            break;
        case IMAPResponse::Kind::continuation: {
            // A refused SASL exchange asks once more, and gets an empty line before it tells its NO.
            const QByteArray answer = std::exchange(continuationData, std::nullopt).value_or("\r\n");
            co_await m_reader.transport().send(answer);
            break;
        }
        case IMAPResponse::Kind::tagged:
            if (response.tag != tag)
                break;
            if (response.isNamed("OK"_L1)) {
                m_completion = std::move(response);
                co_return responses;
            }
            throw MailError::protocolError(Text::prefix(response.statusText(), errorTextLimit));
        }
    }
}

std::optional<IMAPResponse> IMAPClient::bufferedResponse()
{
    const std::optional<QByteArrayView> line = m_reader.bufferedLine();
    if (!line || line->size() > workerThreshold || IMAPResponse::literalLength(*line))
        return std::nullopt;
    TransportCloser guard(m_reader.transport());
    m_answer.size += line->size() + 2;
    IMAPResponse response = IMAPResponse::parseCopy(*line);
    m_reader.skipBufferedLine();
    count(response);
    guard.dismiss();
    return response;
}

Task<IMAPResponse> IMAPClient::readResponse()
{
    if (std::optional<IMAPResponse> buffered = bufferedResponse()) {
        IMAPResponse response = *std::move(buffered);
        co_return response;
    }
    IMAPResponse response = co_await receiveResponse();
    co_return response;
}

Task<IMAPResponse> IMAPClient::receiveResponse()
{
    TransportCloser guard(m_reader.transport());
    QList<QByteArray> pieces;
    qsizetype size = 0;
    for (;;) {
        const QByteArray line = co_await m_reader.readLine();
        addPiece(pieces, line);
        size += line.size() + 2;
        m_answer.size += line.size() + 2;
        const std::optional<qint64> length = IMAPResponse::literalLength(line);
        m_answer.size += length.value_or(0);
        checkAnswer();
        if (!length)
            break;
        addPiece(pieces, "\r\n");
        const QByteArray block = co_await m_reader.readBytes(*length);
        addPiece(pieces, block);
        size += block.size();
        if (size > IMAPResponse::sizeLimit)
            throw ResponseTooLarge(Texts::tr("Server response too large."));
    }
    IMAPResponse response = co_await parsed(pieces);
    count(response);
    guard.dismiss();
    co_return response;
}

void IMAPClient::count(const IMAPResponse& response)
{
    ++m_answer.responses;
    m_answer.values += response.values.treeSize() + response.numbers.size();
    checkAnswer();
}

void IMAPClient::checkAnswer() const
{
    if (m_answer.size > answerSizeLimit || m_answer.responses > answerResponseLimit ||
        m_answer.values > answerValueLimit)
        throw ResponseTooLarge(Texts::tr("Server response too large."));
}

Task<IMAPResponse> IMAPClient::parsed(QList<QByteArray> pieces)
{
    const qsizetype size =
        std::accumulate(pieces.cbegin(), pieces.cend(), qsizetype{0},
                        [](qsizetype sum, const QByteArray& piece) { return sum + piece.size(); });
    // A long line alone needs no copy.
    const auto parse = [pieces] {
        return IMAPResponse::parse(pieces.size() == 1 ? pieces.first() : pieces.join());
    };
    if (size <= workerThreshold)
        co_return parse();
    IMAPResponse response = co_await runOnWorker(parse);
    co_return response;
}

Task<> IMAPClient::refreshCapabilities()
{
    const QList<IMAPResponse> responses = co_await execute(command(u"CAPABILITY"_s));
    QSet<QString> capabilities;
    for (const IMAPResponse& response : responses) {
        if (!response.isNamed("CAPABILITY"_L1))
            continue;
        for (const IMAPValue& value : response.values.sliced(1)) {
            if (const std::optional<QString> name = value.text())
                capabilities.insert(Text::asciiUppered(*name));
        }
    }
    m_capabilities = capabilities;
}

Task<QList<IMAPClient::ListedMailbox>> IMAPClient::listMailboxes()
{
    const QList<IMAPResponse> responses = co_await execute(command(u"LIST \"\" \"*\""_s));
    QList<ListedMailbox> mailboxes;
    for (const IMAPResponse& response : responses) {
        if (!response.isNamed("LIST"_L1) || response.values.size() < 4)
            continue;
        ListedMailbox mailbox;
        if (const std::optional<IMAPValues> attributes = response.values[1].list()) {
            for (const IMAPValue& attribute : *attributes) {
                if (const std::optional<QString> name = attribute.text())
                    mailbox.attributes.insert(Text::asciiLowered(*name));
            }
        }
        mailbox.delimiter = delimiterIn(response.values[2]);
        if (mailbox.delimiter)
            m_delimiter = *mailbox.delimiter;
        if (const std::optional<QString> name = response.values[3].text()) {
            mailbox.name = *name;
            mailboxes.append(mailbox);
        }
    }
    co_return mailboxes;
}

Task<IMAPClient::Namespaces> IMAPClient::namespaces()
{
    const QList<IMAPResponse> responses = co_await execute(command(u"NAMESPACE"_s));
    Namespaces namespaces;
    for (const IMAPResponse& response : responses) {
        constexpr qsizetype size = 4; // the keyword, and three classes
        if (response.isNamed("NAMESPACE"_L1) && response.values.size() >= size)
            namespaces = {namespacesIn(response.values[1]),
                          namespacesIn(response.values[2]) + namespacesIn(response.values[3])};
    }
    co_return namespaces;
}

Task<> IMAPClient::select(QString mailbox, bool force)
{
    if (!force && m_selected == mailbox)
        co_return;
    // A failed SELECT leaves nothing selected (RFC 3501, 6.3.1).
    m_selected.reset();
    m_uidValidity.reset();
    const QList<IMAPResponse> responses = co_await execute(command(u"SELECT "_s, quoted(mailbox)));
    for (const IMAPResponse& response : responses) {
        if (!response.isNamed("OK"_L1) || response.values.size() < 2)
            continue;
        const QString code = response.values[1].text().value_or(QString());
        if (Text::asciiUppered(code).startsWith("[UIDVALIDITY"_L1))
            m_uidValidity = uidValidityIn(code);
    }
    m_selected = mailbox;
}

Task<QList<qint64>> IMAPClient::search(QList<IMAPArg> args)
{
    // Ranges: an unbroken mailbox of any size is some twenty bytes (RFC 4731, 3.1).
    const bool hasRanges = m_capabilities.contains(u"ESEARCH"_s);
    args.prepend(IMAPArg::text(hasRanges ? u"UID SEARCH RETURN (ALL) "_s : u"UID SEARCH "_s));
    QList<IMAPResponse> responses = co_await execute(args);
    QList<qint64> uids;
    for (IMAPResponse& response : responses) {
        if (response.isNamed("SEARCH"_L1))
            appendNumbers(std::exchange(response, {}), uids);
        else if (hasRanges && response.isNamed("ESEARCH"_L1))
            appendRanges(response, tag(), uids);
    }
    co_return uids;
}

Task<QList<IMAPFetch>> IMAPClient::fetch(QList<qint64> uids, QString items)
{
    QList<IMAPFetch> fetches;
    if (uids.isEmpty())
        co_return fetches;
    const QList<IMAPResponse> responses =
        co_await execute(command(u"UID FETCH %1 (UID %2)"_s.arg(uidSet(uids), items)));
    for (const IMAPResponse& response : responses) {
        const IMAPValues& values = response.values;
        if (values.size() >= 3 && values[1].isKeyword("FETCH"_L1) && values[2].isList())
            fetches.emplaceBack(*values[2].list());
    }
    co_return fetches;
}

Task<> IMAPClient::store(QList<qint64> uids, bool add, QString flags)
{
    if (uids.isEmpty())
        co_return;
    const QString sign = add ? u"+"_s : u"-"_s;
    co_await execute(command(u"UID STORE %1 %2FLAGS.SILENT (%3)"_s.arg(uidSet(uids), sign, flags)));
}

Task<std::optional<IMAPCopyUID>> IMAPClient::move(QList<qint64> uids, QString mailbox)
{
    std::optional<IMAPCopyUID> told;
    if (m_capabilities.contains(u"MOVE"_s)) {
        told = co_await transfer(u"MOVE"_s, uids, mailbox);
    } else {
        told = co_await copy(uids, mailbox);
        co_await deleteMessages(uids);
    }
    co_return told;
}

Task<std::optional<IMAPCopyUID>> IMAPClient::copy(QList<qint64> uids, QString mailbox)
{
    return transfer(u"COPY"_s, std::move(uids), std::move(mailbox));
}

Task<std::optional<IMAPCopyUID>> IMAPClient::transfer(QString verb, QList<qint64> uids, QString mailbox)
{
    std::optional<IMAPCopyUID> told;
    if (uids.isEmpty())
        co_return told;
    QList<IMAPResponse> responses =
        co_await execute(command(u"UID %1 %2 "_s.arg(verb, uidSet(uids)), quoted(mailbox)));
    // MOVE tells it before the messages go (RFC 6851, 4.3), COPY at its end.
    responses.append(m_completion);
    told = IMAPCopyUID::find(responses, uids);
    co_return told;
}

Task<> IMAPClient::deleteMessages(QList<qint64> uids)
{
    if (uids.isEmpty())
        co_return;
    co_await store(uids, true, u"\\Deleted"_s);
    co_await expunge(uids);
}

Task<> IMAPClient::expunge(QList<qint64> uids)
{
    if (m_capabilities.contains(u"UIDPLUS"_s))
        co_await execute(command(u"UID EXPUNGE %1"_s.arg(uidSet(uids))));
    else
        co_await execute(command(u"EXPUNGE"_s));
}

Task<> IMAPClient::append(QString mailbox, QString flags, QByteArray data)
{
    co_await execute(command(u"APPEND "_s, quoted(mailbox), u" (%1) "_s.arg(flags), IMAPArg::literal(data)));
}

Task<> IMAPClient::create(QString mailbox)
{
    co_await execute(command(u"CREATE "_s, quoted(mailbox)));
}

Task<> IMAPClient::rename(QString from, QString to)
{
    if (m_selected == from)
        m_selected.reset();
    co_await execute(command(u"RENAME "_s, quoted(from), u" "_s, quoted(to)));
}

Task<> IMAPClient::deleteMailbox(QString mailbox)
{
    if (m_selected == mailbox)
        m_selected.reset();
    co_await execute(command(u"DELETE "_s, quoted(mailbox)));
}

Task<IMAPClient::Status> IMAPClient::status(QString mailbox)
{
    const QList<IMAPResponse> responses =
        co_await execute(command(u"STATUS "_s, quoted(mailbox), statusItems()));
    Status status;
    for (const IMAPResponse& response : responses) {
        if (const auto numbers = statusIn(response))
            readStatus(*numbers, status);
    }
    co_return status;
}

Task<std::optional<IMAPClient::Status>> IMAPClient::statusOrNothing(QString mailbox)
{
    std::optional<Status> result;
    try {
        const Status told = co_await status(mailbox);
        result = told;
    } catch (const MailError& error) {
        if (error.isConnectionLost())
            throw;
    }
    co_return result;
}

Task<QList<std::optional<IMAPClient::Status>>> IMAPClient::statuses(QList<QString> mailboxes)
{
    QList<std::optional<Status>> results;
    if (mailboxes.isEmpty())
        co_return results;
    const bool canPipeline = std::ranges::all_of(
        mailboxes, [](const QString& mailbox) { return quoted(mailbox).text() != nullptr; });
    if (!canPipeline) {
        // A literal has to wait for its continuation.
        for (const QString& mailbox : std::as_const(mailboxes)) {
            const std::optional<Status> result = co_await statusOrNothing(mailbox);
            results.append(result);
        }
        co_return results;
    }
    PendingStatuses pending;
    QByteArray commands;
    m_answer = {};
    for (const QString& mailbox : mailboxes.first(std::min(mailboxes.size(), pipelineLimit))) {
        const QString tag = nextTag();
        pending.add(tag, mailbox);
        commands += (tag + u" STATUS "_s + *quoted(mailbox).text() + statusItems() + u"\r\n"_s).toUtf8();
    }
    co_await m_reader.transport().send(commands);
    while (!pending.isDone()) {
        const IMAPResponse response = co_await readResponse();
        if (response.kind == IMAPResponse::Kind::untagged && response.isNamed("BYE"_L1))
            throw MailError::connectionClosed();
        if (response.kind == IMAPResponse::Kind::continuation)
            co_await m_reader.transport().send("\r\n");
        else
            pending.take(response);
    }
    results = pending.results();
    co_return results;
}

Task<IMAPClient::NextUID> IMAPClient::nextUID(QString mailbox)
{
    const QList<IMAPResponse> responses =
        co_await execute(command(u"STATUS "_s, quoted(mailbox), u" (UIDNEXT UIDVALIDITY)"_s));
    NextUID next;
    for (const IMAPResponse& response : responses) {
        if (const auto numbers = statusIn(response)) {
            next.uid = std::max<qint64>(numbers->value(u"UIDNEXT"_s), 1);
            next.uidValidity = std::max<qint64>(numbers->value(u"UIDVALIDITY"_s), 0);
        }
    }
    co_return next;
}

} // namespace Larkhaven
