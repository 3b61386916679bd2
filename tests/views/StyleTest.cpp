#include "views/style/Style.h"

#include "support/Contrast.h"
#include "support/QtPrinters.h"
#include "views/style/SegmentedPicker.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPalette>
#include <QSignalSpy>

#include <cmath>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A translucent colour over an opaque one.
QColor over(const QColor& tint, const QColor& ground)
{
    const auto mix = [&](float top, float bottom) {
        return top * tint.alphaF() + bottom * (1 - tint.alphaF());
    };
    return QColor::fromRgbF(mix(tint.redF(), ground.redF()), mix(tint.greenF(), ground.greenF()),
                            mix(tint.blueF(), ground.blueF()));
}

class StyleTest : public testing::TestWithParam<Style::Scheme> {
protected:
    StyleTest()
    {
        style.setScheme(GetParam());
        style.applyToApplication();
    }
    ~StyleTest() override
    {
        style.setScheme(Style::Scheme::light);
        style.setTextSize(Style::standardTextSize);
        style.setAccent(std::nullopt);
    }

    Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
};

struct Pair {
    const char* name;
    QColor front;
    QColor ground;
};

void expectContrast(const QList<Pair>& pairs, double least)
{
    for (const Pair& pair : pairs)
        EXPECT_GE(contrast(pair.front, pair.ground), least) << pair.name;
}

void expectReadable(const Style::Colors& colors)
{
    const QColor selected = over(colors.selected, colors.surface);
    const QColor hover = over(colors.hover, colors.surface);
    constexpr double leastOfTexts = 4.5;
    expectContrast({{"text on the window", colors.text, colors.window},
                    {"text on the surface", colors.text, colors.surface},
                    {"text of a selected row", colors.text, selected},
                    {"text of a row under the mouse", colors.text, hover},
                    {"text of a mailbox under the mouse", colors.text, over(colors.hover, colors.window)},
                    {"secondary text on the window", colors.secondary, colors.window},
                    {"secondary text on the surface", colors.secondary, colors.surface},
                    {"secondary text of a selected row", colors.secondary, selected},
                    {"secondary text of a row under the mouse", colors.secondary, hover},
                    {"selected mailbox", colors.onAccent, colors.accent},
                    {"link on the window", colors.accent, colors.window},
                    {"link on the surface", colors.accent, colors.surface},
                    {"warning", colors.warningText, colors.warningBackground},
                    {"pressed button of a warning", colors.warningBackground, colors.warningText},
                    {"danger on the window", colors.danger, colors.window},
                    {"danger on the surface", colors.danger, colors.surface}},
                   leastOfTexts);
}

void expectVisible(const Style::Colors& colors)
{
    const QColor selected = over(colors.selected, colors.surface);
    const QColor hover = over(colors.hover, colors.surface);
    constexpr double leastOfImages = 3.0;
    expectContrast({{"dot on the surface", colors.accent, colors.surface},
                    {"dot of a selected row", colors.accent, selected},
                    {"dot of a row under the mouse", colors.accent, hover},
                    {"edge of a selected row", colors.accent, selected},
                    {"star on the surface", colors.starEdge, colors.surface},
                    {"star of a selected row", colors.starEdge, selected},
                    {"star of a row under the mouse", colors.starEdge, hover},
                    {"symbol on the window", colors.secondary, colors.window},
                    {"symbol on the surface", colors.secondary, colors.surface},
                    {"symbol of a selected mailbox", colors.onAccent, colors.accent},
                    {"shield", colors.warningText, colors.warningBackground}},
                   leastOfImages);
}

TEST_P(StyleTest, KeepsEveryTextReadable)
{
    expectReadable(colors);
}

TEST_P(StyleTest, KeepsEveryImageVisible)
{
    expectVisible(colors);
}

// --- The desktop's accent

TEST_P(StyleTest, KeepsEverythingReadableUnderWhateverAccentTheDesktopHas)
{
    int tried = 0;
    for (int hue = 0; hue < 360; hue += 15) {
        for (const int saturation : {0, 128, 255}) {
            for (const int lightness : {0, 40, 128, 215, 255}) {
                const QColor wanted = QColor::fromHsl(hue, saturation, lightness);
                SCOPED_TRACE(wanted.name().toStdString());
                style.setAccent(wanted);
                expectReadable(colors);
                expectVisible(colors);
                // The hue stays the desktop's: none of them gives way to ours.
                if (saturation == 255) {
                    EXPECT_LE(std::abs(colors.accent.hslHue() - hue) % 359, 2);
                }
                if (saturation == 0) {
                    EXPECT_EQ(colors.accent.hslSaturation(), 0);
                }
                ++tried;
            }
        }
    }
    EXPECT_EQ(tried, 24 * 3 * 5);
}

TEST_P(StyleTest, LeavesAnAccentAloneThatIsReadAsItIs)
{
    const bool isLight = GetParam() == Style::Scheme::light;
    const QColor fine = isLight ? QColor(0x8A, 0x1C, 0x1C) : QColor(0x78, 0xAE, 0xED);
    style.setAccent(fine);
    EXPECT_EQ(colors.accent.name(), fine.name());
    EXPECT_EQ(colors.onAccent.name(), isLight ? u"#ffffff" : u"#1c1430");
    style.setAccent(std::nullopt);
    EXPECT_EQ(colors.accent.name(), isLight ? u"#6a45d8" : u"#a68bff");
}

TEST_P(StyleTest, DarkensOrLightensTheBlueOfADesktopWithoutAnAccent)
{
    EXPECT_EQ(Style::desktopBlue.name(), u"#3584e4");
    style.setAccent(Style::desktopBlue);
    EXPECT_NEAR(colors.accent.hslHue(), Style::desktopBlue.hslHue(), 2);
    if (GetParam() == Style::Scheme::light)
        EXPECT_LT(colors.accent.lightness(), Style::desktopBlue.lightness());
    else
        EXPECT_GE(colors.accent.lightness(), Style::desktopBlue.lightness());
    EXPECT_EQ(QApplication::palette().color(QPalette::Highlight), colors.accent);
}

TEST_P(StyleTest, TellsNobodyWhereNothingChanges)
{
    style.setAccent(QColor(Qt::red));
    const QSignalSpy changes(&style, &Style::changed);
    style.setAccent(QColor(Qt::red));
    style.setScheme(GetParam());
    style.setTextSize(Style::standardTextSize);
    style.setHighContrast(false);
    EXPECT_TRUE(changes.isEmpty());
    style.setAccent(QColor(Qt::blue));
    EXPECT_EQ(changes.size(), 1);
}

TEST_P(StyleTest, TintsWithTheAccent)
{
    EXPECT_NEAR(colors.hover.alphaF(), 0.10, 0.005);
    EXPECT_NEAR(colors.selected.alphaF(), 0.18, 0.005);
    EXPECT_NEAR(colors.hairline.alphaF(), 0.10, 0.005);
    EXPECT_EQ(colors.hover.rgb(), colors.accent.rgb());
    EXPECT_EQ(colors.selected.rgb(), colors.accent.rgb());
    EXPECT_EQ(colors.hairline.rgb(), colors.text.rgb());
}

TEST_P(StyleTest, ScalesTypeFromTheTextSize)
{
    for (const int size : Style::textSizes) {
        style.setTextSize(size);
        EXPECT_EQ(style.font(Style::Type::caption).pixelSize(), size - 2);
        EXPECT_EQ(style.font(Style::Type::body).pixelSize(), size);
        EXPECT_EQ(style.font(Style::Type::subhead).pixelSize(), size + 2);
        EXPECT_EQ(style.font(Style::Type::title).pixelSize(), size + 7);
    }
    EXPECT_EQ(style.font(Style::Type::subhead).weight(), QFont::DemiBold);
    EXPECT_EQ(style.font(Style::Type::title).weight(), QFont::DemiBold);
    EXPECT_EQ(style.font(Style::Type::body).weight(), QFont::Normal);
    EXPECT_EQ(style.font(Style::Type::body, Style::Weight::semibold).weight(), QFont::DemiBold);
}

TEST_P(StyleTest, TakesASizeThatIsNoStepForTheStandardOne)
{
    style.setTextSize(17);
    EXPECT_EQ(style.textSize(), 13);
    style.setTextSize(28);
    EXPECT_EQ(style.textSize(), 28);
    style.setTextSize(13.5);
    EXPECT_EQ(style.textSize(), 13);
    style.setTextSize(-1);
    EXPECT_EQ(style.textSize(), 13);
}

TEST_P(StyleTest, TellsOfChanges)
{
    const QSignalSpy changes(&style, &Style::changed);
    style.setTextSize(16);
    EXPECT_EQ(changes.size(), 1);
}

TEST_P(StyleTest, DrawsEverySymbolInTheColourGiven)
{
    for (int number = 0; number < symbolCount; ++number) {
        const QImage image = style.pixmap(static_cast<Symbol>(number), 32, colors.accent, 1)
                                 .toImage()
                                 .convertToFormat(QImage::Format_ARGB32);
        int ink = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                ink += pixel.alpha();
                if (pixel.alpha() > 250) {
                    EXPECT_EQ(pixel.rgb(), colors.accent.rgb()) << number;
                }
            }
        }
        constexpr int fewestPixels = 16;
        EXPECT_GT(ink, fewestPixels * 255) << "symbol " << number << " is not drawn";
    }
}

INSTANTIATE_TEST_SUITE_P(Schemes, StyleTest, testing::Values(Style::Scheme::light, Style::Scheme::dark),
                         [](const auto& scheme) {
                             return scheme.param == Style::Scheme::light ? "Light" : "Dark";
                         });

TEST(StyleTokens, AreThoseOfTheLightScheme)
{
    Style::shared().setScheme(Style::Scheme::light);
    const Style::Colors& colors = Style::shared().colors();
    EXPECT_EQ(colors.accent.name(), u"#6a45d8");
    EXPECT_EQ(colors.onAccent.name(), u"#ffffff");
    EXPECT_EQ(colors.window.name(), u"#f6f5f9");
    EXPECT_EQ(colors.surface.name(), u"#ffffff");
    EXPECT_EQ(colors.text.name(), u"#1e1b26");
    EXPECT_EQ(colors.secondary.name(), u"#625d70");
    EXPECT_EQ(colors.warningBackground.name(), u"#fff4dc");
    EXPECT_EQ(colors.warningText.name(), u"#6b4a00");
    EXPECT_EQ(colors.danger.name(), u"#c42b3c");
    EXPECT_EQ(colors.star.name(), u"#d99a00");
}

TEST(StyleTokens, AreThoseOfTheDarkScheme)
{
    Style::shared().setScheme(Style::Scheme::dark);
    const Style::Colors& colors = Style::shared().colors();
    EXPECT_EQ(colors.accent.name(), u"#a68bff");
    EXPECT_EQ(colors.onAccent.name(), u"#1c1430");
    EXPECT_EQ(colors.window.name(), u"#1b1922");
    EXPECT_EQ(colors.surface.name(), u"#24212d");
    EXPECT_EQ(colors.text.name(), u"#eceaf2");
    EXPECT_EQ(colors.secondary.name(), u"#a7a1b8");
    EXPECT_EQ(colors.warningBackground.name(), u"#3a3015");
    EXPECT_EQ(colors.warningText.name(), u"#ffd98a");
    EXPECT_EQ(colors.danger.name(), u"#ff8089");
    EXPECT_EQ(colors.star.name(), u"#ffc94d");
    Style::shared().setScheme(Style::Scheme::light);
}

TEST(SegmentedPicker, FollowsTheDirectionOfItsWindow)
{
    SegmentedPicker picker({{u"One"_s, 1}, {u"Two"_s, 2}, {u"Three"_s, 3}});
    const auto segments = [&picker] {
        QStringList names;
        for (const int value : {1, 2, 3})
            names.append(picker.button(value)->property("segment").toString());
        return names.join(u' ');
    };
    EXPECT_EQ(segments(), u"first middle last");
    picker.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(segments(), u"last middle first") << "the sheet's first is the left one";
    picker.setLayoutDirection(Qt::LeftToRight);
    EXPECT_EQ(segments(), u"first middle last");
}

} // namespace
} // namespace Larkhaven
