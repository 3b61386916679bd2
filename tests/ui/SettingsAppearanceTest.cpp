#include "SettingsSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"

#include <QLabel>
#include <QLineEdit>
#include <QListView>

using namespace Qt::StringLiterals;

// How the settings look, for the eye: each pane in each scheme and in small and large text.

namespace Larkhaven {
namespace {

using Pane = SettingsView::Pane;

enum class Palette { light, dark, highContrast };

struct Scene {
    Palette palette;
    int textSize;
};

QString nameOf(const Scene& scene)
{
    const QStringList palettes{u"light"_s, u"dark"_s, u"contrast"_s};
    const bool isDouble = qEnvironmentVariable("QT_SCALE_FACTOR") == u"2";
    return u"%1-%2%3"_s.arg(palettes[static_cast<int>(scene.palette)])
        .arg(scene.textSize)
        .arg(isDouble ? u"-double"_s : QString());
}

class SettingsAppearanceTest : public testing::Test {
protected:
    static QList<Account> accounts()
    {
        Account work = ModelFixture::imapAccount();
        work.nickname = u"Work"_s;
        work.displayName = u"Mia Larsen"_s;
        return {work, ModelFixture::googleAccount(),
                ModelFixture::microsoftAccount(u"an.address.that.is.rather.long@outlook.com"_s)};
    }

    SettingsWindow settings{accounts()};
};

class SettingsSceneAppearanceTest : public SettingsAppearanceTest,
                                    public testing::WithParamInterface<Scene> {};

TEST_P(SettingsSceneAppearanceTest, ShowsEachPaneWithNothingCutOff)
{
    const auto [palette, textSize] = GetParam();
    Style& style = Style::shared();
    style.setScheme(palette == Palette::dark ? Style::Scheme::dark : Style::Scheme::light);
    style.setHighContrast(palette == Palette::highContrast);
    style.setTextSize(textSize);
    settings.defaults().set(DefaultsKey::accent, u"system"_s);
    settings.defaults().set(DefaultsKey::signature, u"Mia Larsen\nLarkhaven, quality & joy"_s);
    settings.model().report(std::make_exception_ptr(MailError::notSignedIn()), settings.fixture.account().id);
    const QList<std::pair<Pane, QString>> panes{{Pane::accounts, u"accounts"_s},
                                                {Pane::general, u"general"_s},
                                                {Pane::composing, u"composing"_s},
                                                {Pane::privacy, u"privacy"_s}};
    for (const auto& [pane, name] : panes) {
        settings.view->open(settings.fixture.account().id);
        settings.open(pane);
        const auto labels = settings.view->findChildren<QLabel*>();
        for (const QLabel* const label : labels) {
            if (!label->isVisible())
                continue;
            const int needed =
                label->wordWrap() ? label->heightForWidth(label->width()) : label->fontMetrics().height();
            EXPECT_GE(label->height(), needed) << label->text().toStdString();
            if (!label->wordWrap()) {
                EXPECT_GE(label->width(), label->fontMetrics().horizontalAdvance(label->text()))
                    << label->text().toStdString();
            }
        }
        // The space beside short labels goes to the controls.
        for (const QLabel* const label : labels) {
            if (label->isVisible() && label->buddy() && name != "accounts"_L1) {
                EXPECT_LT(label->geometry().right(), settings.view->width() / 2)
                    << label->text().toStdString();
            }
        }
        takeScreenshot(*settings.view, u"settings-%1-%2"_s.arg(name, nameOf(GetParam())));
    }
    style.setHighContrast(false);
    style.setScheme(Style::Scheme::light);
    style.setTextSize(Style::standardTextSize);
}

TEST_F(SettingsAppearanceTest, ShowsWhereTheKeyboardIs)
{
    const QList<std::pair<Pane, QString>> controls{
        {Pane::general, u"accent"_s},          {Pane::general, u"showPreview"_s},
        {Pane::general, u"settingsTabBar"_s},  {Pane::composing, u"pointSize"_s},
        {Pane::composing, u"signature"_s},     {Pane::composing, u"pointSizeLarger"_s},
        {Pane::privacy, u"deleteDownloads"_s}, {Pane::accounts, u"accountsList"_s},
        {Pane::accounts, u"accountEmail"_s},   {Pane::accounts, u"nickname"_s}};
    settings.view->open(settings.fixture.account().id);
    for (const auto& [pane, name] : controls) {
        settings.open(pane);
        auto& control = settings.child<QWidget>(name);
        control.clearFocus();
        ASSERT_TRUE(waitUntilDrawn(*settings.view));
        const QImage before = grab(*settings.view);
        control.setFocus(Qt::TabFocusReason);
        ASSERT_TRUE(waitUntilDrawn(*settings.view));
        const QImage after = grab(*settings.view);
        int changed = 0;
        for (int y = 0; y < after.height(); ++y) {
            for (int x = 0; x < after.width(); ++x)
                changed += before.pixel(x, y) != after.pixel(x, y);
        }
        EXPECT_GT(changed, 80) << name.toStdString();
        takeScreenshot(*settings.view, u"settings-focus-"_s + name);
    }
}

INSTANTIATE_TEST_SUITE_P(Scenes, SettingsSceneAppearanceTest,
                         testing::Values(Scene{Palette::light, 10}, Scene{Palette::light, 13},
                                         Scene{Palette::light, 28}, Scene{Palette::dark, 10},
                                         Scene{Palette::dark, 13}, Scene{Palette::dark, 28},
                                         Scene{Palette::highContrast, 10}, Scene{Palette::highContrast, 13},
                                         Scene{Palette::highContrast, 28}),
                         [](const auto& scene) {
                             return nameOf(scene.param).replace(u'-', u'_').toStdString();
                         });

} // namespace
} // namespace Larkhaven
