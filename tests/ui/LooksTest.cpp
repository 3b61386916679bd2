#include "Gallery.h"
#include "PaintedControls.h"
#include "support/QtPrinters.h"
#include "views/style/AccentColors.h"

#include <QDir>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>

using namespace Qt::StringLiterals;

// Every kind of window in every look. With a folder in LARKHAVEN_LOOKS they leave their pictures there, as
// tests/ui/take-looks has them do.

namespace Larkhaven {
namespace {

struct Palette {
    const char* name;
    Style::Scheme scheme;
    bool isHighContrast;
};
constexpr std::array palettes{
    Palette{"light", Style::Scheme::light, false}, Palette{"dark", Style::Scheme::dark, false},
    Palette{"contrast", Style::Scheme::light, true}, Palette{"contrast-dark", Style::Scheme::dark, true}};
constexpr std::array textSizes{10, 13, 28};

void put(const Palette& palette, int textSize)
{
    Style& style = Style::shared();
    style.setScheme(palette.scheme);
    style.setHighContrast(palette.isHighContrast);
    style.setTextSize(textSize);
}

/// What a control may stand on: the grounds of this look, and the paper of a message.
QList<QColor> grounds()
{
    const Style::Colors& colors = Style::shared().colors();
    QList<QColor> found{colors.window, colors.surface, colors.accent, colors.warningBackground, Qt::white};
    for (const QColor& ground : {colors.window, colors.surface}) {
        for (const QColor& tint : {colors.hover, colors.selected, colors.quietSelected})
            found.append(AccentColors::over(tint, ground));
    }
    return found;
}

bool isGround(const QColor& color)
{
    const QList<QColor> known = grounds();
    return std::ranges::any_of(known, [&color](const QColor& one) {
        constexpr int tolerance = 2;
        return std::abs(one.red() - color.red()) <= tolerance &&
               std::abs(one.green() - color.green()) <= tolerance &&
               std::abs(one.blue() - color.blue()) <= tolerance;
    });
}

QImage picture(const Gallery& gallery)
{
    settle();
    if (gallery.hasEngine()) {
        EXPECT_TRUE(waitUntilDrawn(*gallery.window()));
    }
    return grab(*gallery.window());
}

/// The controls of the picture that can't be read, or stand on the ground of another look.
QStringList unreadable(const QWidget& window, const QImage& picture)
{
    QStringList found;
    const double ratio = static_cast<double>(picture.width()) / window.width();
    for (const PaintedControl& control : paintedControls(window)) {
        const Seen seen = seenIn(picture, control.place, ratio);
        const double least = control.isText ? AccentColors::leastOfTexts : AccentColors::leastOfControls;
        if (seen.contrast < least || !isGround(seen.ground))
            found.append(
                u"%1: %2:1 on %3"_s.arg(control.name).arg(seen.contrast, 0, 'f', 2).arg(seen.ground.name()));
    }
    return found;
}

void keep(const QImage& image, const QString& name)
{
    const QString folder = qEnvironmentVariable("LARKHAVEN_LOOKS");
    if (folder.isEmpty())
        return;
    const bool isDouble = qEnvironmentVariable("QT_SCALE_FACTOR") == u"2";
    const bool isRightToLeft = QGuiApplication::isRightToLeft();
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(image.save(u"%1/%2%3%4.png"_s.arg(folder, name, isDouble ? u"-double"_s : QString(),
                                                  isRightToLeft ? u"-rtl"_s : QString())));
}

/// Whether the run repeats, at another scale or in the other direction, what another one does. It takes white
/// on black as read where black on white is, unless it leaves pictures.
bool isRepetition()
{
    return (qEnvironmentVariable("QT_SCALE_FACTOR") == u"2" || QGuiApplication::isRightToLeft()) &&
           !qEnvironmentVariableIsSet("LARKHAVEN_LOOKS");
}

class LooksTest : public testing::TestWithParam<Gallery::Scene> {};

TEST_P(LooksTest, StaysReadableThroughEachChangeUnderTheOpenWindow)
{
    Gallery gallery(GetParam());
    gallery.open();
    ASSERT_TRUE(gallery.window());
    ASSERT_FALSE(paintedControls(*gallery.window()).isEmpty());
    for (const Palette& palette : palettes) {
        if (isRepetition() && palette.isHighContrast && palette.scheme == Style::Scheme::dark)
            continue;
        for (const int textSize : textSizes) {
            put(palette, textSize);
            ASSERT_NO_FATAL_FAILURE(gallery.refresh());
            const QString name =
                u"%1-%2-%3"_s.arg(Gallery::nameOf(GetParam()), QString::fromLatin1(palette.name))
                    .arg(textSize);
            const QImage image = picture(gallery);
            EXPECT_EQ(unreadable(*gallery.window(), image), QStringList()) << name.toStdString();
            keep(image, name);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scenes, LooksTest, testing::ValuesIn(Gallery::allScenes),
                         [](const auto& scene) { return Gallery::nameOf(scene.param).toStdString(); });

TEST(LooksTest, ADangerousAlertKeepsItsSafeDefaultThroughEachChange)
{
    Gallery gallery(Gallery::Scene::linkAlert);
    gallery.open();
    auto* const alert = qobject_cast<QMessageBox*>(gallery.window());
    ASSERT_TRUE(alert);
    const auto* const safe = qobject_cast<QPushButton*>(alert->button(QMessageBox::Cancel));
    for (const Palette& palette : palettes) {
        for (const int textSize : textSizes) {
            put(palette, textSize);
            settle();
            EXPECT_TRUE(safe->isDefault()) << palette.name << textSize;
            EXPECT_EQ(alert->focusWidget(), safe) << palette.name << textSize;
        }
    }
}

/// What the tests above are worth: a widget that keeps what it had before a change is noticed.
TEST(LooksTest, NoticesAWidgetThatKeepsItsOldColours)
{
    Gallery gallery(Gallery::Scene::newLabel);
    gallery.open();
    ASSERT_TRUE(gallery.window());
    put(palettes[0], Style::standardTextSize);
    EXPECT_EQ(unreadable(*gallery.window(), picture(gallery)), QStringList());
    auto* const label = gallery.window()->findChild<QLabel*>();
    label->setObjectName("kept"_L1);
    label->setStyleSheet(u"color: %1"_s.arg(Style::shared().colors().text.name()));
    put(palettes[1], Style::standardTextSize);
    QStringList found = unreadable(*gallery.window(), picture(gallery));
    ASSERT_EQ(found.size(), 1);
    EXPECT_TRUE(found.first().startsWith(u"kept"_s)) << found.first().toStdString();
    // The same for its ground, on which it could be read.
    label->setStyleSheet(u"color: black; background: #f0f0e0"_s);
    found = unreadable(*gallery.window(), picture(gallery));
    ASSERT_EQ(found.size(), 1);
    EXPECT_TRUE(found.first().endsWith(u"on #f0f0e0"_s)) << found.first().toStdString();
}

} // namespace
} // namespace Larkhaven
