#include "app/platform/PrivateBrowser.h"

#include "app/platform/BrowserCommand.h"
#include "app/platform/BrowserProcess.h"
#include "app/platform/BrowserProfile.h"
#include "domain/MailError.h"
#include "platform/Tasks.h"

#include <QStandardPaths>
#include <QThread>

namespace Larkhaven {

PrivateBrowser::Setting PrivateBrowser::systemSetting()
{
    Setting setting;
    setting.folders = DesktopFolders::ofEnvironment();
    setting.runtimeFolder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return setting;
}

namespace {

/// What a browser is started with.
struct Plan {
    QStringList line;
    std::shared_ptr<BrowserProfile> profile;
};

Plan planned(const QString& url, const PrivateBrowser::Setting& setting)
{
    Plan plan;
    const std::optional<BrowserCommand> command = BrowserCommand::ofDefaultBrowser(setting.folders);
    if (!command)
        return plan;
    if (command->usesProfile())
        plan.profile = BrowserProfile::make(setting.runtimeFolder, command->family);
    if (plan.profile || !command->usesProfile())
        plan.line = command->line(url, plan.profile ? plan.profile->path() : QString());
    return plan;
}

} // namespace

Task<std::shared_ptr<BrowserSession>> PrivateBrowser::open(QByteArray url, Setting setting,
                                                           std::stop_token stop)
{
    const auto plan = [url, setting] { return planned(QString::fromLatin1(url), setting); };
    const Plan found = co_await runOnWorker(plan);
    if (found.line.isEmpty())
        throw MailError::authFailed(tr("Could not open the sign-in window."));
    if (stop.stop_requested()) {
        const auto remove = [profile = found.profile] {
            if (profile)
                profile->remove();
        };
        co_await runOnWorker(remove);
        throw MailError::cancelled();
    }
    auto* const process =
        new BrowserProcess(found.line, found.profile, {setting.handOverTime, setting.patience});
    std::shared_ptr<BrowserSession> session(new PrivateBrowser(process));
    process->start();
    co_return session;
}

Task<> PrivateBrowser::removeLeftovers(Setting setting)
{
    const auto remove = [setting] { BrowserProfile::removeLeftovers(setting.runtimeFolder); };
    co_await runOnWorker(remove);
}

PrivateBrowser::PrivateBrowser(BrowserProcess* process)
    : m_process(process)
{
    connect(process, &BrowserProcess::closed, this, &BrowserSession::closed);
    connect(process, &BrowserProcess::failed, this, &BrowserSession::failed);
}

PrivateBrowser::~PrivateBrowser()
{
    if (!m_process)
        return;
    // Where no events are handled any more, nobody would see to the end later.
    if (QThread::currentThread()->loopLevel() > 0) {
        m_process->end();
    } else {
        m_process->endNow();
        delete m_process.data();
    }
}

} // namespace Larkhaven
