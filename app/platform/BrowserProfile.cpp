#include "app/platform/BrowserProfile.h"

#include "platform/RandomBytes.h"

#include <QDir>
#include <QFile>

#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr QFileDevice::Permissions ownerOnly =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;

QString parentFolder(const QString& runtimeFolder)
{
    return runtimeFolder + u"/larkhaven"_s;
}

/// A fresh Firefox welcomes its user, asks to be the default, and reports.
constexpr QByteArrayView firefoxSettings = R"(user_pref("browser.aboutwelcome.enabled", false);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("browser.startup.homepage_override.mstone", "ignore");
user_pref("startup.homepage_welcome_url", "");
user_pref("startup.homepage_welcome_url.additional", "");
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("datareporting.healthreport.uploadEnabled", false);
user_pref("toolkit.telemetry.reportingpolicy.firstRun", false);
user_pref("app.normandy.enabled", false);
user_pref("app.shield.optoutstudies.enabled", false);
user_pref("signon.rememberSignons", false);
)";

} // namespace

BrowserProfile::BrowserProfile(const QString& path)
    : m_path(path)
    , m_lock(path + u".lock"_s)
{
    // The age of a lock says nothing.
    m_lock.setStaleLockTime(0);
}

std::unique_ptr<BrowserProfile> BrowserProfile::make(const QString& runtimeFolder,
                                                     BrowserCommand::Family family)
{
    const std::optional<QByteArray> random = randomBytes(8);
    const QString parent = parentFolder(runtimeFolder);
    if (runtimeFolder.isEmpty() || !random)
        return nullptr;
    if (!QFileInfo(parent).isDir() && !QDir().mkdir(parent, ownerOnly))
        return nullptr;
    const QString name = u"sign-in-"_s + QString::fromLatin1(random->toHex());
    std::unique_ptr<BrowserProfile> made(new BrowserProfile(parent + u'/' + name));
    // The lock comes first: a folder without one is taken for a leftover.
    if (!made->m_lock.tryLock(0) || !QDir().mkdir(made->m_path, ownerOnly))
        return nullptr;
    if (family == BrowserCommand::Family::firefox) {
        QFile settings(made->m_path + u"/user.js"_s);
        if (!settings.open(QIODevice::WriteOnly) || settings.write(firefoxSettings.toByteArray()) < 0) {
            made->remove();
            return nullptr;
        }
    }
    return made;
}

void BrowserProfile::remove()
{
    QDir(m_path).removeRecursively();
    m_lock.unlock();
}

void BrowserProfile::removeLeftovers(const QString& runtimeFolder)
{
    const QDir parent(parentFolder(runtimeFolder));
    const QStringList folders = parent.entryList({u"sign-in-*"_s}, QDir::Dirs | QDir::NoSymLinks);
    for (const QString& folder : folders) {
        BrowserProfile left(parent.filePath(folder));
        if (left.m_lock.tryLock(0))
            left.remove();
    }
}

} // namespace Larkhaven
