#include "views/list/MessageTableView.h"

#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"
#include "views/main/SearchField.h"

#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class MessageTableViewTest : public testing::Test {
protected:
    MessageTableViewTest() { mail.fill(ModelFixture::rows(mail.fixture.account(), 30)); }

    MessageTable& table() { return mail.table(); }
    QToolButton& button(const char* name) { return mail.child<QToolButton>(name); }
    SearchField& search() { return mail.child<SearchField>("searchField"); }
    QStringList listings() { return mail.fixture.provider().calls(u"listMessages"_s); }

    bool waitUntilLoaded()
    {
        return waitUntil([this] { return !mail.model().isLoading(); });
    }

    QPoint place(int row, MessageColumn column)
    {
        return table().visualRect(table().model()->index(row, static_cast<int>(column))).center();
    }

    void clickHeader(MessageColumn column)
    {
        QHeaderView& header = *table().horizontalHeader();
        const int section = static_cast<int>(column);
        QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
                          QPoint(header.sectionViewportPosition(section) + header.sectionSize(section) / 2,
                                 header.height() / 2));
    }

    QString order()
    {
        QStringList ids;
        for (int row = 0; row < std::min(3, table().rows().rowCount()); ++row)
            ids.append(table().rows().row(row).id);
        return ids.join(u' ');
    }

    /// Opens the header's menu by the right button.
    QMenu* columnMenu() { return rightClick(*table().horizontalHeader()->viewport(), QPoint(200, 5)); }
    /// Chooses a column in it by the arrow keys.
    void toggleColumn(const QString& title)
    {
        const QPointer<QMenu> menu = columnMenu();
        ASSERT_TRUE(menu) << title.toStdString();
        chooseByKeys({title});
        ASSERT_TRUE(waitUntil([&menu] { return !menu; }));
    }

    static QAction* action(const QMenu& menu, const QString& text)
    {
        for (QAction* const found : menu.actions()) {
            if (found->text() == text)
                return found;
        }
        return nullptr;
    }

    bool isShown(MessageColumn column)
    {
        return !table().horizontalHeader()->isSectionHidden(static_cast<int>(column));
    }

    MailWindow mail;
};

// --- Columns and sorting

TEST_F(MessageTableViewTest, ShowsItsColumns)
{
    mail.open();
    for (const MessageColumn column : allMessageColumns)
        EXPECT_EQ(isShown(column), column != MessageColumn::mailbox && column != MessageColumn::size);
    QHeaderView& header = *table().horizontalHeader();
    const auto width = [&header](MessageColumn column) {
        return header.sectionSize(static_cast<int>(column));
    };
    EXPECT_LE(width(MessageColumn::from), 300);
    EXPECT_LE(width(MessageColumn::date), 140);
    EXPECT_EQ(width(MessageColumn::unread), width(MessageColumn::star));
    EXPECT_EQ(header.length(), table().viewport()->width());
    takeScreenshot(*mail.window, u"table"_s);
}

TEST_F(MessageTableViewTest, SortsByTheColumnThatIsClicked)
{
    QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 4);
    rows[2].isStarred = true;
    rows[3].isRead = false;
    rows[1].hasAttachments = true;
    rows[0].from = EmailAddress(u"Zoe"_s, u"zoe@example.com"_s);
    rows[1].subject = u"Zebra"_s;
    mail.fill(rows);
    mail.open();
    EXPECT_EQ(order(), u"1 2 3");
    clickHeader(MessageColumn::date);
    EXPECT_EQ(order(), u"4 3 2");
    clickHeader(MessageColumn::date);
    EXPECT_EQ(order(), u"1 2 3");
    clickHeader(MessageColumn::star);
    EXPECT_EQ(order(), u"3 1 2");
    clickHeader(MessageColumn::unread);
    EXPECT_EQ(order(), u"4 1 2");
    clickHeader(MessageColumn::attachments);
    EXPECT_EQ(order(), u"2 1 3");
    clickHeader(MessageColumn::from);
    EXPECT_EQ(order(), u"2 3 4");
    clickHeader(MessageColumn::from);
    EXPECT_EQ(order(), u"1 2 3");
    clickHeader(MessageColumn::subject);
    EXPECT_EQ(order(), u"1 3 4");
    EXPECT_EQ(mail.model().sortOrder(), (QList<SortComparator>{{SortField::subject, Qt::AscendingOrder}}));
}

TEST_F(MessageTableViewTest, SortsByNothingForColumnsWithoutAnOrder)
{
    mail.open();
    for (const QString& title : {u"Mailbox"_s, u"Size"_s, u"Unread"_s, u"Starred"_s, u"Attachments"_s})
        toggleColumn(title);
    ASSERT_TRUE(isShown(MessageColumn::size));
    clickHeader(MessageColumn::mailbox);
    clickHeader(MessageColumn::size);
    EXPECT_EQ(mail.model().sortOrder(), QList<SortComparator>{SortComparator{}});
    takeScreenshot(*mail.window, u"table-all-columns"_s);
}

TEST_F(MessageTableViewTest, ShowsAndHidesColumnsByItsMenu)
{
    mail.open();
    QMenu* const menu = columnMenu();
    ASSERT_TRUE(menu);
    QStringList titles;
    for (const QAction* const entry : menu->actions())
        titles.append(entry->text());
    EXPECT_EQ(titles.takeFirst(), u"A click on a title sorts this page");
    titles.removeFirst();
    EXPECT_EQ(titles.join(u' '), u"Unread Starred Attachments From Subject Date Mailbox Size");
    EXPECT_TRUE(action(*menu, u"Date"_s)->isChecked());
    EXPECT_FALSE(action(*menu, u"Size"_s)->isChecked());
    EXPECT_FALSE(action(*menu, u"Subject"_s)->isEnabled());
    menu->close();
    settle();
    toggleColumn(u"Size"_s);
    toggleColumn(u"Unread"_s);
    EXPECT_TRUE(isShown(MessageColumn::size));
    EXPECT_FALSE(isShown(MessageColumn::unread));
    EXPECT_EQ(table().horizontalHeader()->length(), table().viewport()->width());

    mail.window = std::make_unique<ContentView>(mail.model());
    EXPECT_TRUE(isShown(MessageColumn::size));
    EXPECT_FALSE(isShown(MessageColumn::unread));
}

TEST_F(MessageTableViewTest, TradesTheWidthOfAColumnWithTheSubjectAndKeepsIt)
{
    mail.open();
    QHeaderView& header = *table().horizontalHeader();
    const auto width = [&header](MessageColumn column) {
        return header.sectionSize(static_cast<int>(column));
    };
    const auto endOf = [&header](MessageColumn column) {
        const int section = static_cast<int>(column);
        return header.sectionViewportPosition(section) + header.sectionSize(section);
    };
    const auto drag = [&header](int from, int to) {
        QWidget* const place = header.viewport();
        QTest::mousePress(place, Qt::LeftButton, {}, QPoint(from, 8));
        for (int step = 1; step <= 4; ++step)
            QTest::mouseMove(place, QPoint(from + (to - from) * step / 4, 8));
        QTest::mouseRelease(place, Qt::LeftButton, {}, QPoint(to, 8));
    };
    const int dateBefore = width(MessageColumn::date);
    const int fromBefore = width(MessageColumn::from);
    drag(endOf(MessageColumn::from) - 1, endOf(MessageColumn::from) + 79);
    EXPECT_NEAR(width(MessageColumn::from), fromBefore + 80, 3);
    EXPECT_EQ(width(MessageColumn::date), dateBefore);
    EXPECT_EQ(endOf(MessageColumn::date), table().viewport()->width()) << "nothing is pushed out";
    drag(endOf(MessageColumn::subject) - 1, endOf(MessageColumn::subject) - 51);
    EXPECT_NEAR(width(MessageColumn::date), dateBefore + 50, 3);
    EXPECT_EQ(endOf(MessageColumn::date), table().viewport()->width());
    drag(endOf(MessageColumn::from) - 1, 5000);
    EXPECT_EQ(endOf(MessageColumn::date), table().viewport()->width()) << "however far it is dragged";
    drag(endOf(MessageColumn::from) - 1, endOf(MessageColumn::from) - 201);

    const int from = width(MessageColumn::from);
    const int date = width(MessageColumn::date);
    mail.window->resize(900, 600);
    mail.window->resize(ContentView::defaultSize);
    settle();
    EXPECT_EQ(width(MessageColumn::from), from) << "a narrow window for a while changes nothing";
    mail.window = std::make_unique<ContentView>(mail.model());
    mail.open();
    EXPECT_EQ(table().horizontalHeader()->sectionSize(static_cast<int>(MessageColumn::from)), from);
    EXPECT_EQ(table().horizontalHeader()->sectionSize(static_cast<int>(MessageColumn::date)), date);
}

TEST_F(MessageTableViewTest, TakesAStoredStateThatIsBrokenForNone)
{
    for (const QString& broken : {u"from,subject"_s, u"AAAA"_s, u"/////w=="_s, QString(100'000, u'A')}) {
        mail.fixture.defaults().set(DefaultsKey::tableColumns, broken);
        mail.window = std::make_unique<ContentView>(mail.model());
        mail.open();
        EXPECT_FALSE(isShown(MessageColumn::size));
        EXPECT_TRUE(isShown(MessageColumn::from));
        EXPECT_EQ(table().horizontalHeader()->length(), table().viewport()->width());
    }
}

// --- Selecting and opening

TEST_F(MessageTableViewTest, SelectsTheRowsThatAreClicked)
{
    mail.open();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, place(1, MessageColumn::subject));
    EXPECT_EQ(mail.model().selection(), QSet<QString>{u"2"_s});
    QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::ControlModifier, place(3, MessageColumn::from));
    EXPECT_EQ(mail.model().selection(), (QSet<QString>{u"2"_s, u"4"_s}));
    QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::ShiftModifier, place(5, MessageColumn::from));
    EXPECT_EQ(mail.model().selection(), (QSet<QString>{u"4"_s, u"5"_s, u"6"_s}));
    EXPECT_TRUE(mail.model().path().isEmpty());
}

TEST_F(MessageTableViewTest, KeepsTheSelectionOfTheModelAcrossARefresh)
{
    mail.open();
    mail.model().setSelection({u"2"_s, u"5"_s});
    QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 30);
    rows.removeAt(1);
    mail.fill(rows);
    mail.model().start(mail.model().load(0, true));
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(mail.model().selection(), QSet<QString>{u"5"_s});
    const QModelIndexList selected = table().selectionModel()->selectedRows();
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(table().rows().row(selected.first().row()).id, u"5");
}

TEST_F(MessageTableViewTest, OpensARowWithADoubleClick)
{
    mail.open();
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, place(2, MessageColumn::subject));
    EXPECT_EQ(mail.model().path(), QList<QString>{u"3"_s});
}

TEST_F(MessageTableViewTest, OpensNothingWithADoubleClickBelowTheRows)
{
    mail.fill(ModelFixture::rows(mail.fixture.account(), 1));
    mail.open();
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, QPoint(200, 400));
    EXPECT_TRUE(mail.model().path().isEmpty());
}

TEST_F(MessageTableViewTest, OpensTheSelectedRowWithReturn)
{
    mail.open();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        mail.model().setPath({});
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, place(4, MessageColumn::subject));
        QTest::keyClick(&table(), key);
        EXPECT_EQ(mail.model().path(), QList<QString>{u"5"_s});
    }
}

TEST_F(MessageTableViewTest, OpensNothingWithReturnWithoutASelection)
{
    mail.open();
    QTest::keyClick(&table(), Qt::Key_Return);
    EXPECT_TRUE(mail.model().path().isEmpty());
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, place(1, MessageColumn::subject));
    QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::ControlModifier,
                      place(1, MessageColumn::subject));
    EXPECT_TRUE(mail.model().selection().isEmpty());
    QTest::keyClick(&table(), Qt::Key_Return);
    EXPECT_TRUE(mail.model().path().isEmpty());
}

TEST_F(MessageTableViewTest, ReturnsToTheSameRowAndPlaceWithEscapeAndWithU)
{
    mail.fixture.defaults().set(DefaultsKey::pageSize, 100);
    mail.fill(ModelFixture::rows(mail.fixture.account(), 100));
    for (int id = 1; id <= 100; ++id)
        mail.fixture.provider().setRaw(QString::number(id), "Subject: x\r\n\r\nHello");
    mail.open();
    const WId window = mail.window->winId();
    QScrollBar& bar = *table().verticalScrollBar();
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_U}) {
        bar.setValue(bar.maximum() / 2);
        settle();
        const int scrolled = bar.value();
        ASSERT_GT(scrolled, 0);
        const int row = table().rowAt(table().viewport()->height() / 2);
        const QString id = table().rows().row(row).id;
        QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, place(row, MessageColumn::subject));
        ASSERT_EQ(mail.model().path(), QList<QString>{id});
        ASSERT_TRUE(waitUntil([this] { return mail.window->reader().rendered().has_value(); }));
        QTest::keyClick(&mail.window->reader(), key);
        ASSERT_TRUE(waitUntil([this] { return table().isVisible(); }));
        settle();
        EXPECT_EQ(bar.value(), scrolled);
        EXPECT_EQ(mail.model().selection(), QSet<QString>{id});
        EXPECT_EQ(table().currentIndex().row(), row);
        EXPECT_EQ(mail.window->winId(), window) << "the window was made anew";
        EXPECT_TRUE(table().hasFocus());
    }
}

TEST_F(MessageTableViewTest, KeepsItsPlaceWhenNewMailArrivesWhileAMessageIsOpen)
{
    mail.fixture.defaults().set(DefaultsKey::pageSize, 100);
    QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 100);
    mail.fill(rows);
    mail.fixture.provider().setRaw(u"50"_s, "Subject: x\r\n\r\nHello");
    mail.open();
    table().scrollTo(table().model()->index(49, 0), QAbstractItemView::PositionAtCenter);
    settle();
    const int before = table().visualRect(table().model()->index(49, 0)).top();
    mail.read(u"50"_s);
    MessageSummary fresh = ModelFixture::row(mail.fixture.account(), u"new"_s);
    rows.prepend(fresh);
    mail.fill(rows);
    mail.model().start(mail.model().load(0, true));
    ASSERT_TRUE(waitUntilLoaded());
    mail.model().setPath({});
    settle();
    const int row = table().rows().indexOf(u"50"_s);
    EXPECT_EQ(row, 50);
    EXPECT_EQ(table().visualRect(table().model()->index(row, 0)).top(), before);
    EXPECT_EQ(mail.model().selection(), QSet<QString>{u"50"_s});
}

// --- Pages

TEST_F(MessageTableViewTest, LeafsThroughThePages)
{
    mail.open();
    QLabel& text = mail.child<QLabel>("pagerText");
    EXPECT_EQ(text.text(), u"1–25 of 30");
    EXPECT_FALSE(button("pagerBack").isEnabled());
    EXPECT_TRUE(button("pagerForward").isEnabled());
    EXPECT_EQ(button("pagerBack").toolTip(), u"Newer (Ctrl+Alt+[)");
    EXPECT_EQ(button("pagerForward").toolTip(), u"Older (Ctrl+Alt+])");
    EXPECT_EQ(button("pagerJump").toolTip(), u"Jump to the newest or oldest messages");
    QTest::mouseClick(&button("pagerForward"), Qt::LeftButton);
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(text.text(), u"26–30 of 30");
    EXPECT_TRUE(button("pagerBack").isEnabled());
    EXPECT_FALSE(button("pagerForward").isEnabled());
    EXPECT_EQ(order(), u"26 27 28");
    QTest::mouseClick(&button("pagerBack"), Qt::LeftButton);
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(text.text(), u"1–25 of 30");
}

TEST_F(MessageTableViewTest, KeepsTheKeyboardAtThePagerWhileAPageLoads)
{
    mail.open();
    button("pagerForward").setFocus();
    mail.fixture.provider().hold(u"listMessages"_s);
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(waitUntil([this] { return mail.model().isLoading(); }));
    EXPECT_EQ(QApplication::focusWidget()->objectName(), u"pager") << "no key does anything meanwhile";
    mail.fixture.provider().stopHolding(u"listMessages"_s);
    mail.fixture.provider().completeAll();
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_FALSE(button("pagerForward").isEnabled()) << "the last page";
    EXPECT_EQ(QApplication::focusWidget(), &button("pagerBack"));
    pressKey(Qt::Key_Space);
    ASSERT_TRUE(waitUntil([this] { return mail.model().pageIndex() == 0; }) && waitUntilLoaded());
    EXPECT_EQ(QApplication::focusWidget(), &button("pagerForward"));
}

TEST_F(MessageTableViewTest, LeavesTheKeyboardAtThePagerWhateverACheckBrings)
{
    mail.open();
    const auto check = [this](int rows) {
        mail.fill(ModelFixture::rows(mail.fixture.account(), rows));
        mail.model().start(mail.model().refresh());
        return waitUntil([&] { return mail.model().messages().size() == std::min(rows, 25); }) &&
               waitUntilLoaded();
    };
    QWidget& pager = mail.child<QWidget>("pager");
    const auto hasRing = [&] {
        const QToolButton& forward = button("pagerForward");
        const QImage image = pager.grab().toImage();
        const qreal ratio = image.devicePixelRatio();
        const QPoint edge(forward.x() + forward.width() / 2, forward.y() + 1);
        return image.pixelColor((QPointF(edge) * ratio).toPoint()) == Style::shared().colors().accent;
    };
    button("pagerForward").setFocus();
    EXPECT_TRUE(hasRing());
    for (const int rows : {20, 0}) {
        ASSERT_TRUE(check(rows));
        EXPECT_FALSE(button("pagerForward").isEnabled());
        EXPECT_EQ(QApplication::focusWidget(), &pager) << rows;
        EXPECT_TRUE(hasRing()) << rows;
    }
    ASSERT_TRUE(check(30));
    EXPECT_EQ(QApplication::focusWidget(), &button("pagerForward"));
    mail.table().setFocus();
    EXPECT_FALSE(hasRing());
    ASSERT_TRUE(check(20));
    EXPECT_EQ(QApplication::focusWidget(), &mail.table());
}

TEST_F(MessageTableViewTest, JumpsToTheNewestAndOldestMessages)
{
    mail.open();
    const QList<QAction*> entries = button("pagerJump").menu()->actions();
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries[0]->text(), u"Newest");
    EXPECT_EQ(entries[1]->text(), u"Oldest");
    const auto choose = [this](const QString& title) {
        // The button's menu has an event loop of its own.
        QTimer::singleShot(0, &mail.table(), [title] { chooseByKeys({title}); });
        button("pagerJump").setFocus();
        pressKey(Qt::Key_Space);
    };
    choose(u"Oldest"_s);
    ASSERT_TRUE(waitUntil([this] { return mail.model().pageIndex() == 1; }));
    mail.fixture.provider().forgetCalls();
    choose(u"Newest"_s);
    ASSERT_TRUE(waitUntil([this] { return mail.model().pageIndex() == 0; }));
    EXPECT_EQ(listings(), QStringList(u"listMessages system:inbox offset=0 limit=25 refresh=true"_s));
}

TEST_F(MessageTableViewTest, ReadsOfManyWhereThereIsANextPageAndNoTotal)
{
    mail.fixture.provider().setTotalIsKnown(false);
    mail.open();
    EXPECT_EQ(mail.child<QLabel>("pagerText").text(), u"1–25 of many");
}

TEST_F(MessageTableViewTest, TurnsThePagerOffWhileAPageLoadsAndWithoutRows)
{
    mail.fixture.provider().hold(u"listMessages"_s);
    show(*mail.window);
    for (const char* const name : {"pagerJump", "pagerBack", "pagerForward"})
        EXPECT_FALSE(button(name).isEnabled());
    EXPECT_EQ(mail.child<QLabel>("pagerText").text(), u"");
    mail.fixture.provider().completeAll();
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_TRUE(button("pagerJump").isEnabled());
    QTest::mouseClick(&button("pagerForward"), Qt::LeftButton);
    for (const char* const name : {"pagerJump", "pagerBack", "pagerForward"})
        EXPECT_FALSE(button(name).isEnabled());
    EXPECT_EQ(table().rows().rowCount(), 25);
    mail.fixture.provider().completeAll();
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_TRUE(button("pagerBack").isEnabled());
}

// --- Search

TEST_F(MessageTableViewTest, SearchesWhenTheFieldIsSubmitted)
{
    mail.fixture.provider().setListing(MailboxRef::system(Mailbox::inbox),
                                       ModelFixture::rows(mail.fixture.account(), 2), u"needle"_s);
    mail.open();
    mail.fixture.provider().forgetCalls();
    EXPECT_EQ(search().placeholderText(), u"Search");
    QTest::keyClicks(&search(), u"needle"_s);
    EXPECT_EQ(mail.model().searchText(), u"needle");
    settle();
    EXPECT_TRUE(listings().isEmpty());
    QTest::keyClick(&search(), Qt::Key_Return);
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(listings(),
              QStringList(u"listMessages system:inbox offset=0 limit=25 refresh=true query=needle"_s));
    EXPECT_EQ(table().rows().rowCount(), 2);
    takeScreenshot(*mail.window, u"table-search"_s);
}

TEST_F(MessageTableViewTest, ShowsEverythingAgainWhenTheFieldBecomesEmpty)
{
    mail.open();
    QTest::keyClicks(&search(), u"ab"_s);
    QTest::keyClick(&search(), Qt::Key_Return);
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(table().rows().rowCount(), 0);
    mail.fixture.provider().forgetCalls();
    QTest::keyClick(&search(), Qt::Key_Backspace);
    EXPECT_TRUE(listings().isEmpty());
    QTest::keyClick(&search(), Qt::Key_Backspace);
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(listings(), QStringList(u"listMessages system:inbox offset=0 limit=25 refresh=true"_s));
    EXPECT_EQ(table().rows().rowCount(), 25);
}

TEST_F(MessageTableViewTest, ClearsTheSearchWithTheButtonOfTheField)
{
    mail.open();
    QTest::keyClicks(&search(), u"ab"_s);
    QTest::keyClick(&search(), Qt::Key_Return);
    ASSERT_TRUE(waitUntilLoaded());
    const auto buttons = search().findChildren<QToolButton*>();
    QToolButton* const clear =
        *std::ranges::find_if(buttons, [](const QToolButton* each) { return each->toolTip() == u"Clear"; });
    ASSERT_TRUE(clear->isVisible());
    QTest::mouseClick(clear, Qt::LeftButton);
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(search().text(), u"");
    EXPECT_FALSE(clear->isVisible());
    EXPECT_EQ(table().rows().rowCount(), 25);
}

TEST_F(MessageTableViewTest, ShowsTheSearchThatTheModelMakes)
{
    mail.open();
    mail.model().search(*mail.model().message(u"1"_s));
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(search().text(), u"from:ada@example.com");
}

TEST_F(MessageTableViewTest, FocusesTheFieldWithTheFindShortcut)
{
    mail.open();
    QTest::keyClick(&table(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([this] { return search().hasFocus(); }));
}

// --- Empty states

TEST_F(MessageTableViewTest, SaysThatThereAreNoMessages)
{
    mail.fill({});
    mail.open();
    takeScreenshot(*mail.window, u"table-empty"_s);
    EXPECT_EQ(table().emptyState()->title, u"No Messages");
    EXPECT_EQ(table().emptyState()->symbol, Symbol::tray);
}

TEST_F(MessageTableViewTest, SaysThatASearchFoundNothing)
{
    mail.open();
    QTest::keyClicks(&search(), u" nothing "_s);
    QTest::keyClick(&search(), Qt::Key_Return);
    ASSERT_TRUE(waitUntilLoaded());
    ASSERT_TRUE(table().emptyState());
    EXPECT_EQ(table().emptyState()->title, u"No Results for “nothing”");
    takeScreenshot(*mail.window, u"table-nothing-found"_s);
}

TEST_F(MessageTableViewTest, ShowsNoEmptyStateWhileAPageLoads)
{
    mail.fill({});
    mail.fixture.provider().hold(u"listMessages"_s);
    show(*mail.window);
    EXPECT_TRUE(mail.model().isLoading());
    EXPECT_FALSE(table().emptyState());
    EXPECT_TRUE(grab(*mail.window).save(QStringLiteral(SCREENSHOTS) + u"/table-loading.png"_s));
    mail.fixture.provider().completeAll();
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_TRUE(table().emptyState());
}

TEST_F(MessageTableViewTest, ShowsNoEmptyStateWithRows)
{
    mail.open();
    EXPECT_FALSE(table().emptyState());
}

} // namespace
} // namespace Larkhaven
