#include "Gestures.h"
#include "UITestSupport.h"
#include "support/Contrast.h"
#include "support/QtPrinters.h"
#include "views/style/AccentColors.h"
#include "views/style/FlatButton.h"
#include "views/style/FocusedWheel.h"
#include "views/style/Picker.h"
#include "views/style/ToolTips.h"

#include <QApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSpinBox>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class ControlLooksTest : public testing::Test {
protected:
    ControlLooksTest()
    {
        Style::shared().setScheme(Style::Scheme::light);
        Style::shared().setTextSize(Style::standardTextSize);
        Style::shared().applyToApplication();
    }
    ~ControlLooksTest() override { QToolTip::hideText(); }

    static QWidget* toolTip()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (widget->inherits("QTipLabel") && widget->isVisible())
                return widget;
        }
        return nullptr;
    }
    static QWidget* showToolTip(QWidget& widget)
    {
        hover(widget);
        EXPECT_TRUE(waitUntil([] { return toolTip(); }));
        return toolTip();
    }

    QWidget window;
};

TEST_F(ControlLooksTest, AScrollBarIsARoundedHandleOfEightPixelsWithoutArrows)
{
    auto* const layout = new QVBoxLayout(&window);
    auto* const text = new QPlainTextEdit(u"a line\n"_s.repeated(200));
    layout->addWidget(text);
    window.resize(300, 300);
    show(window);
    QScrollBar& bar = *text->verticalScrollBar();
    ASSERT_TRUE(waitUntilDrawn(window));
    EXPECT_EQ(bar.width(), 8);
    const Style::Colors& colors = Style::shared().colors();
    QColor tint = colors.secondary;
    tint.setAlphaF(0.4F);
    for (const QColor& ground : {colors.surface, colors.window}) {
        if (pixel(bar, {4, bar.height() - 20}) == ground) {
            const QColor wanted = AccentColors::over(tint, ground);
            // From the first pixel on: no arrow stands before it.
            for (const QPoint& inside : {QPoint(4, 1), QPoint(4, 12), QPoint(0, 12), QPoint(7, 12)})
                EXPECT_LE(std::abs(pixel(bar, inside).red() - wanted.red()), 2) << inside.x() << inside.y();
            EXPECT_LE(std::abs(pixel(bar, {0, 0}).red() - ground.red()), 10) << "the corner isn't round";
            return;
        }
    }
    FAIL() << "the bar stands on " << pixel(bar, {4, bar.height() - 20}).name().toStdString();
}

TEST_F(ControlLooksTest, ATooltipHasFourAndEightPixelsOfPadding)
{
    FlatButton button(Symbol::archivebox, u"Archive the message"_s);
    show(button);
    const QWidget& shown = *showToolTip(button);
    const QFontMetrics metrics(shown.font());
    const int border = 1;
    EXPECT_NEAR(shown.width() - metrics.horizontalAdvance(u"Archive the message"_s), 2 * (8 + border), 2);
    EXPECT_NEAR(shown.height() - metrics.height(), 2 * (4 + border), 2);
    // And the text stands in the middle of it.
    ASSERT_TRUE(waitUntilDrawn(shown));
    const QImage image = grab(shown);
    int left = image.width();
    int right = 0;
    for (int y = 3; y < image.height() - 3; ++y) {
        for (int x = 3; x < image.width() - 3; ++x) {
            if (contrast(image.pixelColor(x, y), Style::shared().colors().surface) > 3) {
                left = std::min(left, x);
                right = std::max(right, x);
            }
        }
    }
    EXPECT_NEAR(left, image.width() - 1 - right, 3);
}

TEST_F(ControlLooksTest, ATooltipShowsTheChordInSecondaryBehindTheText)
{
    const QString secondary = Style::shared().colors().secondary.name();
    const QString shown = ToolTips::shown(u"Archive (Ctrl+Alt+A)"_s);
    EXPECT_TRUE(
        shown.contains(u"Archive&nbsp;&nbsp;<span style='color: %1'>Ctrl+Alt+A</span>"_s.arg(secondary)))
        << shown.toStdString();
    // What only looks like one stays.
    EXPECT_EQ(ToolTips::shown(u"Default Size (100%)"_s), u"Default Size (100%)");
    EXPECT_EQ(ToolTips::shown(u"(no subject)"_s), u"(no subject)");
    // No part of a text is formatting.
    EXPECT_TRUE(ToolTips::shown(u"<b>x</b> (Ctrl+B)"_s).contains(u"&lt;b&gt;x&lt;/b&gt;&nbsp;"_s));
    EXPECT_FALSE(ToolTips::shown(u"<b>x</b>"_s).contains(u"<b>"_s));
}

TEST_F(ControlLooksTest, ATooltipHasTheColoursOfTheMoment)
{
    FlatButton button(Symbol::archivebox, u"Archive"_s, QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_A));
    EXPECT_EQ(button.toolTip(), u"Archive (Ctrl+Alt+A)");
    show(button);
    Style::shared().setScheme(Style::Scheme::dark);
    const auto* const shown = qobject_cast<QLabel*>(showToolTip(button));
    ASSERT_TRUE(shown);
    EXPECT_TRUE(shown->text().contains(Style::shared().colors().secondary.name()))
        << shown->text().toStdString();
    EXPECT_TRUE(waitForColor(*shown, {3, shown->height() / 2}, Style::shared().colors().surface));
    Style::shared().setScheme(Style::Scheme::light);
}

TEST_F(ControlLooksTest, AWheelThatPassesOverAControlChangesNothing)
{
    auto* const layout = new QVBoxLayout(&window);
    auto* const number = new FocusedWheel<QSpinBox>;
    number->setValue(5);
    auto* const picker = new Picker;
    picker->addItems({u"one"_s, u"two"_s, u"three"_s});
    picker->setCurrentIndex(1);
    auto* const bar = new QScrollBar(Qt::Horizontal);
    bar->setValue(50);
    auto* const other = new FlatButton(Symbol::plus, u"Other"_s);
    layout->addWidget(number);
    layout->addWidget(picker);
    layout->addWidget(bar);
    layout->addWidget(other);
    show(window);
    other->setFocus();
    // What comes from the display comes in its order: the last of them says that those before it have come.
    turnWheel(*number);
    turnWheel(*picker);
    turnWheel(*bar);
    EXPECT_TRUE(waitUntil([&] { return bar->value() < 50; }));
    EXPECT_EQ(number->value(), 5);
    EXPECT_EQ(picker->currentIndex(), 1);
    EXPECT_TRUE(other->hasFocus());
    number->setFocus();
    turnWheel(*number);
    EXPECT_TRUE(waitUntil([&] { return number->value() == 6; }));
    picker->setFocus();
    turnWheel(*picker);
    EXPECT_TRUE(waitUntil([&] { return picker->currentIndex() == 0; }));
}

} // namespace
} // namespace Larkhaven
