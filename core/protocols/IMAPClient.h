#pragma once

#include "domain/Account.h"
#include "protocols/IMAPArg.h"
#include "protocols/IMAPCopyUID.h"
#include "protocols/IMAPFetch.h"
#include "protocols/IMAPResponse.h"
#include "protocols/LineReader.h"
#include "protocols/MailAuth.h"
#include "protocols/MailTransport.h"

#include <QSet>

#include <memory>
#include <optional>

namespace Larkhaven {

/// One authenticated IMAP4rev1 connection (RFC 3501): tagged commands one at a time, nothing in the
/// background. `statuses` alone pipelines its commands, which can't affect one another (RFC 3501, 5.5).
///
/// Failures: a tagged NO or BAD is `MailError::protocolError` with the server's words; the client remains
/// usable after it. A failure of the transport or of the framing of responses, or one inside an unfinished
/// literal, closes the transport: the next operation fails with "The server closed the connection.", and its
/// owner forgets the client.
///
/// Main thread, one task at a time. Whoever waits for an operation keeps the client alive.
class IMAPClient {
public:
    struct ListedMailbox {
        QString name;                     ///< wire name, in modified UTF-7
        QSet<QString> attributes;         ///< lower-cased, with their backslash
        std::optional<QString> delimiter; ///< one character, and no control

        bool operator==(const ListedMailbox&) const = default;
    };

    struct Status {
        qint64 unseen = 0;
        qint64 messages = 0;

        bool operator==(const Status&) const = default;
    };

    /// A namespace of mailboxes (RFC 2342, 5).
    struct Namespace {
        QString prefix; ///< of wire names, with its trailing delimiter if it has one; empty for the top level
        std::optional<QString> delimiter; ///< as that of a mailbox

        bool operator==(const Namespace&) const = default;
    };
    struct Namespaces {
        QList<Namespace> personal;
        QList<Namespace> foreign; ///< other users', then shared ones

        /// Whether the server told any.
        bool isTold() const { return !personal.isEmpty() || !foreign.isEmpty(); }
        bool operator==(const Namespaces&) const = default;
    };

    /// What the server will number the next message of a mailbox with.
    struct NextUID {
        qint64 uidValidity = 0; ///< 0 where the server tells none
        qint64 uid = 1;         ///< 1 where the server tells none

        bool operator==(const NextUID&) const = default;
    };

    /// How many commands of `statuses` are in flight at once, and so the most of one call.
    static constexpr qsizetype pipelineLimit = 16;
    /// The most namespaces of a class that are read, and the longest prefix, in UTF-16 code units.
    static constexpr qsizetype namespaceLimit = 32;
    static constexpr qsizetype namespacePrefixLimit = 1000;
    /// How much of a server's text reaches the user, in user-perceived characters.
    static constexpr qsizetype errorTextLimit = 300;
    /// The most that a command is answered with: the bytes of all its responses (200 MiB), their number, and
    /// the values in them at all levels. Pipelined commands share one answer. Real servers stay far below: a
    /// mailbox of 200,000 messages takes one response of two megabytes, or a short one for each message.
    static constexpr qsizetype answerSizeLimit = 2 * IMAPResponse::sizeLimit;
    static constexpr qsizetype answerResponseLimit = 500'000;
    static constexpr qsizetype answerValueLimit = 4'000'000;
    /// Responses above this size in bytes are parsed on a worker.
    static constexpr qsizetype workerThreshold = 64 * 1024;

    /// Opens a connection, secures it and signs in. Any failure closes the transport:
    ///   `notSignedIn`    the server refused the credential
    ///   `unsupported`    the server offers no STARTTLS, or no way to sign in that fits
    ///   `protocolError`  the greeting is no greeting, or bytes came ahead of TLS
    static Task<std::shared_ptr<IMAPClient>> connect(ServerSettings settings, MailAuth auth,
                                                     TransportFactory factory);

    /// Capitals.
    const QSet<QString>& capabilities() const { return m_capabilities; }
    /// Wire name of the selected mailbox.
    const std::optional<QString>& selected() const { return m_selected; }
    /// Of the selected mailbox (RFC 3501, 2.3.1.1).
    std::optional<qint64> uidValidity() const { return m_uidValidity; }
    /// The hierarchy delimiter last seen in a LIST response.
    const QString& delimiter() const { return m_delimiter; }

    /// Runs one command and gives its untagged responses in the order of their arrival. The first
    /// continuation request is answered with `continuationData`, each further one with an empty line. Fails
    /// with `MailError::protocolError` "Server response too large." past a limit of the answer, and closes
    /// the transport.
    Task<QList<IMAPResponse>> execute(QList<IMAPArg> args,
                                      std::optional<QByteArray> continuationData = std::nullopt);
    /// The next whole response, with its literals. A failure closes the transport: where the next response
    /// begins isn't known any more, and the rest of this one, a stranger's message perhaps, must not be taken
    /// for it.
    Task<IMAPResponse> readResponse();

    Task<> refreshCapabilities();
    /// All mailboxes, in the server's order.
    Task<QList<ListedMailbox>> listMailboxes();
    /// The namespaces of the user; none where the server tells nothing that can be read.
    Task<Namespaces> namespaces();
    /// Selects the mailbox of the given wire name; costs nothing if it is selected already and `force` is
    /// false.
    Task<> select(QString mailbox, bool force);
    /// UIDs as the server listed them, which is told to write ranges where it can (RFC 4731). Fails with
    /// `MailError::protocolError` "Server response too large." where ranges stand for more than
    /// `IMAPResponse::valueLimit` of them, before they are unfolded.
    Task<QList<qint64>> search(QList<IMAPArg> args);
    /// `items` is as in the FETCH command; UID is always asked for. Fetches that nobody asked for may be
    /// among the result.
    Task<QList<IMAPFetch>> fetch(QList<qint64> uids, QString items);
    /// Adds or removes flags, separated by spaces.
    Task<> store(QList<qint64> uids, bool add, QString flags);
    /// MOVE (RFC 6851), or COPY and `deleteMessages`. Gives where all of them lie now, where the server told
    /// it.
    Task<std::optional<IMAPCopyUID>> move(QList<qint64> uids, QString mailbox);
    Task<std::optional<IMAPCopyUID>> copy(QList<qint64> uids, QString mailbox);
    Task<> deleteMessages(QList<qint64> uids);
    /// UID EXPUNGE (RFC 4315). NB: without it, plain EXPUNGE removes everything that is marked as deleted,
    /// also by other clients; nothing else is available.
    Task<> expunge(QList<qint64> uids);
    Task<> append(QString mailbox, QString flags, QByteArray data);
    Task<> create(QString mailbox);
    Task<> rename(QString from, QString to);
    Task<> deleteMailbox(QString mailbox);
    /// Counts that the server doesn't tell are 0.
    Task<Status> status(QString mailbox);
    /// The counts of up to `pipelineLimit` mailboxes, in their order, at the cost of one round trip; absent
    /// where the server refuses one.
    Task<QList<std::optional<Status>>> statuses(QList<QString> mailboxes);
    Task<NextUID> nextUID(QString mailbox);

    /// Closes the transport; the only way to end a connection.
    void close() { m_reader.transport().close(); }

private:
    /// What has come of the answer to a command.
    struct Answer {
        qsizetype size = 0; ///< bytes, announced ones among them
        qsizetype responses = 0;
        qsizetype values = 0;
    };

    explicit IMAPClient(std::shared_ptr<MailTransport> transport)
        : m_reader(std::move(transport))
    {}

    static Task<IMAPResponse> parsed(QList<QByteArray> pieces);
    /// `readResponse` where the next response is one line that has been received already; absent otherwise.
    std::optional<IMAPResponse> bufferedResponse();
    /// `readResponse` where it has to be received or joined first.
    Task<IMAPResponse> receiveResponse();

    Task<> open(ServerSettings settings, MailAuth auth);
    Task<> readGreeting();
    Task<> upgradeToTLS(QString host);
    Task<> signIn(QString username, QString password);
    Task<> signInWithToken(QString username, std::shared_ptr<TokenSource> manager);
    void checkAnswer() const;
    /// Counts a response of the answer, and checks it.
    void count(const IMAPResponse& response);
    QString nextTag()
    {
        ++m_tagCounter;
        return tag();
    }
    /// Of the last command.
    QString tag() const { return u'P' + QString::number(m_tagCounter); }
    Task<std::optional<Status>> statusOrNothing(QString mailbox);
    /// Runs the command COPY or MOVE.
    Task<std::optional<IMAPCopyUID>> transfer(QString verb, QList<qint64> uids, QString mailbox);
    /// Sends a command, and gives what came untagged while it waited to send its literals.
    Task<QList<IMAPResponse>> sendCommand(QString tag, QList<IMAPArg> args);
    /// Waits for the request to go on with a literal. Untagged data may come at any time (RFC 3501, 7).
    Task<QList<IMAPResponse>> untilContinuation(QString tag);
    /// The untagged responses of a command up to its end, behind those that came early.
    Task<QList<IMAPResponse>> collectResponses(QString tag, QList<IMAPResponse> early,
                                               std::optional<QByteArray> continuationData);

    LineReader m_reader;
    quint64 m_tagCounter = 0;
    Answer m_answer;           ///< to the last command
    IMAPResponse m_completion; ///< the OK that ended the last command that succeeded
    QSet<QString> m_capabilities;
    std::optional<QString> m_selected;
    std::optional<qint64> m_uidValidity;
    QString m_delimiter = QStringLiteral("/");
};

} // namespace Larkhaven
