#include "UITestSupport.h"
#include "support/QtPrinters.h"
#include "views/list/MessageColumns.h"
#include "views/list/MessageTableView.h"
#include "views/main/SearchField.h"
#include "views/main/SidebarPane.h"
#include "views/main/SidebarView.h"
#include "views/style/EmptyState.h"
#include "views/style/FlowLayout.h"

#include <QApplication>
#include <QHeaderView>
#include <QPainter>
#include <QSplitter>
#include <QToolButton>

using namespace Qt::StringLiterals;

// What paints itself, in both directions and in large text.

namespace Larkhaven {
namespace {

/// The columns of pixels between which something of a kind is drawn; empty with `first` behind `last`.
struct Extent {
    int first = 1'000'000;
    int last = -1;

    void take(int x)
    {
        first = std::min(first, x);
        last = std::max(last, x);
    }
};

class DirectionTest : public testing::TestWithParam<Qt::LayoutDirection> {
protected:
    DirectionTest()
    {
        QApplication::setLayoutDirection(GetParam());
        mail.fixture.provider().setCounts({{u"system:inbox"_s, 7}});
        QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(), 3);
        for (MessageSummary& row : rows) {
            row.subject = u"Subject"_s;
            row.snippet = u"and how it goes on"_s;
        }
        mail.fill(rows);
        mail.open();
        settle();
    }
    ~DirectionTest() override
    {
        QApplication::setLayoutDirection(Qt::LeftToRight);
        Style::shared().setTextSize(Style::standardTextSize);
    }

    static bool isReversed() { return GetParam() == Qt::RightToLeft; }
    QImage cell(const QAbstractItemView& view, const QModelIndex& index) const
    {
        EXPECT_TRUE(waitUntilDrawn(*mail.window));
        return grab(*view.viewport()).copy(view.visualRect(index).adjusted(0, 1, 0, -1));
    }

    MailWindow mail;
};

TEST_P(DirectionTest, APreviewStandsBehindItsSubjectAndNotOverIt)
{
    const QModelIndex index = mail.table().model()->index(1, static_cast<int>(MessageColumn::subject));
    const QImage image = cell(mail.table(), index);
    // The subject is darker than anything in secondary.
    const int darkest = Style::shared().colors().secondary.red() - 24;
    const int ground = Style::shared().colors().surface.red();
    Extent subject;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (image.pixelColor(x, y).red() < darkest)
                subject.take(x);
        }
    }
    ASSERT_LE(subject.first, subject.last);
    const int begin = isReversed() ? image.width() - 1 - subject.last : subject.first;
    EXPECT_LT(begin, 2 * Style::smallPadding);
    Extent preview;
    for (int x = 0; x < image.width(); ++x) {
        const bool isOfSubject = x >= subject.first - 1 && x <= subject.last + 1;
        for (int y = 0; !isOfSubject && y < image.height(); ++y) {
            if (image.pixelColor(x, y).red() < ground - 60)
                preview.take(x);
        }
    }
    ASSERT_LE(preview.first, preview.last);
    constexpr int gap = 4;
    if (isReversed())
        EXPECT_LT(preview.last, subject.first - gap);
    else
        EXPECT_GT(preview.first, subject.last + gap);
    // All of "Subject" is there: nothing has been painted over it.
    const int whole = QFontMetrics(Style::shared().font(Style::Type::body)).horizontalAdvance(u"Subject"_s);
    EXPECT_NEAR(subject.last - subject.first, whole, 6);
}

TEST_P(DirectionTest, AMailboxHasItsSymbolWhereTheRowBeginsAndItsCountAtTheEnd)
{
    SidebarView& sidebar = mail.window->sidebar();
    ASSERT_TRUE(waitUntil([this] { return !mail.model().counts(mail.fixture.account().id).isEmpty(); }));
    const QModelIndex inbox = sidebar.model()->index(0, 0, sidebar.model()->index(0, 0));
    const QImage image = cell(sidebar, inbox);
    const auto inkWithin = [&image](int from, int to) {
        int ink = 0;
        const QColor ground = image.pixelColor(image.width() / 2, 3);
        for (int x = std::min(from, to); x < std::max(from, to); ++x) {
            for (int y = 4; y < image.height() - 4; ++y)
                ink += std::abs(image.pixelColor(x, y).red() - ground.red()) > 60;
        }
        return ink;
    };
    const auto place = [&image](int x) { return isReversed() ? image.width() - x : x; };
    const int left = 2 * Style::smallPadding;
    EXPECT_GT(inkWithin(place(left), place(left + Style::smallIcon)), 20) << "no symbol";
    EXPECT_GT(inkWithin(place(left + Style::smallIcon + Style::smallPadding), place(left + 60)), 20)
        << "no name";
    EXPECT_GT(inkWithin(place(image.width() - 4 * Style::smallPadding), place(image.width() - left)), 4)
        << "no count";
}

TEST_P(DirectionTest, TheSidebarGrowsWithTheText)
{
    const auto* const pane = mail.window->findChild<SidebarPane*>();
    EXPECT_EQ(pane->width(), SidebarView::idealColumnWidth);
    Style::shared().setTextSize(28);
    settle();
    const int all = mail.window->findChild<QSplitter*>()->width();
    EXPECT_NEAR(pane->width(), std::min(210 * 28 / 13, all / 3), 2);
    mail.window->resize(720, 480);
    settle();
    EXPECT_EQ(mail.window->size(), QSize(720, 480));
    EXPECT_GE(pane->width(), 240);
    mail.window->resize(1180, 720);
    Style::shared().setTextSize(Style::standardTextSize);
    settle();
    EXPECT_EQ(pane->width(), SidebarView::idealColumnWidth);
}

TEST_P(DirectionTest, WhatFlowsBeginsWhereALineBegins)
{
    QWidget strip;
    new FlowLayout(Style::grid, &strip);
    QList<QWidget*> items;
    for (int index = 0; index < 3; ++index) {
        items.append(new QWidget);
        items.last()->setFixedSize(40, 20);
        strip.layout()->addWidget(items.last());
    }
    strip.resize(100, 60);
    show(strip);
    const auto places = [&items] {
        QList<QPoint> found;
        for (const QWidget* const item : items)
            found.append(item->pos());
        return found;
    };
    const int first = isReversed() ? 60 : 0;
    const int second = isReversed() ? 60 - 40 - Style::grid : 40 + Style::grid;
    EXPECT_EQ(places(), (QList<QPoint>{{first, 0}, {second, 0}, {first, 20 + Style::grid}}));
}

TEST_P(DirectionTest, ATitleThatDoesNotFitKeepsWithinItsColumn)
{
    Style::shared().setTextSize(28);
    mail.window->resize(720, 480);
    settle();
    QHeaderView& header = *mail.table().horizontalHeader();
    const int section = static_cast<int>(MessageColumn::subject);
    const int width = header.sectionSize(section);
    QFont font = Style::shared().font(Style::Type::caption, Style::Weight::regular);
    ASSERT_LT(width - 2 * Style::smallPadding, QFontMetrics(font).horizontalAdvance(u"Subject"_s));
    EXPECT_TRUE(waitUntilDrawn(*mail.window));
    const QImage image = grab(*header.viewport());
    const int left = header.sectionViewportPosition(section);
    const QColor ground = Style::shared().colors().surface;
    int ink = 0;
    for (int x = left; x < left + width; ++x) {
        const bool isPadding = x < left + Style::smallPadding || x >= left + width - Style::smallPadding;
        for (int y = 0; y < image.height() - 2; ++y) {
            if (image.pixelColor(x, y) == ground)
                continue;
            ++ink;
            EXPECT_FALSE(isPadding) << x - left << " of " << width;
        }
    }
    EXPECT_GT(ink, 20) << "some of it is there";
}

TEST_P(DirectionTest, TheSearchFieldStaysWholeWhereTheToolbarIsTooNarrowForAll)
{
    const auto* const search = mail.window->findChild<SearchField*>();
    const auto* const star = mail.window->findChild<QToolButton*>(u"star"_s);
    const auto* const getMail = mail.window->findChild<QToolButton*>(u"getMail"_s);
    EXPECT_TRUE(star->isVisible());
    Style::shared().setTextSize(28);
    mail.window->resize(720, 480);
    settle();
    const QRect field(search->mapTo(mail.window.get(), QPoint()), search->size());
    EXPECT_TRUE(mail.window->rect().contains(field));
    EXPECT_GE(field.width(), search->minimumWidth());
    EXPECT_TRUE(getMail->isVisible());
    EXPECT_FALSE(star->isVisible()) << "the last one goes first";
    takeScreenshot(*mail.window, isReversed() ? u"narrow-right-to-left"_s : u"narrow"_s);
    mail.window->resize(1180, 720);
    Style::shared().setTextSize(Style::standardTextSize);
    settle();
    EXPECT_TRUE(star->isVisible());
}

TEST_P(DirectionTest, TheRowsOfASkeletonBeginWhereThoseOfMessagesDo)
{
    MailWindow loading;
    loading.fixture.provider().hold(u"listMessages"_s);
    show(*loading.window);
    ASSERT_TRUE(waitUntil([&loading] { return loading.model().isLoading(); }));
    settle();
    const MessageTable& table = loading.table();
    const int section = static_cast<int>(MessageColumn::subject);
    const int left = table.columnViewportPosition(section);
    const int right = left + table.columnWidth(section) - 1;
    const int middle = Style::shared().scaled(2.3) / 2;
    const QImage image = grab(*table.viewport());
    const QColor ground = Style::shared().colors().surface;
    Extent bar;
    for (int x = left; x <= right; ++x) {
        if (image.pixelColor(x, middle) != ground)
            bar.take(x);
    }
    ASSERT_LE(bar.first, bar.last);
    EXPECT_NEAR(isReversed() ? right - bar.last : bar.first - left, Style::smallPadding, 2);
}

TEST(EmptyStateTest, PaintsEachTextInItsOwnDirection)
{
    const EmptyState state{Symbol::warning, u"A title."_s, u"An explanation."_s};
    const auto painted = [&state](Qt::LayoutDirection direction) {
        QImage image(400, 200, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.setLayoutDirection(direction);
        EmptyState::paint(painter, image.rect(), state);
        return image;
    };
    EXPECT_EQ(painted(Qt::RightToLeft), painted(Qt::LeftToRight));
}

INSTANTIATE_TEST_SUITE_P(Directions, DirectionTest, testing::Values(Qt::LeftToRight, Qt::RightToLeft),
                         [](const auto& direction) {
                             return direction.param == Qt::RightToLeft ? "RightToLeft" : "LeftToRight";
                         });

} // namespace
} // namespace Larkhaven
