#pragma once

#include "app/platform/BrowserSession.h"
#include "app/platform/DesktopFolders.h"
#include "domain/MailProvider.h"

#include <QByteArray>
#include <QPointer>
#include <QString>

#include <chrono>
#include <memory>
#include <stop_token>

namespace Larkhaven {

class BrowserProcess;

/// The user's own default browser in a private window, on a throwaway profile where it can have one.
///
/// On such a profile its processes are a group of their own: with the object that group is asked to end, and
/// made to after `patience`, and the profile is removed. A browser without one is the user's own, and stays:
/// no process of another is ever touched.
///
/// How an end is read: within `handOverTime` after the start a group that is empty, whose first process gave
/// 0 and which has no profile of its own, has handed the address to a browser that runs already. It says
/// nothing, and the object lasts until the sign-in is over. With another code, or by a signal, the browser
/// has failed within that time. Any other end is the user's. A first process that ends and leaves others of
/// its group behind was only a script that started them: what counts is the end of the last.
class PrivateBrowser final : public BrowserSession {
    Q_OBJECT

public:
    struct Setting {
        DesktopFolders folders;
        QString runtimeFolder; ///< where the profile goes
        std::chrono::milliseconds handOverTime = std::chrono::seconds(30);
        std::chrono::milliseconds patience = std::chrono::seconds(3);
    };
    /// That of the user's desktop.
    static Setting systemSetting();

    /// Starts the browser on the URL, which is seen in the list of processes. Fails with
    /// `MailError::authFailed` "Could not open the sign-in window." where no browser can be had, or none with
    /// a private window, and with
    /// `MailError::cancelled`, and nothing started, where `stop` was requested meanwhile. The disk is read on
    /// a worker.
    static Task<std::shared_ptr<BrowserSession>> open(QByteArray url, Setting setting,
                                                      std::stop_token stop = {});

    /// Removes the profiles that a crash left behind; on a worker.
    static Task<> removeLeftovers(Setting setting);

    ~PrivateBrowser() override;

private:
    explicit PrivateBrowser(BrowserProcess* process);

    QPointer<BrowserProcess> m_process;
};

} // namespace Larkhaven
