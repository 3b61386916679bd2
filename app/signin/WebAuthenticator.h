#pragma once

#include "app/platform/BrowserSession.h"
#include "domain/MailProvider.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace Larkhaven {

/// Shows sign-in pages in the user's browser and waits for the redirect, for one sign-in at a time. Main
/// thread.
///
/// Each sign-in has exactly one outcome, whatever comes first: the redirect, the user's closing the browser
/// or giving up in our own window, a browser that can't be opened, the end of the patience, the end of this
/// object. From then on the browser is closed, and nothing that arrives counts any more.
class WebAuthenticator : public QObject {
    Q_OBJECT

public:
    /// Opens a browser on the URL; `BrowserSession` is closed with the last reference to it.
    using Open = std::function<Task<std::shared_ptr<BrowserSession>>(QByteArray url, std::stop_token stop)>;

    /// The longest redirect that is looked at, in bytes.
    static constexpr qsizetype longestRedirect = 8'192;
    /// A redirect that hasn't come by then won't.
    static constexpr std::chrono::minutes longestWait{10};

    explicit WebAuthenticator(Open open, std::chrono::milliseconds patience = longestWait,
                              QObject* parent = nullptr);
    ~WebAuthenticator() override;

    /// The redirect that answers the authorization URL. It is untrusted: anybody on this machine may have
    /// sent it. Fails with `MailError::cancelled` where the user gives up or `stop` is requested, once the
    /// patience is over, and while another sign-in is under way; with `MailError::authFailed` "Could not open
    /// the sign-in window." where no browser came up.
    Task<QByteArray> authenticate(QByteArray url, QString callbackScheme, std::stop_token stop = {});

    bool isUnderWay() const { return m_session != nullptr; }

    /// Whether the URL was taken as the redirect of the sign-in under way. It isn't where there is none,
    /// where it is too long or of another scheme, where its state is that of an earlier sign-in of this
    /// program, and where it tells of an error under a state that isn't this one's.
    bool takeRedirect(const QByteArray& url);

private:
    struct Session;

    static Task<> openBrowser(Open open, std::shared_ptr<Session> session, QByteArray url);
    void remember(const QByteArray& state);

    const Open m_open;
    const std::chrono::milliseconds m_patience;
    std::shared_ptr<Session> m_session;
    QByteArrayList m_endedStates; ///< of sign-ins that have ended, the newest last
};

} // namespace Larkhaven
