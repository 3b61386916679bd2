#include "SettingsSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QTabBar>
#include <QToolButton>

using namespace Qt::StringLiterals;

// The words of the settings, and how they are reached without a mouse and without eyes.

namespace Larkhaven {
namespace {

using Pane = SettingsView::Pane;

struct Words {
    const char* name;
    Pane pane;
    QStringList texts;
};

QList<Words> allWords()
{
    return {
        {"Accounts",
         Pane::accounts,
         {u"Accounts"_s, u"General"_s, u"Composing"_s, u"Privacy"_s, u"Add Account"_s, u"Remove Account"_s,
          u"Description"_s, u"Email"_s, u"Name"_s, u"Provider"_s, u"Status"_s, u"Credentials"_s,
          u"Incoming"_s, u"Outgoing"_s, u"IMAP"_s, u"Sign-in required"_s,
          u"Stored in this computer's keyring"_s, u"Sign In Again…"_s, u"Edit Settings / Password…"_s}},
        {"General",
         Pane::general,
         {u"Mail"_s,
          u"Send new messages from:"_s,
          u"Account of selected mailbox"_s,
          u"Check for new messages:"_s,
          u"Every minute"_s,
          u"Every 5 minutes"_s,
          u"Every 15 minutes"_s,
          u"Every 30 minutes"_s,
          u"Manually"_s,
          u"Messages per page:"_s,
          u"25"_s,
          u"50"_s,
          u"100"_s,
          u"Show message preview in list"_s,
          u"Use Gmail keyboard shortcuts"_s,
          u"j / k next and previous, o open, e archive, # delete, s star, Shift+U read/unread, c compose, u back."_s,
          u"Appearance"_s,
          u"Accent color:"_s,
          u"Larkhaven Purple"_s,
          u"System Accent Color"_s,
          u"System Accent Color is the one chosen in your desktop's appearance settings, or blue where none is chosen there."_s,
          u"The new accent color is used after Larkhaven restarts."_s,
          u"Restart Now"_s,
          u"Show unread count on launcher icon"_s}},
        {"Composing",
         Pane::composing,
         {u"Message format:"_s, u"Rich Text (HTML)"_s, u"Plain Text"_s,
          u"Rich text is sent as HTML together with a plain-text copy. You can switch format for each message in the New Message window."_s,
          u"Font:"_s, u"System Font"_s, u"Size:"_s, u"13 pt"_s,
          u"The quick brown fox jumps over the lazy dog."_s, u"Signature"_s,
          u"Added to new messages, replies and forwards (above quoted text). Leave empty for no signature."_s,
          u"Suggest addresses from Contacts"_s,
          u"Reads names and email addresses from this computer's Contacts while you type. Nothing is stored or sent anywhere."_s}},
        {"Privacy",
         Pane::privacy,
         {u"Load remote content in messages"_s,
          u"Remote images can reveal when you open a message and your approximate location. When off, use “Load Remote Content” in a message to load it once."_s,
          u"Remove tracking parameters from links"_s, u"Warn before opening suspicious links"_s,
          u"Always On"_s, u"Tracking pixels"_s, u"Blocked"_s, u"Cookies"_s, u"Never stored"_s,
          u"Scripts in messages"_s, u"Disabled"_s, u"On This Computer"_s, u"Downloaded messages"_s,
          u"Delete Downloaded Messages…"_s,
          u"Messages you open are kept on this computer, encrypted with a key in your keyring, so they're downloaded only once. The oldest are removed above 500 MB per account. Deleting them only means downloading again."_s}},
    };
}

Account whole()
{
    Account account = ModelFixture::imapAccount();
    account.displayName = u"Mia"_s;
    return account;
}

class SettingsWordsTest : public testing::TestWithParam<Words> {
protected:
    SettingsWordsTest()
    {
        // Everything that a pane can show is shown.
        settings.open(GetParam().pane);
        settings.view->open(settings.fixture.account().id);
        settings.model().report(std::make_exception_ptr(MailError::notSignedIn()),
                                settings.fixture.account().id);
        settings.defaults().set(DefaultsKey::accent, u"system"_s);
        settings.open(GetParam().pane);
    }
    /// What takes the keyboard in the pane.
    QList<QWidget*> controls()
    {
        QList<QWidget*> controls;
        const auto all = settings.view->findChildren<QWidget*>();
        for (QWidget* const widget : all) {
            const bool isPart =
                qobject_cast<QLineEdit*>(widget) && qobject_cast<QAbstractSpinBox*>(widget->parentWidget());
            if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) &&
                !widget->focusProxy() && !isPart)
                controls.append(widget);
        }
        return controls;
    }

    SettingsWindow settings{{whole(), ModelFixture::googleAccount()}};
};

TEST_P(SettingsWordsTest, StandInTheWindowAsTheyAreTold)
{
    const QStringList texts = textsOf(*settings.view);
    for (const QString& text : GetParam().texts)
        EXPECT_TRUE(texts.contains(text)) << text.toStdString();
}

TEST_P(SettingsWordsTest, AreAllReachedByTheKeyTab)
{
    const QList<QWidget*> expected = controls();
    ASSERT_GE(expected.size(), 3);
    QSet<QWidget*> reached;
    settings.child<QTabBar>(u"settingsTabBar"_s).setFocus();
    constexpr int manyTimes = 60;
    for (int step = 0; step < manyTimes; ++step) {
        reached.insert(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWindow(), Qt::Key_Tab);
    }
    for (QWidget* const control : expected) {
        // Of a group of radio buttons Tab reaches the one that is chosen, and arrows the others.
        const auto* const button = qobject_cast<QAbstractButton*>(control);
        if (button && button->autoExclusive() && !button->isChecked())
            continue;
        EXPECT_TRUE(reached.contains(control))
            << control->metaObject()->className() << ' ' << control->objectName().toStdString();
    }
}

TEST_P(SettingsWordsTest, NameEachControlForAssistiveTechnology)
{
    for (QWidget* const control : controls()) {
        QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(control);
        ASSERT_TRUE(accessible);
        const QString name = accessible->text(QAccessible::Name);
        EXPECT_FALSE(name.isEmpty()) << control->metaObject()->className() << ' '
                                     << control->objectName().toStdString();
        EXPECT_FALSE(name.endsWith(u':')) << name.toStdString();
    }
}

TEST_P(SettingsWordsTest, AreScrolledIntoViewWhereTheKeyboardGoes)
{
    Style::shared().setTextSize(28);
    settings.view->resize(720, 480);
    settle();
    settings.child<QTabBar>(u"settingsTabBar"_s).setFocus();
    constexpr int manyTimes = 30;
    for (int step = 0; step < manyTimes; ++step) {
        QTest::keyClick(QApplication::focusWindow(), Qt::Key_Tab);
        const QWidget* const focused = QApplication::focusWidget();
        ASSERT_TRUE(focused);
        const QRect place(focused->mapTo(settings.view.get(), QPoint(0, 0)), focused->size());
        EXPECT_TRUE(settings.view->rect().intersects(place))
            << focused->objectName().toStdString() << ' ' << place.x() << ' ' << place.y() << " in "
            << settings.view->width() << " x " << settings.view->height();
    }
}

INSTANTIATE_TEST_SUITE_P(Panes, SettingsWordsTest, testing::ValuesIn(allWords()),
                         [](const auto& words) { return std::string(words.param.name); });

} // namespace
} // namespace Larkhaven
