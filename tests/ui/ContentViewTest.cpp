#include "views/main/ContentView.h"

#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/Coding.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeWindows.h"
#include "views/main/SidebarView.h"
#include "views/main/WelcomeView.h"
#include "views/reader/ReaderView.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QList<MailLabel> nestedLabels{
    {u"w"_s, u"Work"_s}, {u"wp"_s, u"Work/Plans"_s}, {u"wpx"_s, u"Work/Plans/X"_s}};

class ContentViewTest : public testing::Test {
protected:
    QMessageBox* alert(const MailWindow& mail)
    {
        return mail.window->findChild<QMessageBox*>(u"errorAlert"_s);
    }

    void report(MailWindow& mail, const QString& text)
    {
        mail.model().report(std::make_exception_ptr(MailError::unsupported(text)));
    }

    /// Opens the window with labels and counts.
    void open(MailWindow& mail)
    {
        mail.fixture.provider().setLabels(nestedLabels);
        mail.fixture.provider().setCounts({{u"system:inbox"_s, 12345}, {u"label:wp"_s, 7}});
        mail.fill(ModelFixture::rows(mail.fixture.account(), 3));
        mail.open();
        ASSERT_TRUE(waitUntil([&mail] { return !mail.model().counts(mail.fixture.account().id).isEmpty(); }));
    }

    static QModelIndex heading(const MailWindow& mail, int section = 0)
    {
        return mail.window->sidebar().model()->index(section, 0);
    }

    static QModelIndex row(const MailWindow& mail, const QString& text, int section = 0)
    {
        const QAbstractItemModel& rows = *mail.window->sidebar().model();
        const QModelIndex parent = heading(mail, section);
        for (int index = 0; index < rows.rowCount(parent); ++index) {
            if (rows.index(index, 0, parent).data().toString() == text)
                return rows.index(index, 0, parent);
        }
        return {};
    }

    static void click(MailWindow& mail, const QModelIndex& index)
    {
        SidebarView& sidebar = mail.window->sidebar();
        QTest::mouseClick(sidebar.viewport(), Qt::LeftButton, {}, sidebar.visualRect(index).center());
    }
};

// --- Kept texts

TEST_F(ContentViewTest, ChangesTheRowsAloneWhoseCountsAreOthers)
{
    MailWindow mail;
    open(mail);
    QStringList changed;
    QObject::connect(mail.window->sidebar().model(), &QAbstractItemModel::dataChanged, &mail.model(),
                     [&changed](const QModelIndex& index) { changed.append(index.data().toString()); });
    mail.fixture.provider().setCounts({{u"system:inbox"_s, 12}, {u"label:wp"_s, 7}});
    mail.model().start(mail.model().refresh());
    ASSERT_TRUE(waitUntil(
        [&] { return row(mail, u"Inbox"_s).data(Qt::AccessibleTextRole) == u"Inbox, 12 unread"_s; }));
    settle();
    changed.removeAll(u"Inbox"_s);
    EXPECT_EQ(changed, QStringList());
}

TEST_F(ContentViewTest, TellsWhereTextsCannotBeKeptSafeUntilTheyCan)
{
    MailWindow mail;
    mail.fixture.textKeychain().readFailure = KeychainStatus::interactionNotAllowed;
    open(mail);
    QWidget& banner = mail.child<QWidget>("keptTextsBanner");
    ASSERT_TRUE(waitUntil([&banner] { return banner.isVisible(); }));
    EXPECT_FALSE(alert(mail));
    takeScreenshot(*mail.window, u"texts-cannot-be-kept"_s);
    mail.fixture.textKeychain().readFailure = KeychainStatus::success;
    QTest::mouseClick(&mail.child<QPushButton>("keptTextsRetry"), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([&banner] { return !banner.isVisible(); }));
}

// --- The window

TEST_F(ContentViewTest, WelcomesWhereThereAreNoAccounts)
{
    MailWindow mail(QList<Account>{});
    mail.open();
    EXPECT_TRUE(mail.child<WelcomeView>("welcome").isVisible());
    EXPECT_FALSE(mail.window->sidebar().isVisible());
    QStringList texts;
    for (const QLabel* const label : mail.child<WelcomeView>("welcome").findChildren<QLabel*>())
        texts.append(label->text());
    EXPECT_EQ(texts,
              (QStringList{u"Welcome to Larkhaven"_s,
                           u"Add an account to get started. Google accounts sign in on Google's own page, so "
                           "Larkhaven never sees that password. Other providers sign in over IMAP with a "
                           "password kept in your keyring."_s}));
    for (const QLabel* const label : mail.child<WelcomeView>("welcome").findChildren<QLabel*>())
        EXPECT_GE(label->height(), label->heightForWidth(label->width()));
    EXPECT_EQ(mail.window->windowTitle(), u"Larkhaven");
    takeScreenshot(*mail.window, u"welcome"_s);
}

TEST_F(ContentViewTest, ShowsNoWindowBesideThoseThatAreAskedFor)
{
    class ShownWindows : public QObject {
    public:
        ShownWindows() { qApp->installEventFilter(this); }
        QStringList names;

    protected:
        bool eventFilter(QObject* object, QEvent* event) override
        {
            // Objects of the web engine, which say nothing of their types, get other events.
            const auto* const widget =
                event->type() == QEvent::Show ? qobject_cast<QWidget*>(object) : nullptr;
            if (widget && widget->isWindow())
                names.append(QLatin1StringView(widget->metaObject()->className()));
            return false;
        }
    };
    const ShownWindows shown;
    MailWindow mail({ModelFixture::imapAccount()}, ModelFixture::info());
    open(mail);
    mail.model().setSelection({u"2"_s});
    ASSERT_TRUE(waitUntil([&mail] { return mail.window->findChild<ReaderView*>() != nullptr; }));
    mail.fixture.provider().setRaw(u"2"_s, "From: ada@example.com\r\n\r\ntext"_ba);
    mail.read(u"2"_s);
    pressChord(u"Ctrl+N"_s);
    ASSERT_TRUE(waitUntil([&mail] { return mail.window->composeWindows().windows().size() == 1; }));
    activate(*mail.window);
    pressChord(u"Ctrl+,"_s);
    ASSERT_TRUE(waitUntil([&shown] { return shown.names.size() > 2; }));
    settle();
    // Each other one would close the menu that the user has open.
    EXPECT_EQ(shown.names, (QStringList{u"Larkhaven::ContentView"_s, u"Larkhaven::ComposeWindow"_s,
                                        u"Larkhaven::SettingsView"_s}));
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (window != mail.window.get())
            window->close();
    }
}

TEST_F(ContentViewTest, RefreshesWhenItAppearsAndOnlyThen)
{
    MailWindow mail;
    EXPECT_TRUE(mail.fixture.provider().calls().isEmpty());
    mail.open();
    mail.window->hide();
    mail.window->show();
    settle();
    EXPECT_EQ(mail.fixture.provider().calls(u"listMessages"_s),
              QStringList(u"listMessages system:inbox offset=0 limit=25 refresh=true"_s));
}

TEST_F(ContentViewTest, ShowsTheReaderOnlyWhileAMessageIsOpen)
{
    MailWindow mail;
    mail.fill(ModelFixture::rows(mail.fixture.account(), 1));
    mail.fixture.provider().setRaw(u"1"_s, "Subject: x\r\n\r\nHello");
    mail.open();
    EXPECT_TRUE(mail.table().isVisible());
    mail.read(u"1"_s);
    EXPECT_FALSE(mail.table().isVisible());
    EXPECT_TRUE(mail.window->reader().isVisible());
    mail.model().setPath({});
    EXPECT_TRUE(mail.table().isVisible());
    EXPECT_FALSE(mail.window->reader().isVisible());
}

TEST_F(ContentViewTest, LeavesTheKeyboardInTheSearchFieldWhereAMessageGoesByItself)
{
    MailWindow mail;
    mail.fill(ModelFixture::rows(mail.fixture.account(), 3));
    mail.fixture.provider().setRaw(u"1"_s, htmlMessage(u"Hello"_s));
    mail.open();
    mail.read(u"1"_s);
    auto& field = mail.child<QLineEdit>("searchField");
    field.setFocus();
    QTest::keyClicks(&field, u"bo"_s);
    mail.model().setPath({});
    QTest::keyClicks(&focusedWidget(), u"at"_s);
    EXPECT_EQ(field.text(), u"boat");
}

TEST_F(ContentViewTest, KeepsTheSidebarWithinItsWidths)
{
    MailWindow mail;
    mail.open();
    EXPECT_EQ(mail.window->sidebar().width(), 210);
    EXPECT_EQ(mail.window->sidebar().minimumWidth(), 170);
    EXPECT_EQ(mail.window->sidebar().maximumWidth(), 280);
    mail.window->resize(ContentView::smallestSize);
    settle();
    EXPECT_GE(mail.window->sidebar().width(), 170);
}

// --- The alert

TEST_F(ContentViewTest, ShowsTheLaterOfTwoErrors)
{
    MailWindow mail;
    mail.open();
    report(mail, u"First."_s);
    report(mail, u"<b>Second</b>."_s);
    ASSERT_TRUE(alert(mail));
    ASSERT_TRUE(waitUntil([&] { return alert(mail)->isVisible(); }));
    EXPECT_EQ(mail.window->findChildren<QMessageBox*>().size(), 1);
    EXPECT_EQ(alert(mail)->text(), u"Something went wrong");
    EXPECT_EQ(alert(mail)->informativeText(), u"<b>Second</b>.");
    for (const QLabel* const label : alert(mail)->findChildren<QLabel*>()) {
        if (!label->text().isEmpty()) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText);
        }
    }
    takeScreenshot(*mail.window, u"error-alert"_s);
}

TEST_F(ContentViewTest, ClearsTheErrorWhenItsAlertIsClosed)
{
    MailWindow mail;
    mail.open();
    report(mail, u"First."_s);
    QTest::mouseClick(alert(mail)->button(QMessageBox::Ok), Qt::LeftButton);
    EXPECT_FALSE(mail.model().errorMessage());
    // At once, while the first alert is still on its way out.
    report(mail, u"Second."_s);
    settle();
    ASSERT_TRUE(alert(mail));
    EXPECT_TRUE(alert(mail)->isVisible());
    EXPECT_EQ(alert(mail)->informativeText(), u"Second.");
}

TEST_F(ContentViewTest, TakesTheAlertAwayWithItsError)
{
    MailWindow mail;
    mail.open();
    report(mail, u"First."_s);
    mail.model().clearErrorMessage();
    EXPECT_TRUE(waitUntil([&] { return !alert(mail); }));
}

// --- The sidebar

TEST_F(ContentViewTest, ListsTheMailboxesOfEachAccountInTheirOrder)
{
    Account google = ModelFixture::googleAccount();
    google.nickname = u"Private"_s;
    MailWindow mail({ModelFixture::imapAccount(), google});
    mail.open();
    EXPECT_EQ(heading(mail, 0).data().toString(), u"mia@example.org");
    EXPECT_EQ(heading(mail, 1).data().toString(), u"Private");
    const QAbstractItemModel& rows = *mail.window->sidebar().model();
    for (const int section : {0, 1}) {
        const ProviderKind kind = section == 0 ? ProviderKind::imap : ProviderKind::google;
        ASSERT_EQ(rows.rowCount(heading(mail, section)), 7);
        for (size_t role = 0; role < allMailboxes.size(); ++role) {
            EXPECT_EQ(rows.index(static_cast<int>(role), 0, heading(mail, section)).data().toString(),
                      name(allMailboxes[role], kind));
        }
    }
    takeScreenshot(*mail.window, u"sidebar-accounts"_s);
}

TEST_F(ContentViewTest, ShowsTheImagesOfTheMailboxes)
{
    MailWindow mail({ModelFixture::imapAccount(), ModelFixture::googleAccount()});
    for (const int section : {0, 1})
        mail.fixture.provider(section).setLabels({{u"w"_s, u"Work"_s}});
    mail.open();
    ASSERT_TRUE(waitUntil([&mail] { return row(mail, u"Work"_s, 1).isValid(); }));
    const auto symbol = [&mail](int section, int place) {
        const QModelIndex index = mail.window->sidebar().model()->index(place, 0, heading(mail, section));
        return static_cast<Symbol>(index.data(SidebarView::SymbolRole).toInt());
    };
    const QList<Symbol> expected{Symbol::tray,       Symbol::star,     Symbol::paperplane, Symbol::doc,
                                 Symbol::archivebox, Symbol::xmarkBin, Symbol::trash};
    for (int place = 0; place < expected.size(); ++place)
        EXPECT_EQ(symbol(0, place), expected[place]) << place;
    EXPECT_EQ(symbol(0, 7), Symbol::folder);
    EXPECT_EQ(symbol(1, 7), Symbol::tag);
}

TEST_F(ContentViewTest, ShowsOnlyTheLastComponentOfANestedLabelIndentedByItsDepth)
{
    MailWindow mail;
    open(mail);
    for (const auto& [text, depth] :
         {std::pair(u"Work"_s, 0), std::pair(u"Plans"_s, 1), std::pair(u"X"_s, 2)}) {
        ASSERT_TRUE(row(mail, text).isValid()) << text.toStdString();
        EXPECT_EQ(row(mail, text).data(SidebarView::DepthRole).toInt(), depth);
    }
    EXPECT_EQ(row(mail, u"Plans"_s).data(Qt::ToolTipRole).toString(), u"Work/Plans");
    takeScreenshot(*mail.window, u"sidebar-labels"_s);
}

TEST_F(ContentViewTest, ShowsUnreadCountsAboveZero)
{
    MailWindow mail;
    open(mail);
    const auto count = [&mail](const QString& text) {
        return row(mail, text).data(SidebarView::CountRole).toLongLong();
    };
    EXPECT_EQ(count(u"Inbox"_s), 12345);
    EXPECT_EQ(count(u"Plans"_s), 7);
    EXPECT_EQ(count(u"Work"_s), 0);
    // The pill is there for one and not for the other.
    SidebarView& sidebar = mail.window->sidebar();
    const auto ink = [&](const QString& text) {
        const QRect place = sidebar.visualRect(row(mail, text));
        const QImage image =
            sidebar.viewport()->grab(place.adjusted(place.width() - 30, 6, -16, -6)).toImage();
        QSet<QRgb> colors;
        for (int x = 0; x < image.width(); ++x)
            colors.insert(image.pixel(x, image.height() / 2));
        return colors.size();
    };
    EXPECT_GT(ink(u"Plans"_s), 1);
    EXPECT_EQ(ink(u"Work"_s), 1);
}

TEST_F(ContentViewTest, SelectsTheMailboxThatIsClicked)
{
    MailWindow mail;
    open(mail);
    click(mail, row(mail, u"Plans"_s));
    ASSERT_TRUE(mail.model().sidebarSelection());
    EXPECT_EQ(mail.model().sidebarSelection()->ref.id(), u"label:wp");
    EXPECT_EQ(mail.window->sidebar().currentIndex(), row(mail, u"Plans"_s));
    EXPECT_EQ(mail.window->windowTitle(), u"Plans – mia@example.org");
}

TEST_F(ContentViewTest, FoldsASectionAndRemembersIt)
{
    MailWindow mail({ModelFixture::imapAccount(), ModelFixture::googleAccount()});
    open(mail);
    SidebarView& sidebar = mail.window->sidebar();
    click(mail, heading(mail, 0));
    EXPECT_FALSE(sidebar.isExpanded(heading(mail, 0)));
    EXPECT_TRUE(sidebar.isExpanded(heading(mail, 1)));
    EXPECT_EQ(mail.fixture.defaults().text(DefaultsKey::collapsedAccounts),
              Coding::fromUuid(mail.fixture.account(0).id));
    takeScreenshot(*mail.window, u"sidebar-folded"_s);
    click(mail, heading(mail, 1));
    EXPECT_EQ(mail.fixture.defaults().text(DefaultsKey::collapsedAccounts),
              Coding::fromUuid(mail.fixture.account(0).id) + u',' +
                  Coding::fromUuid(mail.fixture.account(1).id));
    click(mail, heading(mail, 0));
    click(mail, heading(mail, 1));
    EXPECT_EQ(mail.fixture.defaults().text(DefaultsKey::collapsedAccounts), u"");
}

TEST_F(ContentViewTest, StaysFoldedWhenLabelsArrive)
{
    MailWindow mail({ModelFixture::imapAccount(), ModelFixture::googleAccount()});
    mail.fixture.defaults().set(DefaultsKey::collapsedAccounts, Coding::fromUuid(mail.fixture.account(0).id));
    mail.fixture.provider(0).hold(u"listLabels"_s);
    mail.fixture.provider(0).setLabels(nestedLabels);
    mail.window = std::make_unique<ContentView>(mail.model());
    mail.open();
    EXPECT_FALSE(mail.window->sidebar().isExpanded(heading(mail, 0)));
    mail.fixture.provider(0).completeAll();
    ASSERT_TRUE(waitUntil([&mail] { return row(mail, u"Plans"_s).isValid(); }));
    settle();
    EXPECT_FALSE(mail.window->sidebar().isExpanded(heading(mail, 0)));
    EXPECT_TRUE(mail.window->sidebar().isExpanded(heading(mail, 1)));
}

TEST_F(ContentViewTest, SaysThatAnAccountMustSignIn)
{
    MailWindow mail;
    open(mail);
    const int before = mail.window->sidebar().visualRect(row(mail, u"Inbox"_s)).top();
    mail.model().report(std::make_exception_ptr(MailError::notSignedIn()), mail.fixture.account().id);
    EXPECT_TRUE(heading(mail).data(SidebarView::NeedsSignInRole).toBool());
    EXPECT_EQ(heading(mail).data(Qt::AccessibleTextRole), u"mia@example.org, Sign-in required"_s);
    EXPECT_FALSE(alert(mail));
    EXPECT_TRUE(
        waitUntil([&] { return mail.window->sidebar().visualRect(row(mail, u"Inbox"_s)).top() > before; }));
    takeScreenshot(*mail.window, u"sidebar-sign-in-required"_s);
}

TEST_F(ContentViewTest, HidesTheSidebarOnDemand)
{
    MailWindow mail;
    mail.open();
    QTest::mouseClick(&mail.child<QAbstractButton>("toggleSidebar"), Qt::LeftButton);
    EXPECT_FALSE(mail.window->sidebar().isVisible());
    QTest::mouseClick(&mail.child<QAbstractButton>("toggleSidebar"), Qt::LeftButton);
    EXPECT_TRUE(mail.window->sidebar().isVisible());
}

TEST_F(ContentViewTest, GetsNewMailOnDemand)
{
    MailWindow mail;
    mail.open();
    mail.fixture.provider().forgetCalls();
    QTest::mouseClick(&mail.child<QAbstractButton>("getMail"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([&mail] { return !mail.model().isLoading(); }));
    EXPECT_EQ(mail.fixture.provider().calls(u"listMessages"_s).size(), 1);
    EXPECT_EQ(mail.fixture.provider().calls(u"listLabels"_s).size(), 1);
}

} // namespace
} // namespace Larkhaven
