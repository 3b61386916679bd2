#include "UITestSupport.h"
#include "app/platform/PrivateBrowser.h"
#include "app/platform/SingleInstance.h"
#include "app/signin/Redirects.h"
#include "app/signin/WebAuthenticator.h"
#include "platform/ScriptedBrowsers.h"
#include "support/Await.h"
#include "support/GoogleServices.h"
#include "support/QtPrinters.h"
#include "views/setup/SignInWindow.h"

#include <QApplication>
#include <QDirIterator>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

constexpr auto patience = 30s;

/// Opens the page, and brings its redirect back as a desktop does.
const QByteArray browserScript = R"(
for page; do :; done
redirect=$(curl -sS --cacert "$SSL_CERT_FILE" -D - -o /dev/null "$page" | sed -n 's/^[Ll]ocation: //p' | tr -d '\r')
gdbus call --session --dest com.tundra42.larkhaven --object-path /com/tundra42/larkhaven \
    --method org.freedesktop.Application.Open "['$redirect']" '@a{sv} {}'
exec sleep 60
)";

/// A person with a Google account, from the welcome on: a real browser process, the session bus, the real
/// HTTP stack, and a double of the services behind it.
class SignInOverBusTest : public testing::Test {
protected:
    SignInOverBusTest()
    {
        for (const char* subject : {"Five", "Four", "Three", "Two", "One"})
            services.mailbox().insert(
                {.raw = QByteArray("From: Ann <ann@example.org>\r\nTo: mia@gmail.com\r\n"
                                   "Subject: ") +
                        subject + "\r\nMessage-ID: <" + subject +
                        "@example.org>\r\nContent-Type: text/plain\r\n\r\nSome text.\r\n",
                 .labelIds = {u"INBOX"_s, u"UNREAD"_s}});
        desktop.useBrowser(u"chromium"_s, browserScript);
        EXPECT_EQ(instance.enter({}), SingleInstance::Role::first);
        QObject::connect(
            &instance, &SingleInstance::activated, mail.window.get(), [this](const QStringList& arguments) {
                wantsWindow += Redirects::deliver(arguments, ModelFixture::info(), authenticator);
            });
        const auto authenticate = [this](const QByteArray& url, const QString& scheme,
                                         const std::stop_token& stop) {
            return authenticator.authenticate(url, scheme, stop);
        };
        const SignInService::Services signIn{ModelFixture::info(), authenticate, {}};
        mail.fixture.setSignIn([signIn](ProviderKind provider, const QUuid& accountID,
                                        const std::optional<QString>& hint, const std::stop_token& stop) {
            return SignInService::signIn(provider, signIn, accountID, hint, stop);
        });
    }

    AppModel& model() { return mail.model(); }
    template <typename Condition>
    static bool comes(Condition condition)
    {
        return waitUntil(condition, patience);
    }
    bool isSecretIn(const QByteArray& bytes)
    {
        return std::ranges::any_of(services.google().secrets(),
                                   [&bytes](const QByteArray& secret) { return bytes.contains(secret); });
    }

    GoogleServices services{u"mia@gmail.com"_s};
    ScriptedBrowsers desktop;
    QTemporaryDir profile;
    MailWindow mail{QList<Account>{}, ModelFixture::info()};
    WebAuthenticator authenticator{[this](const QByteArray& url, const std::stop_token& stop) {
        return PrivateBrowser::open(url, {desktop.folders, desktop.runtime()}, stop);
    }};
    SingleInstance instance{profile.path()};
    int wantsWindow = 0;
};

TEST_F(SignInOverBusTest, LeadsOverTheBusToTheInboxAndLeavesNothingButTheCredential)
{
    mail.open();
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    auto& window = mail.child<SignInWindow>("signInWindow");
    EXPECT_TRUE(window.isVisible());
    ASSERT_TRUE(comes([this] { return !model().accounts().isEmpty(); }))
        << model().errorMessage().value_or(QString()).toStdString();
    EXPECT_FALSE(window.isVisible());
    ASSERT_TRUE(comes([this] { return model().messages().size() == 5; }));
    EXPECT_EQ(wantsWindow, 0) << "a redirect shows no window";
    // The browser got the page and nothing else, and is gone with its profile.
    const QStringList arguments = desktop.arguments();
    ASSERT_EQ(arguments.size(), 6);
    EXPECT_EQ(arguments[1], u"--incognito");
    EXPECT_TRUE(arguments.last().startsWith(u"https://accounts.google.com/"_s));
    EXPECT_FALSE(isSecretIn(arguments.join(u' ').toUtf8()));
    EXPECT_TRUE(comes([this] { return desktop.profiles().isEmpty(); }));
    EXPECT_EQ(services.google().exchanges(), 1);
    EXPECT_EQ(services.violations(), QStringList());
    EXPECT_FALSE(model().errorMessage()) << model().errorMessage()->toStdString();
    await(model().provider(model().accounts().first().id)->fetchRaw(model().messages().first().id));

    // What is on the disk, but for the keyring.
    qsizetype files = 0;
    QDirIterator walk(QFileInfo(mail.fixture.cachesDirectory()).path(), QDir::Files,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        QFile file(walk.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(file.fileName());
        EXPECT_FALSE(isSecretIn(file.readAll())) << qPrintable(file.fileName());
        ++files;
    }
    EXPECT_GT(files, 2);
}

TEST_F(SignInOverBusTest, EndsTheBrowserWhereTheUserGivesUp)
{
    desktop.useBrowser(u"chromium"_s, "exec sleep 60");
    mail.open();
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    ASSERT_TRUE(comes([this] { return QFile::exists(desktop.noted()); }));
    ASSERT_EQ(desktop.profiles().size(), 2);
    QTest::mouseClick(&mail.child<QPushButton>("signInCancel"), Qt::LeftButton);
    EXPECT_TRUE(comes([this] { return !model().isSigningIn() && desktop.profiles().isEmpty(); }));
    EXPECT_TRUE(model().accounts().isEmpty());
    EXPECT_FALSE(model().errorMessage());
    EXPECT_EQ(services.google().exchanges(), 0);
}

TEST_F(SignInOverBusTest, SaysSoWhereNoBrowserCanBePrivate)
{
    desktop.useBrowser(u"konqueror"_s);
    mail.open();
    QTest::mouseClick(&mail.child<QPushButton>("signInGoogle"), Qt::LeftButton);
    EXPECT_TRUE(comes([this] { return model().errorMessage().has_value(); }));
    EXPECT_EQ(model().errorMessage(), u"Sign-in failed: Could not open the sign-in window."_s);
    EXPECT_FALSE(QFile::exists(desktop.noted()));
}

} // namespace
} // namespace Larkhaven
