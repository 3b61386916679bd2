#include "ComposeSupport.h"
#include "support/Contrast.h"
#include "support/QtPrinters.h"
#include "views/style/AttachmentChip.h"
#include "views/style/FlatButton.h"

#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QScreen>
#include <QTest>
#include <QTextBlock>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The highest contrast of any pixel of the widget on the screen with the colour that most of them have.
double contrastOf(const QWidget& widget)
{
    const QImage image = grab(widget);
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y)];
    }
    const auto ground = std::max_element(counts.keyValueBegin(), counts.keyValueEnd(),
                                         [](const auto& a, const auto& b) { return a.second < b.second; });
    double best = 1;
    for (auto count = counts.keyBegin(); count != counts.keyEnd(); ++count)
        best = std::max(best, contrast(QColor(*count), QColor(ground->first)));
    return best;
}

class ComposeLooksTest : public ComposeWindowTest {
protected:
    ComposeDraft sample() const
    {
        ComposeDraft draft = addressed();
        draft.cc = u"grace@example.com"_s;
        draft.isRichText = true;
        draft.initialHTML = u"<div>The text <span style='font-size:26px'>large</span> again</div>"_s;
        draft.attachments = {{QUuid::createUuid(), u"a report.txt"_s, u"text/plain"_s, "x"}};
        return draft;
    }

    static void expectReadable(ComposeWindow& window, double least)
    {
        text(window).setFocus();
        settle();
        ASSERT_TRUE(waitUntilDrawn(window));
        const auto expect = [least](const QWidget& widget, const char* name) {
            EXPECT_GE(contrastOf(widget), least) << name;
        };
        for (const char* const name : {"to", "cc"})
            expect(field(window, name).line(), name);
        expect(child<QLineEdit>(window, "subject"), "subject");
        expect(*text(window).viewport(), "text");
        for (const char* const name : {"send", "attach", "saveDraft", "plainText", "richText", "showBcc"})
            expect(child<QWidget>(window, name), name);
        expect(*window.findChild<AttachmentChip*>(), "chip");
        // The ground follows as well: the form is of one colour with its text.
        const QColor ground = Style::shared().colors().surface;
        EXPECT_EQ(pixel(*text(window).viewport(), {2, text(window).viewport()->height() - 3}), ground);
        EXPECT_EQ(pixel(field(window, "cc").line(), {field(window, "cc").line().width() - 3, 3}), ground);
    }

    ~ComposeLooksTest() override
    {
        Style::shared().setHighContrast(false);
        Style::shared().setScheme(Style::Scheme::light);
        Style::shared().setTextSize(Style::standardTextSize);
    }
};

TEST_F(ComposeLooksTest, AnOpenWindowStaysReadableThroughEachChangeOfTheScheme)
{
    ComposeWindow& window = open(sample());
    constexpr double leastOfTexts = 4.5;
    expectReadable(window, leastOfTexts);
    for (const Style::Scheme scheme : {Style::Scheme::dark, Style::Scheme::light, Style::Scheme::dark}) {
        SCOPED_TRACE(scheme == Style::Scheme::dark ? "dark" : "light");
        Style::shared().setScheme(scheme);
        expectReadable(window, leastOfTexts);
    }
    takeScreenshot(window, u"compose-turned-dark"_s);
}

TEST_F(ComposeLooksTest, HighContrastHasMoreContrastThanEverythingElse)
{
    ComposeWindow& window = open(sample());
    constexpr double leastOfHighContrast = 7;
    for (const Style::Scheme scheme : {Style::Scheme::light, Style::Scheme::dark}) {
        SCOPED_TRACE(scheme == Style::Scheme::dark ? "dark" : "light");
        Style::shared().setScheme(scheme);
        Style::shared().setHighContrast(true);
        expectReadable(window, leastOfHighContrast);
        takeScreenshot(window, scheme == Style::Scheme::dark ? u"compose-contrast-dark"_s
                                                             : u"compose-contrast-light"_s);
        Style::shared().setHighContrast(false);
    }
}

TEST_F(ComposeLooksTest, ATextThatIsTypedAfterTheChangeIsReadableToo)
{
    ComposeWindow& window = open(draft());
    Style::shared().setScheme(Style::Scheme::dark);
    text(window).setFocus();
    QTest::keyClicks(&text(window), u"Typed in the dark"_s);
    ASSERT_TRUE(waitUntilDrawn(window));
    EXPECT_GE(contrastOf(*text(window).viewport()), 4.5);
}

TEST_F(ComposeLooksTest, RunsWithASizeOfTheirOwnFollowTheTextSize)
{
    ComposeWindow& window = open(sample());
    const QString html = *window.view().draft().initialHTML;
    const auto heightOfLine = [&] { return text(window).cursorRect().height(); };
    const auto heightAt = [&](int position) {
        QTextCursor cursor(text(window).document());
        cursor.setPosition(position);
        text(window).setTextCursor(cursor);
        const QTextBlock block = cursor.block();
        for (const QTextLayout::FormatRange& range : block.layout()->formats()) {
            if (position >= range.start && position < range.start + range.length &&
                range.format.hasProperty(QTextFormat::FontPixelSize))
                return range.format.intProperty(QTextFormat::FontPixelSize);
        }
        return QTextCursor(text(window).document()).charFormat().font().pixelSize();
    };
    settle();
    const int before = heightOfLine();
    Style::shared().setTextSize(20);
    settle();
    EXPECT_EQ(heightAt(12), 40);
    EXPECT_GT(heightOfLine(), before);
    // It is no change of the text.
    EXPECT_FALSE(window.view().hasUnsavedChanges());
    EXPECT_FALSE(text(window).document()->isUndoAvailable());
    EXPECT_EQ(*window.view().draft().initialHTML, html);
    Style::shared().setTextSize(Style::standardTextSize);
    EXPECT_EQ(*window.view().draft().initialHTML, html);
}

TEST_F(ComposeLooksTest, SendIsTheFilledButtonAtTheLeft)
{
    ComposeWindow& window = open(addressed());
    const FlatButton& send = child<FlatButton>(window, "send");
    for (const char* const name : {"attach", "saveDraft", "plainText", "richText", "showBcc"})
        EXPECT_LT(send.mapTo(&window, QPoint(send.width(), 0)).x(),
                  child<QWidget>(window, name).mapTo(&window, QPoint(0, 0)).x())
            << name;
    text(window).setFocus();
    ASSERT_TRUE(waitUntilDrawn(window));
    EXPECT_EQ(pixel(send, {send.width() / 2, 4}), Style::shared().colors().accent);
    EXPECT_EQ(pixel(child<QWidget>(window, "attach"), {6, 6}), Style::shared().colors().window);
}

TEST_F(ComposeLooksTest, DisabledCommandsLookDisabled)
{
    fixture.provider().hold(u"send"_s);
    QPointer<ComposeWindow> window = &open(addressed());
    text(*window).setFocus();
    ASSERT_TRUE(waitUntilDrawn(*window));
    QHash<QString, double> before;
    const QStringList commands{u"send"_s, u"attach"_s, u"saveDraft"_s, u"richText"_s, u"showBcc"_s};
    for (const QString& name : commands)
        before[name] = contrastOf(child<QWidget>(*window, name.toLatin1().constData()));
    window->view().send();
    settle();
    for (const QString& name : commands)
        EXPECT_LT(contrastOf(child<QWidget>(*window, name.toLatin1().constData())), before[name] * 0.6)
            << name.toStdString();
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return !window; }));
}

TEST_F(ComposeLooksTest, TheCrossStandsWithinItsChipAtEachTextSize)
{
    for (const int size : {10, 13, 28}) {
        Style::shared().setTextSize(size);
        ComposeWindow& window = open(sample());
        settle();
        const auto& chip = *window.findChild<AttachmentChip*>();
        const FlatButton& remove = child<FlatButton>(window, "removeAttachment");
        const QRect within(remove.mapTo(&window, QPoint(0, 0)), remove.size());
        const QRect around(chip.mapTo(&window, QPoint(0, 0)), chip.size());
        EXPECT_TRUE(around.contains(within)) << size;
        EXPECT_GT(within.left(), around.center().x()) << size;
        // And beside the size, which keeps its own room.
        const AttachmentChip bare(u"a report.txt"_s, u"text/plain"_s, 1);
        EXPECT_EQ(chip.sizeHint().width(), bare.sizeHint().width() + remove.minimumWidth() - Style::grid);
    }
}

TEST_F(ComposeLooksTest, TheFocusIsARingOfTwoPixels)
{
    ComposeWindow& window = open(sample());
    const QColor accent = Style::shared().colors().accent;
    FlatButton& attach = child<FlatButton>(window, "attach");
    attach.setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(waitUntilDrawn(window));
    for (const int depth : {0, 1})
        EXPECT_EQ(pixel(attach, {attach.width() / 2, depth}), accent) << depth;
    EXPECT_NE(pixel(attach, {attach.width() / 2, 3}), accent);
    FlatButton& remove = child<FlatButton>(window, "removeAttachment");
    remove.setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(waitUntilDrawn(window));
    for (const int depth : {0, 1})
        EXPECT_EQ(pixel(remove, {remove.width() / 2, depth}), accent) << depth;
    // A field shows it under its text, where it has no frame.
    AddressField& to = field(window, "to");
    const QPoint underText(to.width() / 2, to.height() - 1);
    EXPECT_NE(pixel(to, underText), accent);
    to.line().setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(waitUntil([&] { return pixel(to, underText) == accent; }));
    EXPECT_EQ(pixel(to, underText - QPoint(0, 1)), accent);
}

// --- Spelling

TEST_F(ComposeLooksTest, ALanguageWithoutADictionaryIsToldOfOnce)
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::Icelandic, QLocale::Iceland));
    const auto notices = [](ComposeWindow& window) {
        const auto& label = child<QLabel>(window, "notices");
        return label.isVisible() ? label.text() : QString();
    };
    ComposeWindow& first = open();
    EXPECT_TRUE(waitUntil([&] { return !notices(first).isEmpty(); }));
    EXPECT_EQ(notices(first), u"There is no dictionary for íslenska, so its spelling isn’t checked."_s);
    EXPECT_EQ(notices(open()), QString());
    QLocale::setDefault(before);
}

// --- Its place

TEST_F(ComposeLooksTest, ItOpensAsLargeAsTheLastOneWas)
{
    ComposeWindow& window = open();
    window.resize(720, 470);
    settle();
    window.close();
    EXPECT_EQ(fixture.defaults().text(DefaultsKey::composeWindowSize), u"720x470"_s);
    EXPECT_EQ(open().size(), QSize(720, 470));
}

class ComposePlaceTest : public ComposeWindowTest {};

TEST_F(ComposePlaceTest, ItFitsOnTheScreen)
{
    fixture.defaults().set(DefaultsKey::composeWindowSize, u"5000x5000"_s);
    const ComposeWindow& window = open(addressed());
    const QSize available = window.screen()->availableGeometry().size();
    EXPECT_LT(window.width(), available.width());
    EXPECT_LT(window.height(), available.height());
}

} // namespace
} // namespace Larkhaven
