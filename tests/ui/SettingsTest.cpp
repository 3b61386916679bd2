#include "Gestures.h"
#include "SettingsSupport.h"
#include "domain/Coding.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "views/settings/SignatureEdit.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDoubleSpinBox>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTabBar>
#include <QTabWidget>

using namespace Qt::StringLiterals;

// The panes for mail, appearance, composing and privacy, and the window around all.

namespace Larkhaven {
namespace {

using Pane = SettingsView::Pane;

class SettingsTest : public testing::Test {
protected:
    explicit SettingsTest(const QList<Account>& accounts = {ModelFixture::imapAccount(),
                                                            ModelFixture::googleAccount()})
        : settings(accounts)
    {}

    QString textOf(const QString& picker) { return settings.child<QComboBox>(picker).currentText(); }
    /// The segment that is chosen; empty where none is.
    QString segment(const QString& name)
    {
        const auto buttons = settings.child<QWidget>(name).findChildren<QRadioButton*>();
        for (const QRadioButton* const button : buttons) {
            if (button->isChecked())
                return button->text();
        }
        return {};
    }
    QRadioButton& segmentButton(const QString& name, const QString& text)
    {
        const auto buttons = settings.child<QWidget>(name).findChildren<QRadioButton*>();
        const auto found =
            std::ranges::find_if(buttons, [&](const QRadioButton* button) { return button->text() == text; });
        if (found == buttons.end())
            throw std::runtime_error(text.toStdString());
        return **found;
    }
    QString accent() { return settings.defaults().text(DefaultsKey::accent); }

    SettingsWindow settings;
};

class SettingsWithoutAccountsTest : public SettingsTest {
protected:
    SettingsWithoutAccountsTest()
        : SettingsTest({})
    {}
};

// --- The window

TEST_F(SettingsTest, HasFourTabsInTheirOrderWhichKeysTurn)
{
    settings.open(Pane::accounts);
    auto& tabs = settings.child<QTabBar>(u"settingsTabBar"_s);
    QStringList titles;
    for (int index = 0; index < tabs.count(); ++index) {
        titles.append(tabs.tabText(index));
        EXPECT_FALSE(tabs.tabIcon(index).isNull());
    }
    EXPECT_EQ(titles, (QStringList{u"Accounts"_s, u"General"_s, u"Composing"_s, u"Privacy"_s}));
    tabs.setFocus();
    for (const Pane pane : {Pane::general, Pane::composing, Pane::privacy}) {
        QTest::keyClick(&tabs, Qt::Key_Right);
        EXPECT_EQ(settings.view->pane(), pane);
    }
    QTest::mouseClick(&tabs, Qt::LeftButton, {}, tabs.tabRect(1).center());
    EXPECT_EQ(settings.view->pane(), Pane::general);
    EXPECT_TRUE(settings.child<QWidget>(u"generalSettings"_s).isVisible());
    QTest::keyClick(settings.view.get(), Qt::Key_Escape);
    EXPECT_FALSE(settings.view->isVisible());
}

TEST_F(SettingsTest, OpensOnceOnThePaneAndTheAccountThatItIsAskedFor)
{
    settings.open(Pane::privacy);
    EXPECT_EQ(settings.view->pane(), Pane::privacy);
    settings.view->open(settings.fixture.account(1).id);
    EXPECT_EQ(settings.view->pane(), Pane::accounts);
    EXPECT_EQ(settings.child<QLineEdit>(u"accountEmail"_s).text(), u"mia@gmail.com");
    settings.view->open();
    EXPECT_EQ(settings.view->pane(), Pane::accounts);
    int windows = 0;
    const auto all = QApplication::topLevelWidgets();
    for (const QWidget* const window : all)
        windows += window->objectName() == "settings"_L1;
    EXPECT_EQ(windows, 1);
}

TEST_F(SettingsTest, OpensNoLargerThanTheScreenAtAnyTextSize)
{
    for (const int size : Style::textSizes) {
        Style::shared().setTextSize(size);
        settings.open(Pane::general);
        const QRect screen = settings.view->screen()->availableGeometry();
        EXPECT_LE(settings.view->width(), screen.width()) << size;
        EXPECT_LE(settings.view->height(), screen.height()) << size;
        EXPECT_LE(settings.view->minimumSizeHint().width(), 900) << size;
        EXPECT_LE(settings.view->minimumSizeHint().height(), 480) << size;
        settings.view->close();
    }
}

// --- Mail

TEST_F(SettingsTest, ChoosesTheAccountOfNewMessages)
{
    settings.open(Pane::general);
    EXPECT_EQ(settings.choices(u"defaultAccountID"_s),
              (QStringList{u"Account of selected mailbox"_s, u"mia@example.org"_s, u"mia@gmail.com"_s}));
    EXPECT_EQ(textOf(u"defaultAccountID"_s), u"Account of selected mailbox");
    settings.choose(u"defaultAccountID"_s, u"mia@gmail.com"_s);
    const QString id = Coding::fromUuid(settings.fixture.account(1).id);
    EXPECT_EQ(settings.defaults().text(DefaultsKey::defaultAccountID), id);
    EXPECT_EQ(settings.model().composeAccount()->email, u"mia@gmail.com");
    settings.restart(Pane::general);
    EXPECT_EQ(textOf(u"defaultAccountID"_s), u"mia@gmail.com");
    settings.choose(u"defaultAccountID"_s, u"Account of selected mailbox"_s);
    EXPECT_EQ(settings.defaults().text(DefaultsKey::defaultAccountID), u"");
    settings.defaults().set(DefaultsKey::defaultAccountID, id);
    EXPECT_EQ(textOf(u"defaultAccountID"_s), u"mia@gmail.com");
}

TEST_F(SettingsWithoutAccountsTest, OfferOnlyTheAccountOfTheSelectedMailbox)
{
    settings.open(Pane::general);
    EXPECT_EQ(settings.choices(u"defaultAccountID"_s), QStringList(u"Account of selected mailbox"_s));
}

TEST_F(SettingsTest, ShowsARemovedAccountOfNewMessagesAsThatOfTheSelectedMailbox)
{
    settings.defaults().set(DefaultsKey::defaultAccountID, Coding::fromUuid(QUuid::createUuid()));
    settings.open(Pane::general);
    EXPECT_EQ(textOf(u"defaultAccountID"_s), u"Account of selected mailbox");
    settings.choose(u"defaultAccountID"_s, u"mia@example.org"_s);
    await(settings.model().removeAccount(settings.fixture.account(0).id));
    EXPECT_EQ(textOf(u"defaultAccountID"_s), u"Account of selected mailbox");
    EXPECT_EQ(settings.choices(u"defaultAccountID"_s),
              (QStringList{u"Account of selected mailbox"_s, u"mia@gmail.com"_s}));
    settings.defaults().set(DefaultsKey::defaultAccountID, u"nonsense"_s);
    EXPECT_EQ(textOf(u"defaultAccountID"_s), u"Account of selected mailbox");
}

TEST_F(SettingsTest, ChoosesHowOftenToCheckWhichCountsAtOnce)
{
    settings.open(Pane::general);
    EXPECT_EQ(settings.choices(u"refreshMinutes"_s),
              (QStringList{u"Every minute"_s, u"Every 5 minutes"_s, u"Every 15 minutes"_s,
                           u"Every 30 minutes"_s, u"Manually"_s}));
    EXPECT_EQ(textOf(u"refreshMinutes"_s), u"Every 5 minutes");
    const QList<std::pair<QString, int>> intervals{{u"Every minute"_s, 1},
                                                   {u"Every 15 minutes"_s, 15},
                                                   {u"Every 30 minutes"_s, 30},
                                                   {u"Every 5 minutes"_s, 5}};
    for (const auto& [text, minutes] : intervals) {
        settings.choose(u"refreshMinutes"_s, text);
        EXPECT_EQ(settings.defaults().integer(DefaultsKey::refreshMinutes), minutes);
        settle();
        EXPECT_EQ(settings.fixture.sleeps().last(), std::chrono::minutes(minutes));
    }
    settings.choose(u"refreshMinutes"_s, u"Manually"_s);
    EXPECT_EQ(settings.defaults().integer(DefaultsKey::refreshMinutes), 0);
    settle();
    EXPECT_EQ(settings.fixture.sleeping(), 0);
    settings.restart(Pane::general);
    EXPECT_EQ(textOf(u"refreshMinutes"_s), u"Manually");
}

TEST_F(SettingsTest, ShowsTheIntervalThatIsInForceWhateverIsStored)
{
    settings.open(Pane::general);
    settings.defaults().set(DefaultsKey::refreshMinutes, 7);
    EXPECT_EQ(textOf(u"refreshMinutes"_s), u"Every 7 minutes");
    settings.defaults().set(DefaultsKey::refreshMinutes, -3);
    EXPECT_EQ(textOf(u"refreshMinutes"_s), u"Manually");
    settings.defaults().set(DefaultsKey::refreshMinutes, u"often"_s);
    EXPECT_EQ(textOf(u"refreshMinutes"_s), u"Every 5 minutes");
    EXPECT_EQ(settings.choices(u"refreshMinutes"_s).size(), 5);
}

TEST_F(SettingsTest, ChoosesTheMessagesOfAPageByMouseAndKeys)
{
    settings.open(Pane::general);
    EXPECT_EQ(segment(u"pageSize"_s), u"25");
    QTest::mouseClick(&segmentButton(u"pageSize"_s, u"100"_s), Qt::LeftButton);
    EXPECT_EQ(settings.model().pageSize(), 100);
    QTest::keyClick(&focusedWidget(), Qt::Key_Left);
    EXPECT_EQ(segment(u"pageSize"_s), u"50");
    EXPECT_EQ(settings.model().pageSize(), 50);
    settings.restart(Pane::general);
    EXPECT_EQ(segment(u"pageSize"_s), u"50");
    settings.defaults().set(DefaultsKey::pageSize, 100);
    EXPECT_EQ(segment(u"pageSize"_s), u"100");
    settings.defaults().set(DefaultsKey::pageSize, 33);
    EXPECT_EQ(segment(u"pageSize"_s), u"25");
}

struct Toggle {
    Pane pane;
    QLatin1StringView key;
    bool isOnAtFirst;
};

class SettingsToggleTest : public SettingsTest, public testing::WithParamInterface<Toggle> {};

TEST_P(SettingsToggleTest, WritesItsSettingAtOnceAndShowsItWhereItChanges)
{
    const auto [pane, key, isOnAtFirst] = GetParam();
    settings.open(pane);
    auto* toggle = &settings.child<QCheckBox>(key);
    EXPECT_EQ(toggle->isChecked(), isOnAtFirst);
    settings.click(key);
    EXPECT_EQ(settings.defaults().boolean(key), !isOnAtFirst);
    toggle->setFocus();
    QTest::keyClick(toggle, Qt::Key_Space);
    EXPECT_EQ(settings.defaults().boolean(key), isOnAtFirst);
    QTest::keyClick(toggle, Qt::Key_Space);
    settings.restart(pane);
    toggle = &settings.child<QCheckBox>(key);
    EXPECT_EQ(toggle->isChecked(), !isOnAtFirst);
    settings.defaults().set(key, isOnAtFirst);
    EXPECT_EQ(toggle->isChecked(), isOnAtFirst);
    settings.defaults().set(key, !isOnAtFirst);
    settings.defaults().set(key, u"perhaps"_s);
    EXPECT_EQ(toggle->isChecked(), isOnAtFirst);
}

INSTANTIATE_TEST_SUITE_P(Toggles, SettingsToggleTest,
                         testing::Values(Toggle{Pane::general, DefaultsKey::showPreview, true},
                                         Toggle{Pane::general, DefaultsKey::gmailShortcuts, true},
                                         Toggle{Pane::general, DefaultsKey::showDockBadge, true},
                                         Toggle{Pane::composing, DefaultsKey::suggestFromContacts, true},
                                         Toggle{Pane::privacy, DefaultsKey::loadRemoteContent, false},
                                         Toggle{Pane::privacy, DefaultsKey::stripTrackingParams, true},
                                         Toggle{Pane::privacy, DefaultsKey::warnSuspiciousLinks, true}),
                         [](const auto& toggle) { return QString(toggle.param.key).toStdString(); });

// --- The accent

TEST_F(SettingsTest, AsksBeforeItStoresAnotherAccent)
{
    settings.open(Pane::general);
    EXPECT_EQ(settings.choices(u"accent"_s), (QStringList{u"Larkhaven Purple"_s, u"System Accent Color"_s}));
    EXPECT_FALSE(settings.child<QLabel>(u"accentNote"_s).isVisible());
    const QSignalSpy restarts(&settings.model(), &AppModel::restartWanted);
    settings.choose(u"accent"_s, u"System Accent Color"_s);
    ASSERT_TRUE(waitUntil([&] { return settings.alert(u"accentQuestion"_s); }));
    const QMessageBox& question = *settings.alert(u"accentQuestion"_s);
    EXPECT_EQ(question.text(), u"Restart Larkhaven to change the accent color?");
    EXPECT_EQ(
        question.informativeText(),
        u"Larkhaven applies its accent color when it opens. Unsent messages in open New Message windows "
        "will be closed.");
    EXPECT_EQ(accent(), u"larkhaven");
    EXPECT_EQ(textOf(u"accent"_s), u"System Accent Color");
    settings.answer(u"accentQuestion"_s, u"Later"_s);
    EXPECT_EQ(accent(), u"system");
    EXPECT_EQ(textOf(u"accent"_s), u"System Accent Color");
    EXPECT_TRUE(restarts.isEmpty());
    ASSERT_TRUE(settings.child<QLabel>(u"accentNote"_s).isVisible());
    EXPECT_EQ(settings.child<QLabel>(u"accentNote"_s).text(),
              u"The new accent color is used after Larkhaven restarts.");
    EXPECT_EQ(settings.child<QPushButton>(u"restartNow"_s).text(), u"Restart Now");
    settings.click(u"restartNow"_s);
    EXPECT_EQ(restarts.size(), 1);
}

TEST_F(SettingsTest, StoresTheAccentAndRestartsWhereTheUserWantsItNow)
{
    settings.open(Pane::general);
    QStringList atRestart;
    QObject::connect(&settings.model(), &AppModel::restartWanted, settings.view.get(),
                     [&] { atRestart.append(accent()); });
    settings.choose(u"accent"_s, u"System Accent Color"_s);
    settings.answer(u"accentQuestion"_s, u"Restart Now"_s);
    EXPECT_EQ(atRestart, QStringList(u"system"_s));
    settings.restart(Pane::general);
    EXPECT_EQ(textOf(u"accent"_s), u"System Accent Color");
    EXPECT_FALSE(settings.child<QLabel>(u"accentNote"_s).isVisible());
}

TEST_F(SettingsTest, TakesEscapeForLaterAndNeedsNoRestartForTheAccentInForce)
{
    settings.open(Pane::general);
    settings.choose(u"accent"_s, u"System Accent Color"_s);
    ASSERT_TRUE(waitUntil([&] { return settings.alert(u"accentQuestion"_s); }));
    QTest::keyClick(settings.alert(u"accentQuestion"_s), Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return !settings.alert(u"accentQuestion"_s); }));
    EXPECT_EQ(accent(), u"system");
    settings.choose(u"accent"_s, u"Larkhaven Purple"_s);
    EXPECT_FALSE(settings.alert(u"accentQuestion"_s));
    EXPECT_EQ(accent(), u"larkhaven");
    EXPECT_FALSE(settings.child<QLabel>(u"accentNote"_s).isVisible());
}

TEST_F(SettingsTest, ShowsAnUnknownAccentAsLarkhavenPurple)
{
    settings.defaults().set(DefaultsKey::accent, u"mauve"_s);
    settings.restart(Pane::general);
    EXPECT_EQ(textOf(u"accent"_s), u"Larkhaven Purple");
    EXPECT_FALSE(settings.child<QLabel>(u"accentNote"_s).isVisible());
    settings.defaults().set(DefaultsKey::accent, u"system"_s);
    EXPECT_EQ(textOf(u"accent"_s), u"System Accent Color");
    EXPECT_TRUE(settings.child<QLabel>(u"accentNote"_s).isVisible());
}

// --- Composing

TEST_F(SettingsTest, ChoosesTheFormatOfNewMessages)
{
    settings.open(Pane::composing);
    EXPECT_EQ(segment(u"composeRichText"_s), u"Plain Text");
    QTest::mouseClick(&segmentButton(u"composeRichText"_s, u"Rich Text (HTML)"_s), Qt::LeftButton);
    EXPECT_TRUE(settings.defaults().boolean(DefaultsKey::composeRichText));
    settings.restart(Pane::composing);
    EXPECT_EQ(segment(u"composeRichText"_s), u"Rich Text (HTML)");
    settings.defaults().set(DefaultsKey::composeRichText, false);
    EXPECT_EQ(segment(u"composeRichText"_s), u"Plain Text");
}

TEST_F(SettingsTest, ChoosesTheFontAndShowsASampleOfIt)
{
    settings.open(Pane::composing);
    EXPECT_EQ(textOf(u"composeFontFamily"_s), u"System Font");
    QStringList families = settings.choices(u"composeFontFamily"_s);
    EXPECT_EQ(families.takeFirst(), u"System Font");
    ASSERT_FALSE(families.isEmpty());
    QStringList installed = QFontDatabase::families();
    installed.removeIf([](const QString& family) { return QFontDatabase::isPrivateFamily(family); });
    EXPECT_EQ(families, installed);
    settings.choose(u"composeFontFamily"_s, families.last());
    EXPECT_EQ(settings.defaults().text(DefaultsKey::composeFontFamily), families.last());
    EXPECT_EQ(settings.child<QLabel>(u"composeSample"_s).font().families(), QStringList(families.last()));
    settings.restart(Pane::composing);
    EXPECT_EQ(textOf(u"composeFontFamily"_s), families.last());
    settings.defaults().set(DefaultsKey::composeFontFamily, u"No Such Font"_s);
    EXPECT_EQ(textOf(u"composeFontFamily"_s), u"System Font");
}

TEST_F(SettingsTest, ChoosesTheSizeByButtonsAndKeysWithinItsBounds)
{
    settings.open(Pane::composing);
    auto& field = settings.child<QDoubleSpinBox>(u"pointSize"_s);
    const auto stored = [this] { return settings.defaults().real(DefaultsKey::composeFontSize); };
    EXPECT_EQ(field.text(), u"13 pt");
    settings.click(u"pointSizeLarger"_s);
    EXPECT_EQ(stored(), 14);
    EXPECT_EQ(field.text(), u"14 pt");
    EXPECT_EQ(settings.child<QLabel>(u"composeSample"_s).font().pixelSize(), 14);
    settings.click(u"pointSizeSmaller"_s);
    settings.click(u"pointSizeSmaller"_s);
    EXPECT_EQ(stored(), 12);
    field.setFocus();
    QTest::keyClick(&field, Qt::Key_Up);
    EXPECT_EQ(stored(), 13);
    field.selectAll();
    QTest::keyClicks(&field, u"20"_s);
    EXPECT_EQ(stored(), 20);
    settings.restart(Pane::composing);
    auto& reopened = settings.child<QDoubleSpinBox>(u"pointSize"_s);
    EXPECT_EQ(reopened.text(), u"20 pt");
    settings.defaults().set(DefaultsKey::composeFontSize, 13.5);
    EXPECT_EQ(reopened.text(), u"13.5 pt");
    for (const double invalid : {-1.0, 0.0, 1000.0}) {
        settings.defaults().set(DefaultsKey::composeFontSize, invalid);
        EXPECT_EQ(reopened.text(), u"13 pt");
    }
    settings.defaults().set(DefaultsKey::composeFontSize, 72);
    settings.click(u"pointSizeLarger"_s);
    EXPECT_EQ(stored(), 72);
    settings.defaults().set(DefaultsKey::composeFontSize, 8);
    settings.click(u"pointSizeSmaller"_s);
    EXPECT_EQ(stored(), 8);
}

TEST_F(SettingsTest, WritesTheSignatureAsItIsTyped)
{
    settings.open(Pane::composing);
    auto* edit = &settings.child<SignatureEdit>(u"signature"_s);
    edit->setFocus();
    QTest::keyClicks(edit, u"Mia, \"Berlin\"; 5%"_s);
    QTest::keyClick(edit, Qt::Key_Return);
    QTest::keyClicks(edit, u"@home"_s);
    EXPECT_EQ(settings.defaults().text(DefaultsKey::signature), u"Mia, \"Berlin\"; 5%\n@home");
    EXPECT_EQ(settings.model().signatureBlock(), u"\n\n-- \nMia, \"Berlin\"; 5%\n@home");
    settings.restart(Pane::composing);
    edit = &settings.child<SignatureEdit>(u"signature"_s);
    EXPECT_EQ(edit->toPlainText(), u"Mia, \"Berlin\"; 5%\n@home");
    settings.defaults().set(DefaultsKey::signature, u"Other"_s);
    EXPECT_EQ(edit->toPlainText(), u"Other");
    // The keyboard gets out of it.
    edit->setFocus();
    QTest::keyClick(edit, Qt::Key_Tab);
    EXPECT_NE(QApplication::focusWidget(), edit);
    EXPECT_EQ(edit->toPlainText(), u"Other");
}

TEST_F(SettingsTest, TakesASignatureUpToItsBound)
{
    settings.open(Pane::composing);
    auto& edit = settings.child<SignatureEdit>(u"signature"_s);
    edit.setFocus();
    QTest::keyClicks(&edit, u"end"_s);
    QTest::keyClick(&edit, Qt::Key_Home);
    auto* const pasted = new QMimeData;
    pasted->setText(QString(1'000'000, u'x'));
    pasted->setHtml(u"<b>never</b>"_s);
    QApplication::clipboard()->setMimeData(pasted);
    QTest::keyClick(&edit, Qt::Key_V, Qt::ControlModifier);
    const QString full = QString(SignatureEdit::longest - 3, u'x') + u"end"_s;
    EXPECT_EQ(edit.toPlainText(), full);
    EXPECT_EQ(settings.defaults().text(DefaultsKey::signature), full);
    QTest::keyClicks(&edit, u"yy"_s);
    EXPECT_EQ(edit.toPlainText(), full);
    EXPECT_EQ(settings.defaults().text(DefaultsKey::signature), full);
    // One that somebody has written into the file stays there until the user changes it.
    const QString longer(SignatureEdit::longest + 1, u'z');
    settings.defaults().set(DefaultsKey::signature, longer);
    EXPECT_EQ(edit.toPlainText().size(), SignatureEdit::longest);
    EXPECT_EQ(settings.defaults().text(DefaultsKey::signature), longer);
}

// --- Privacy

TEST_F(SettingsTest, ShowsTheSizeOfWhatWasDownloaded)
{
    await(settings.model().cache(settings.fixture.account(0).id)->write(u"a"_s, QByteArray(150'000, 'x')));
    settings.open(Pane::privacy);
    auto& size = settings.child<QLabel>(u"cacheSize"_s);
    EXPECT_TRUE(waitUntil([&size] { return size.text() == u"150.1 kB" || size.text() == u"150.0 kB"; }))
        << size.text().toStdString();
}

TEST_F(SettingsTest, ShowsAnEllipsisUntilTheKeyringHasAnswered)
{
    settings.fixture.keychain().hesitates = true;
    settings.restart(Pane::privacy);
    auto& size = settings.child<QLabel>(u"cacheSize"_s);
    ASSERT_TRUE(waitUntil([&] { return settings.fixture.keychain().reads > 0; }));
    EXPECT_EQ(size.text(), u"…");
    EXPECT_EQ(settings.fixture.keychain().readsOnMainThread, 0);
    // Everything else goes on.
    settings.click(u"loadRemoteContent"_s);
    EXPECT_TRUE(settings.defaults().boolean(DefaultsKey::loadRemoteContent));
    settings.fixture.keychain().hesitates = false;
    EXPECT_TRUE(waitUntil([&size] { return size.text() == u"0 bytes"; })) << size.text().toStdString();
}

TEST_F(SettingsTest, AnAccountWithoutACacheAddsNothing)
{
    await(settings.model().cache(settings.fixture.account(0).id)->write(u"a"_s, QByteArray(1'000, 'x')));
    settings.fixture.keychain().readFailure = KeychainStatus::interactionNotAllowed;
    settings.fixture.keychain().writeFailure = KeychainStatus::interactionNotAllowed;
    settings.restart(Pane::privacy);
    auto& size = settings.child<QLabel>(u"cacheSize"_s);
    EXPECT_TRUE(waitUntil([&size] { return size.text() == u"0 bytes"; })) << size.text().toStdString();
}

TEST_F(SettingsTest, AsksForTheSizeAnewEachTimeThePaneAppears)
{
    settings.open(Pane::privacy);
    auto& size = settings.child<QLabel>(u"cacheSize"_s);
    EXPECT_TRUE(waitUntil([&size] { return size.text() == u"0 bytes"; }));
    settings.view->open(Pane::general);
    await(settings.model().cache(settings.fixture.account(0).id)->write(u"a"_s, QByteArray(150'000, 'x')));
    settings.view->open(Pane::privacy);
    EXPECT_TRUE(waitUntil([&size] { return size.text().endsWith(u" kB"); }));
}

TEST_F(SettingsTest, DeletesWhatWasDownloadedOnlyWhereTheUserConfirmsIt)
{
    await(settings.model().cache(settings.fixture.account(0).id)->write(u"a"_s, QByteArray(150'000, 'x')));
    settings.open(Pane::privacy);
    auto& size = settings.child<QLabel>(u"cacheSize"_s);
    ASSERT_TRUE(waitUntil([&size] { return size.text().endsWith(u" kB"); }));
    settings.click(u"deleteDownloads"_s);
    ASSERT_TRUE(waitUntil([&] { return settings.alert(u"deleteQuestion"_s); }));
    EXPECT_EQ(settings.alert(u"deleteQuestion"_s)->text(), u"Delete downloaded messages?");
    EXPECT_EQ(settings.alert(u"deleteQuestion"_s)->informativeText(), u"Mail on the server isn't affected.");
    // The keyboard is on the button that does no harm.
    QTest::keyClick(settings.alert(u"deleteQuestion"_s), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return !settings.alert(u"deleteQuestion"_s); }));
    EXPECT_GT(await(settings.model().cacheSize()), 150'000);
    settings.click(u"deleteDownloads"_s);
    settings.answer(u"deleteQuestion"_s, u"Delete"_s);
    EXPECT_TRUE(waitUntil([&size] { return size.text() == u"0 bytes"; })) << size.text().toStdString();
    EXPECT_TRUE(settings.child<QPushButton>(u"deleteDownloads"_s).isEnabled());
    EXPECT_EQ(await(settings.model().cacheSize()), 0);
}

} // namespace
} // namespace Larkhaven
