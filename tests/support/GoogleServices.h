#pragma once

#include "support/GmailService.h"
#include "support/OAuthDouble.h"
#include "support/WebServer.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <utility>

namespace Larkhaven {

/// Google's services for one account, and Microsoft's sign-in, under their real names on this machine: the
/// authorization pages, the token endpoints, and the Gmail API, v1. For a program that runs within
/// tests/in-network-namespace with `hosts`.
///
/// Each request is held against the published description, and against what a correct client would ask for:
/// what deviates is refused as Google refuses it and noted in `violations`, which a test expects to be empty.
class GoogleServices {
public:
    /// How requests to the Gmail API go wrong.
    enum class Failure {
        dropBefore,   ///< the connection ends, and nothing was done
        dropAfter,    ///< it was done, and the connection ends
        serverError,  ///< 500, nothing was done
        tooMany,      ///< 429, nothing was done
        rateLimited,  ///< 403 with the reason, nothing was done
        unauthorized, ///< 401, nothing was done
        cutJSON,      ///< it was done; the body ends in the middle, well framed
    };

    using Before = std::function<std::optional<WebReply>(const WebRequest& request)>;
    using After = std::function<WebReply(const WebRequest& request, WebReply reply)>;

    /// For the namespace, separated by commas.
    static const QByteArray hosts;

    explicit GoogleServices(const QString& address = QStringLiteral("user@gmail.com"));

    GmailMailbox& mailbox() { return m_gmail.mailbox(); }
    const GmailMailbox& mailbox() const { return m_gmail.mailbox(); }
    OAuthDouble& google() { return m_google; }
    OAuthDouble& microsoft() { return m_microsoft; }
    WebServer& server() { return m_server; }

    /// As a browser would that the user says yes in: the redirect, or nothing where the request is refused.
    QByteArray authorize(const QByteArray& url);

    // --- What goes wrong
    /// Asked before a request is served; a reply stands in place of serving it. For all hosts.
    void setHook(Before hook) { m_before = std::move(hook); }
    /// Takes the reply to a request that was served, and gives the one that is sent.
    void setAfterHook(After hook) { m_after = std::move(hook); }
    /// The next requests to the Gmail API fail so, those whose path below "users/me/" begins so.
    void failNext(int count, Failure failure, const QByteArray& prefix = {});
    /// Pages hold at most so many entries, whatever is asked for; at first 500.
    void setLargestPage(int size) { m_gmail.setLargestPage(size); }
    /// Each reply to the Gmail API waits for so long, in ms, so that requests meet.
    void setDelay(int delay) { m_delay = delay; }
    void expireHistory() { mailbox().expireHistory(); }
    /// Of Google. The Gmail API answers 401 until there is a new one.
    void expireTokens() { m_google.expireTokens(); }
    void revokeGrant() { m_google.revokeGrant(); }

    // --- What is seen
    /// "GET /gmail/v1/users/me/profile", of the Gmail API alone, in order.
    QList<QByteArray> requests() const;
    /// How many of them begin so.
    qsizetype count(const QByteArray& start) const;
    /// Of all hosts, with headers and bodies.
    const QList<WebRequest>& allRequests() const { return m_server.requests(); }
    /// Requests to the Gmail API without a reply, of those whose method and path below "users/me/" begin so:
    /// "GET messages/".
    int inFlight(const QByteArray& start = {}) const;
    /// The most that ever were at once, of those that begin so, and of those that hold this as well.
    int mostInFlight(const QByteArray& start = {}, const QByteArray& part = {}) const;
    void forgetRequests();
    /// Of all hosts.
    QStringList violations() const;

private:
    WebReply handle(const WebRequest& request);
    WebReply serve(const WebRequest& request);
    WebReply gmail(const WebRequest& request);
    WebReply fail(const WebRequest& request, Failure failure);
    struct Flights {
        int now = 0;
        int most = 0;
    };
    Flights flights(const QByteArray& start, const QByteArray& part) const;
    std::optional<Failure> nextFailure(const QByteArray& path);
    void checkHeaders(const WebRequest& request);

    struct Failing {
        int count;
        Failure failure;
        QByteArray prefix;
    };

    OAuthDouble m_google;
    OAuthDouble m_microsoft;
    GmailService m_gmail;
    Before m_before;
    After m_after;
    QList<Failing> m_failing;
    int m_delay = 0;
    QList<std::pair<QByteArray, int>> m_events; ///< a request came (1) or was replied to (-1)
    WebServer m_server;
};

} // namespace Larkhaven
