#include "SettingsSupport.h"
#include "model/AccountStore.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "views/settings/AccountsListModel.h"

#include <QAction>
#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>
#include <QTimer>
#include <QToolButton>
#include <QWindow>

#include <atomic>

using namespace Qt::StringLiterals;

// The pane of the accounts.

namespace Larkhaven {
namespace {

using Pane = SettingsView::Pane;

Account named()
{
    Account account = ModelFixture::imapAccount();
    account.displayName = u"Mia Larsen"_s;
    account.nickname = u"Work"_s;
    account.server->imapHost = u"imap.work.example"_s;
    account.server->imapPort = 1993;
    account.server->smtpHost = u"smtp.work.example"_s;
    account.server->smtpPort = 587;
    account.server->smtpSecurity = ConnectionSecurity::startTLS;
    return account;
}

/// Removes only when it is told to, as while the user is asked; or refuses.
class HoldingSecretStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid&) override { return Credential::password(u"secret"_s); }
    void save(const Credential&, const QUuid&) override {}
    void remove(const QUuid&) override
    {
        ++asked;
        isAnswered.wait(false);
        if (refuses)
            throw KeychainError(KeychainStatus::interactionNotAllowed);
    }
    void answer()
    {
        isAnswered = true;
        isAnswered.notify_all();
    }

    std::atomic<int> asked = 0;
    std::atomic<bool> isAnswered = false;
    std::atomic<bool> refuses = false;
};

class SettingsAccountsTest : public testing::Test {
protected:
    explicit SettingsAccountsTest(const QList<Account>& accounts = {named(), ModelFixture::googleAccount(),
                                                                    ModelFixture::microsoftAccount()})
        : settings(accounts)
    {
        settings.open(Pane::accounts);
    }

    void withInfo()
    {
        settings.fixture.setInfo(ModelFixture::info());
        settings.restart(Pane::accounts);
    }
    QListView& list() { return settings.child<QListView>(u"accountsList"_s); }
    QString hint()
    {
        auto& label = settings.child<QLabel>(u"accountsHint"_s);
        return label.isVisible() ? label.text() : QString();
    }
    QString value(const QString& name)
    {
        auto& field = settings.child<QLineEdit>(name);
        return field.isVisible() ? field.text() : u"-"_s;
    }
    bool isShown(const QString& button) { return settings.child<QPushButton>(button).isVisible(); }
    QToolButton& minus() { return settings.child<QToolButton>(u"accountsRemove"_s); }
    QPoint middle(int row) { return list().visualRect(list().model()->index(row, 0)).center(); }
    void select(int row) { QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, middle(row)); }
    QStringList rows()
    {
        QStringList rows;
        for (int row = 0; row < list().model()->rowCount(); ++row) {
            const QModelIndex index = list().model()->index(row, 0);
            rows.append(index.data().toString() + u'|' +
                        index.data(AccountsListModel::detailRole).toString());
        }
        return rows;
    }
    QStringList order()
    {
        QStringList emails;
        for (const Account& account : settings.model().accounts())
            emails.append(account.email);
        return emails;
    }
    QStringList storedOrder()
    {
        QStringList emails;
        for (const Account& account : AccountStore::load(settings.defaults()))
            emails.append(account.email);
        return emails;
    }
    void removeSelected()
    {
        settings.click(u"accountsRemove"_s);
        settings.answer(u"removeQuestion"_s, u"Remove"_s);
    }

    const QString imap = u"mia@example.org"_s;
    const QString google = u"mia@gmail.com"_s;
    const QString microsoft = u"mia@outlook.com"_s;
    SettingsWindow settings;
};

class SettingsWithoutAnyAccountTest : public SettingsAccountsTest {
protected:
    SettingsWithoutAnyAccountTest()
        : SettingsAccountsTest({})
    {}
};

// --- What is shown

TEST_F(SettingsWithoutAnyAccountTest, SayHowToAddOne)
{
    EXPECT_EQ(hint(), u"Click + to add an account.");
    EXPECT_FALSE(minus().isEnabled());
}

TEST_F(SettingsAccountsTest, ListsEachAccountWithItsService)
{
    EXPECT_EQ(rows(), (QStringList{u"Work|mia@example.org · IMAP"_s, u"mia@gmail.com|Google"_s,
                                   u"mia@outlook.com|Microsoft"_s}));
    EXPECT_EQ(hint(), u"Select an account.");
    EXPECT_FALSE(minus().isEnabled());
    EXPECT_EQ(minus().toolTip(), u"Remove Account");
    EXPECT_EQ(settings.child<QToolButton>(u"accountsAdd"_s).toolTip(), u"Add Account");
}

TEST_F(SettingsAccountsTest, ShowsWhatIsKnownOfAnAccountInItsOrder)
{
    select(0);
    EXPECT_EQ(hint(), u"");
    EXPECT_TRUE(minus().isEnabled());
    EXPECT_EQ(value(u"nickname"_s), u"Work");
    EXPECT_EQ(value(u"accountEmail"_s), imap);
    EXPECT_EQ(value(u"accountName"_s), u"Mia Larsen");
    EXPECT_EQ(value(u"accountProvider"_s), u"IMAP");
    EXPECT_EQ(value(u"accountStatus"_s), u"Signed in");
    EXPECT_EQ(value(u"accountCredentials"_s), u"Stored in this computer's keyring");
    EXPECT_EQ(value(u"accountIncoming"_s), u"imap.work.example:1993 (SSL/TLS)");
    EXPECT_EQ(value(u"accountOutgoing"_s), u"smtp.work.example:587 (STARTTLS)");
    EXPECT_TRUE(isShown(u"editSettings"_s));
    EXPECT_FALSE(isShown(u"signInAgain"_s));
    QStringList labels;
    int bottom = -1;
    const auto all = settings.child<QWidget>(u"accountForm"_s).findChildren<QLabel*>();
    for (const QLabel* const label : all) {
        labels.append(label->text());
        EXPECT_GT(label->y(), bottom) << "each stands below the one before";
        bottom = label->y();
    }
    EXPECT_EQ(labels, (QStringList{u"Description"_s, u"Email"_s, u"Name"_s, u"Provider"_s, u"Status"_s,
                                   u"Credentials"_s, u"Incoming"_s, u"Outgoing"_s}));
}

TEST_F(SettingsAccountsTest, ShowsNoNameAndNoServersWhereThereAreNone)
{
    select(1);
    EXPECT_EQ(value(u"nickname"_s), u"");
    EXPECT_EQ(value(u"accountName"_s), u"-");
    EXPECT_EQ(value(u"accountProvider"_s), u"Google");
    EXPECT_EQ(value(u"accountIncoming"_s), u"-");
    EXPECT_EQ(value(u"accountOutgoing"_s), u"-");
    EXPECT_FALSE(isShown(u"editSettings"_s));
    select(2);
    EXPECT_EQ(value(u"accountProvider"_s), u"Microsoft");
    EXPECT_EQ(value(u"accountIncoming"_s), u"outlook.office365.com:993 (SSL/TLS)");
    EXPECT_FALSE(isShown(u"editSettings"_s));
}

// --- What is changed

TEST_F(SettingsAccountsTest, TakesTheDescriptionAsItIsTyped)
{
    select(1);
    auto& field = settings.child<QLineEdit>(u"nickname"_s);
    field.setFocus();
    QTest::keyClicks(&field, u"My "_s);
    EXPECT_EQ(settings.model().accounts()[1].nickname, u"My"_s);
    EXPECT_EQ(field.text(), u"My ") << "the space may be followed by another word";
    QTest::keyClicks(&field, u"Mail"_s);
    EXPECT_EQ(rows()[1], u"My Mail|mia@gmail.com · Google");
    settings.restart(Pane::accounts);
    select(1);
    EXPECT_EQ(value(u"nickname"_s), u"My Mail");
    settings.model().setNickname(settings.fixture.account(1).id, u"Elsewhere"_s);
    EXPECT_EQ(value(u"nickname"_s), u"Elsewhere");
    settings.child<QLineEdit>(u"nickname"_s).selectAll();
    QTest::keyClick(&settings.child<QLineEdit>(u"nickname"_s), Qt::Key_Delete);
    EXPECT_EQ(rows()[1], u"mia@gmail.com|Google");
    select(0);
    EXPECT_EQ(value(u"nickname"_s), u"Work");
}

TEST_F(SettingsAccountsTest, ShowsAHostileNameOnOneBoundedLine)
{
    const QString hostile = u"<b>x</b>\u202E\n&"_s + QString(5'000, u'w');
    settings.model().setNickname(settings.fixture.account(0).id, hostile);
    select(0);
    const QString shown = list().model()->index(0, 0).data().toString();
    EXPECT_LE(shown.size(), 1'001);
    EXPECT_FALSE(shown.contains(u'\u202E'));
    EXPECT_FALSE(shown.contains(u'\n'));
    settings.click(u"accountsRemove"_s);
    ASSERT_TRUE(waitUntil([&] { return settings.alert(u"removeQuestion"_s); }));
    EXPECT_LE(settings.alert(u"removeQuestion"_s)->width(), settings.view->screen()->size().width());
    settings.answer(u"removeQuestion"_s, u"Cancel"_s);
}

TEST_F(SettingsAccountsTest, MovesAnAccountByAltAndTheArrowKeys)
{
    select(0);
    QTest::keyClick(&list(), Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(order(), (QStringList{google, imap, microsoft}));
    EXPECT_EQ(value(u"accountEmail"_s), imap) << "it stays selected";
    QTest::keyClick(&list(), Qt::Key_Down, Qt::AltModifier);
    QTest::keyClick(&list(), Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(order(), (QStringList{google, microsoft, imap}));
    QTest::keyClick(&list(), Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(order(), (QStringList{google, imap, microsoft}));
    EXPECT_EQ(storedOrder(), order());
    QTest::keyClick(&list(), Qt::Key_Up, Qt::AltModifier);
    QTest::keyClick(&list(), Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(order(), (QStringList{imap, google, microsoft}));
}

TEST_F(SettingsAccountsTest, MovesAnAccountByDraggingItsRow)
{
    QWidget& viewport = *list().viewport();
    QWindow* const window = settings.view->windowHandle();
    const auto inWindow = [&](const QPoint& point) { return viewport.mapTo(settings.view.get(), point); };
    const QPoint start = middle(0);
    const QRect last = list().visualRect(list().model()->index(2, 0));
    const QPoint end(last.center().x(), last.bottom() - 1);
    // The drag runs an event loop of its own, in which the rest of the gesture comes.
    const QList<QPoint> way{middle(1), middle(2), end, end};
    for (qsizetype step = 0; step < way.size(); ++step) {
        QTimer::singleShot(300 + 100 * static_cast<int>(step), window,
                           [=] { QTest::mouseMove(window, inWindow(way[step])); });
    }
    QTimer::singleShot(900, window, [=] { QTest::mouseRelease(window, Qt::LeftButton, {}, inWindow(end)); });
    QTest::mousePress(window, Qt::LeftButton, {}, inWindow(start));
    QTest::mouseMove(window, inWindow(start + QPoint(0, 4)));
    QTest::mouseMove(window, inWindow(start + QPoint(0, QApplication::startDragDistance() + 6)));
    ASSERT_TRUE(waitUntil([&] { return order().first() == google; }));
    EXPECT_EQ(order(), (QStringList{google, microsoft, imap}));
    EXPECT_EQ(storedOrder(), order());
    EXPECT_EQ(rows().last(), u"Work|mia@example.org · IMAP");
    EXPECT_EQ(value(u"accountEmail"_s), imap);
}

TEST_F(SettingsAccountsTest, DragsNothingThatAnotherProgramCouldTake)
{
    const std::unique_ptr<QMimeData> dragged(list().model()->mimeData({list().model()->index(0, 0)}));
    EXPECT_EQ(dragged->formats(), QStringList(u"application/x-larkhaven-account"_s));
    EXPECT_TRUE(dragged->data(dragged->formats().first()).isEmpty());
}

TEST_F(SettingsAccountsTest, FollowsAnOrderThatChangesElsewhere)
{
    select(0);
    settings.model().moveAccounts({0}, 3);
    EXPECT_EQ(rows().last(), u"Work|mia@example.org · IMAP");
    EXPECT_EQ(value(u"accountEmail"_s), imap);
    EXPECT_EQ(list().currentIndex().row(), 2);
}

// --- Signing in

TEST_F(SettingsAccountsTest, AddsAnAccountOfEachKindFromItsMenu)
{
    withInfo();
    QList<ProviderKind> signIns;
    settings.fixture.setSignIn([&](ProviderKind provider, const QUuid&, const std::optional<QString>&,
                                   const std::stop_token&) -> Task<SignInService::SignedIn> {
        signIns.append(provider);
        throw MailError::cancelled();
        co_return SignInService::SignedIn{Account(), Credential::password({})};
    });
    const QSignalSpy setups(settings.view.get(), &SettingsView::setupRequested);
    auto& plus = settings.child<QToolButton>(u"accountsAdd"_s);
    const auto choose = [&plus](int place) {
        QTimer::singleShot(0, &plus, [&plus, place] {
            for (int step = 0; step <= place; ++step)
                QTest::keyClick(plus.menu(), Qt::Key_Down);
            QTest::keyClick(plus.menu(), Qt::Key_Return);
        });
        plus.setFocus();
        QTest::keyClick(&plus, Qt::Key_Space);
        settle();
    };
    QStringList texts;
    const auto actions = plus.menu()->actions();
    for (const QAction* const action : actions)
        texts.append(action->text());
    EXPECT_EQ(texts, (QStringList{u"Google"_s, u"Microsoft"_s, u"IMAP"_s}));
    choose(0);
    choose(1);
    EXPECT_EQ(signIns, (QList{ProviderKind::google, ProviderKind::microsoft}));
    settings.model().setImapSetupAccountID(settings.fixture.account(0).id);
    choose(2);
    EXPECT_EQ(setups.size(), 1);
    EXPECT_FALSE(settings.model().imapSetupAccountID());
}

TEST_F(SettingsAccountsTest, OffersNoServiceThatTheBuildCannotSignInWith)
{
    const auto& menu = *settings.child<QToolButton>(u"accountsAdd"_s).menu();
    QList<bool> enabled;
    const auto actions = menu.actions();
    for (const QAction* const action : actions)
        enabled.append(action->isEnabled());
    EXPECT_EQ(enabled, (QList{false, false, true}));
}

TEST_F(SettingsAccountsTest, SignsAnAccountInAgainThatNeedsIt)
{
    select(0);
    settings.model().report(std::make_exception_ptr(MailError::notSignedIn()),
                            settings.fixture.account(0).id);
    EXPECT_EQ(value(u"accountStatus"_s), u"Sign-in required");
    ASSERT_TRUE(isShown(u"signInAgain"_s));
    EXPECT_EQ(settings.child<QPushButton>(u"signInAgain"_s).text(), u"Sign In Again…");
    const QSignalSpy setups(settings.view.get(), &SettingsView::setupRequested);
    settings.click(u"signInAgain"_s);
    EXPECT_EQ(setups.size(), 1);
    EXPECT_EQ(settings.model().imapSetupAccountID(), settings.fixture.account(0).id);
    settings.model().setImapSetupAccountID(std::nullopt);
    EXPECT_EQ(settings.child<QPushButton>(u"editSettings"_s).text(), u"Edit Settings / Password…");
    settings.click(u"editSettings"_s);
    EXPECT_EQ(setups.size(), 2);
    EXPECT_EQ(settings.model().imapSetupAccountID(), settings.fixture.account(0).id);
    select(1);
    EXPECT_EQ(value(u"accountStatus"_s), u"Signed in");
    EXPECT_FALSE(isShown(u"signInAgain"_s));
}

TEST_F(SettingsAccountsTest, SignsAServiceInAgainInTheBrowser)
{
    withInfo();
    QList<std::optional<QString>> hints;
    settings.fixture.setSignIn([&](ProviderKind, const QUuid&, const std::optional<QString>& hint,
                                   const std::stop_token&) -> Task<SignInService::SignedIn> {
        hints.append(hint);
        throw MailError::cancelled();
        co_return SignInService::SignedIn{Account(), Credential::password({})};
    });
    select(1);
    settings.model().report(std::make_exception_ptr(MailError::notSignedIn()),
                            settings.fixture.account(1).id);
    settings.click(u"signInAgain"_s);
    EXPECT_EQ(hints, (QList<std::optional<QString>>{google}));
}

// --- Removing

TEST_F(SettingsAccountsTest, RemovesAnAccountOnlyWhereTheUserConfirmsIt)
{
    settings.fixture.secrets().save(Credential::password(u"x"_s), settings.fixture.account(0).id);
    select(0);
    settings.click(u"accountsRemove"_s);
    ASSERT_TRUE(waitUntil([&] { return settings.alert(u"removeQuestion"_s); }));
    EXPECT_EQ(settings.alert(u"removeQuestion"_s)->text(), u"Remove Work?");
    EXPECT_EQ(settings.alert(u"removeQuestion"_s)->informativeText(),
              u"Its sign-in credentials will be deleted from this computer. Mail on the server is not "
              "affected.");
    // The keyboard is on the button that does no harm.
    QTest::keyClick(settings.alert(u"removeQuestion"_s), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return !settings.alert(u"removeQuestion"_s); }));
    settings.click(u"accountsRemove"_s);
    ASSERT_TRUE(waitUntil([&] { return settings.alert(u"removeQuestion"_s); }));
    QTest::keyClick(settings.alert(u"removeQuestion"_s), Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return !settings.alert(u"removeQuestion"_s); }));
    settle();
    EXPECT_EQ(order().size(), 3);
    EXPECT_TRUE(settings.fixture.secrets().load(settings.fixture.account(0).id));
    removeSelected();
    ASSERT_TRUE(waitUntil([&] { return order().size() == 2; }));
    EXPECT_EQ(storedOrder(), (QStringList{google, microsoft}));
    EXPECT_FALSE(settings.fixture.secrets().load(settings.fixture.account(0).id));
    EXPECT_EQ(hint(), u"Select an account.");
    EXPECT_FALSE(minus().isEnabled());
}

TEST_F(SettingsAccountsTest, ClosesTheQuestionWhereItsAccountIsRemovedMeanwhile)
{
    select(0);
    settings.click(u"accountsRemove"_s);
    ASSERT_TRUE(waitUntil([&] { return settings.alert(u"removeQuestion"_s); }));
    settings.model().moveAccounts({1}, 0);
    EXPECT_TRUE(settings.alert(u"removeQuestion"_s)) << "another change leaves it alone";
    await(settings.model().removeAccount(settings.fixture.account(0).id));
    EXPECT_TRUE(waitUntil([&] { return !settings.alert(u"removeQuestion"_s); }));
    settle();
    EXPECT_EQ(order(), (QStringList{google, microsoft}));
    EXPECT_EQ(AccountsListModel(settings.model()).name(settings.fixture.account(0).id), u"account");
}

TEST_F(SettingsAccountsTest, TakesTwoRemovalsWhileTheKeyringHesitates)
{
    const auto secrets = std::make_shared<HoldingSecretStore>();
    settings.fixture.setSecrets(secrets);
    settings.restart(Pane::accounts);
    select(0);
    removeSelected();
    ASSERT_TRUE(waitUntil([&] { return secrets->asked == 1; }));
    EXPECT_FALSE(minus().isEnabled()) << "it is on its way out already";
    EXPECT_FALSE(settings.child<QLineEdit>(u"nickname"_s).isEnabled());
    select(1);
    EXPECT_TRUE(minus().isEnabled());
    EXPECT_TRUE(settings.child<QLineEdit>(u"nickname"_s).isEnabled());
    removeSelected();
    EXPECT_FALSE(minus().isEnabled());
    EXPECT_EQ(order().size(), 3);
    secrets->answer();
    ASSERT_TRUE(waitUntil([&] { return order().size() == 1; }));
    EXPECT_EQ(storedOrder(), QStringList(microsoft));
    EXPECT_EQ(secrets->asked, 2);
    EXPECT_EQ(hint(), u"Select an account.");
}

TEST_F(SettingsAccountsTest, RemovesAnAccountAlsoWhereTheKeyringRefuses)
{
    const auto secrets = std::make_shared<HoldingSecretStore>();
    secrets->refuses = true;
    secrets->answer();
    settings.fixture.setSecrets(secrets);
    settings.restart(Pane::accounts);
    select(2);
    removeSelected();
    ASSERT_TRUE(waitUntil([&] { return order().size() == 2; }));
    EXPECT_EQ(secrets->asked, 1);
    EXPECT_FALSE(settings.model().errorMessage());
}

TEST_F(SettingsAccountsTest, SaysHowToAddOneWhereTheLastIsRemoved)
{
    for (int left = 3; left > 0; --left) {
        select(0);
        removeSelected();
        ASSERT_TRUE(waitUntil([&] { return order().size() == left - 1; }));
    }
    EXPECT_EQ(hint(), u"Click + to add an account.");
}

} // namespace
} // namespace Larkhaven
