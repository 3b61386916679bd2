#include "ComposeSupport.h"
#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/Coding.h"
#include "platform/Tasks.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"
#include "views/list/MessageTableView.h"
#include "views/main/SidebarView.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QHeaderView>
#include <QMessageBox>
#include <QSignalSpy>
#include <QSplitter>
#include <QTest>

using namespace Qt::StringLiterals;

// Every setting: what it changes it changes at once, after a restart as well, and a value that is none counts
// as the default.

namespace Larkhaven {
namespace {

/// The main window over files that outlive it.
class SettingsTableTest : public testing::Test {
protected:
    SettingsTableTest()
        : fixture({ModelFixture::imapAccount(), ModelFixture::imapAccount(u"work@example.org"_s)})
    {
        Style::shared().setTextSize(Style::standardTextSize);
        Style::shared().setScheme(Style::Scheme::light);
        Style::shared().applyToApplication();
        QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 60);
        for (MessageSummary& row : rows)
            row.snippet = u"the beginning of the text"_s;
        FakeMailProvider& provider = fixture.provider();
        provider.setListing(MailboxRef::system(Mailbox::inbox), rows);
        provider.setCounts({{MailboxRef::system(Mailbox::inbox).id(), 43}});
        provider.setRaw(u"1"_s,
                        htmlMessage(filled(u"<img src=\"https://img.local/a.png\" width=50 height=50>"_s)));
        start();
    }
    ~SettingsTableTest() override
    {
        window.reset();
        settle();
    }

    AppModel& model() { return fixture.model(); }
    MessageTable& table() { return window->listing().table(); }
    void start()
    {
        ReaderView::Desktop desktop;
        desktop.openURL = [this](const QUrl& url) { openedURL = url; };
        desktop.chooseSavePath = [](QWidget*, const QString&) { return QString(); };
        window = std::make_unique<ContentView>(fixture.model(), desktop);
        show(*window);
        ASSERT_TRUE(waitUntil([this] { return !model().isLoading() && !model().messages().isEmpty(); }));
        settle();
    }
    void restart()
    {
        window.reset();
        settle();
        fixture.restart();
        start();
    }
    void set(QLatin1StringView key, const QVariant& value)
    {
        fixture.defaults().set(key, value);
        settle();
        ASSERT_TRUE(waitUntil([this] { return !model().isLoading(); }));
    }

    // --- What the program does under a setting
    QString previewOfARow()
    {
        const QModelIndex subject = table().model()->index(3, static_cast<int>(MessageColumn::subject));
        const QRect place = table().visualRect(subject);
        EXPECT_TRUE(waitUntilDrawn(table()));
        const QImage image = grab(*table().viewport()).copy(place);
        int rightEnd = 0;
        for (int y = 2; y < image.height() - 2; ++y) {
            for (int x = rightEnd; x < image.width(); ++x) {
                if (image.pixelColor(x, y).lightness() < textLightness)
                    rightEnd = x;
            }
        }
        // The subject takes less than a third of its column, and the beginning of the text goes on behind it.
        return rightEnd > QFontMetrics(table().font()).horizontalAdvance(u"Subject 4 the"_s) ? u"painted"_s
                                                                                             : u"none"_s;
    }
    QString suggested()
    {
        auto book = std::make_shared<FakeAddressBook>();
        Contact ann;
        ann.emails = QStringList{u"ann@example.org"_s};
        book->contacts = {ann};
        ContactsService contacts(book);
        // They are read on a worker.
        spawn(contacts.requestAccess(), dropFailure);
        EXPECT_TRUE(waitUntil([&] { return contacts.status() == ContactsService::Status::ready; }));
        AddressField to(u"To:"_s, fixture.defaults(), contacts);
        show(to);
        to.line().setFocus();
        settle();
        QTest::keyClicks(&to.line(), u"ann"_s);
        settle();
        return QString::number(to.suggestions().size());
    }
    QString selectedByJ()
    {
        model().setSelection({});
        table().setFocus();
        pressKey(Qt::Key_J);
        const QString selected = model().selection().values().join(u' ');
        model().setSelection({});
        return selected;
    }
    /// Opens a message to nobody, looks at it, and lets go of it.
    QString ofANewMessage(const std::function<QString(ComposeWindow&)>& look)
    {
        model().newMessage({});
        if (!waitUntil([this] { return !window->composeWindows().windows().isEmpty(); }))
            return u"no window"_s;
        ComposeWindow& compose = *window->composeWindows().windows().constLast();
        show(compose);
        const QString seen = look(compose);
        compose.close();
        settle();
        activate(*window);
        return seen;
    }
    template <typename Read>
    auto newMessage(Read read)
    {
        return [this, read] { return ofANewMessage(read); };
    }
    QString remoteContent()
    {
        const QSignalSpy shown(&window->reader(), &ReaderView::shown);
        model().open(*model().message(u"1"_s));
        EXPECT_TRUE(waitUntil([&shown] { return !shown.isEmpty(); }));
        const bool isShown = window->reader().showsRemote();
        model().setPath({});
        return isShown ? u"shown"_s : u"held back"_s;
    }
    QString openedLink(const QString& url, const QString& text)
    {
        openedURL.clear();
        model().open(*model().message(u"1"_s));
        window->reader().followLink(link(url, text));
        settle();
        auto* const alert = window->findChild<QMessageBox*>(u"linkAlert"_s);
        const QString seen = alert ? u"asked"_s : openedURL.toString();
        if (alert)
            alert->reject();
        settle();
        model().setPath({});
        settle();
        return seen;
    }

    static constexpr int textLightness = 190;
    ModelFixture fixture;
    QUrl openedURL;
    std::unique_ptr<ContentView> window;
};

/// A setting, and what the program does without it and with it.
struct Setting {
    QLatin1StringView key;
    QVariant value;
    QVariant invalid; ///< absent where every value is one
    std::function<QString()> seen;
    QString standard;
    QString changed;
};

/// An installed family that isn't an alias of another.
QString anotherFamily(const QString& than)
{
    for (const QString& family : QFontDatabase::families()) {
        if (family != than && QFontInfo(QFont(family)).family() == family)
            return family;
    }
    return {};
}

TEST_F(SettingsTableTest, EachCountsAtOnceAndAfterARestartAndNothingElseCounts)
{
    using namespace DefaultsKey;
    const QString tracked = u"https://shop.example/a?utm_source=news&id=1"_s;
    const QString nonsense = u"nonsense"_s;
    const auto bodyFont = [](ComposeWindow& compose) {
        return QFontInfo(compose.findChild<ComposeTextView*>()->document()->defaultFont());
    };
    const auto sender = [](ComposeWindow& compose) { return compose.view().draft().accountID.toString(); };
    const auto body = [](ComposeWindow& compose) { return compose.view().draft().body; };
    const auto format = [](ComposeWindow& compose) {
        return compose.view().draft().isRichText ? u"rich"_s : u"plain"_s;
    };
    const auto size = [=](ComposeWindow& compose) { return QString::number(bodyFont(compose).pixelSize()); };
    const auto openedBank = [this] {
        return openedLink(u"https://evil.example/"_s, u"https://bank.example/"_s);
    };
    const auto family = [=](ComposeWindow& compose) { return bodyFont(compose).family(); };
    const QString standardFamily = ofANewMessage(family);
    const QString otherFamily = anotherFamily(standardFamily);
    const QList<Setting> settings{
        {showPreview, false, nonsense, [this] { return previewOfARow(); }, u"painted"_s, u"none"_s},
        {gmailShortcuts, false, nonsense, [this] { return selectedByJ(); }, u"1"_s, {}},
        {refreshMinutes, 15, nonsense,
         [this] { return QString::number(fixture.sleeps().constLast().count() / 60'000); }, u"5"_s, u"15"_s},
        {defaultAccountID, Coding::fromUuid(fixture.account(1).id), nonsense, newMessage(sender),
         fixture.account(0).id.toString(), fixture.account(1).id.toString()},
        {loadRemoteContent, true, nonsense, [this] { return remoteContent(); }, u"held back"_s, u"shown"_s},
        {stripTrackingParams, false, nonsense, [=, this] { return openedLink(tracked, u"a shop"_s); },
         u"https://shop.example/a?id=1"_s, tracked},
        {warnSuspiciousLinks, false, nonsense, openedBank, u"asked"_s, u"https://evil.example/"_s},
        {composeRichText, true, nonsense, newMessage(format), u"plain"_s, u"rich"_s},
        {composeFontFamily, otherFamily, u"No Such Family"_s, newMessage(family), standardFamily,
         otherFamily},
        {composeFontSize, 20.0, 500.0, newMessage(size), u"13"_s, u"20"_s},
        {signature, u"With regards"_s, {}, newMessage(body), {}, u"\n\n-- \nWith regards"_s},
        {suggestFromContacts, false, nonsense, [this] { return suggested(); }, u"1"_s, u"0"_s},
        {pageSize, 50, 17, [this] { return QString::number(model().messages().size()); }, u"25"_s, u"50"_s},
        {showDockBadge, false, nonsense, [this] { return QString::number(fixture.badges().constLast()); },
         u"43"_s, u"0"_s},
    };
    for (const Setting& setting : settings) {
        SCOPED_TRACE(setting.key.data());
        EXPECT_EQ(setting.seen(), setting.standard);
        set(setting.key, setting.value);
        EXPECT_EQ(setting.seen(), setting.changed) << "it doesn't count at once";
        restart();
        EXPECT_EQ(setting.seen(), setting.changed) << "it doesn't survive";
        if (setting.invalid.isValid()) {
            set(setting.key, setting.invalid);
            EXPECT_EQ(setting.seen(), setting.standard) << "an invalid value counts";
            restart();
            EXPECT_EQ(setting.seen(), setting.standard) << "an invalid value counts at the start";
        }
        set(setting.key, {});
        restart();
    }
}

TEST_F(SettingsTableTest, TheAccentAloneWaitsForARestart)
{
    EXPECT_EQ(model().accentAtStart(), AccentChoice::larkhaven);
    set(DefaultsKey::accent, u"system"_s);
    EXPECT_EQ(model().accentAtStart(), AccentChoice::larkhaven);
    restart();
    EXPECT_EQ(model().accentAtStart(), AccentChoice::system);
    set(DefaultsKey::accent, u"green"_s);
    restart();
    EXPECT_EQ(model().accentAtStart(), AccentChoice::larkhaven);
}

/// What the user leaves behind, which no control of the settings shows.
struct Kept {
    QLatin1StringView key;
    QVariant invalid;
    std::function<void()> make;
    std::function<QString()> seen;
    QString standard;
    QString made; ///< empty for whatever the gesture makes
};

TEST_F(SettingsTableTest, WhatTheUserMadeOfTheWindowIsThereAgainAndNonsenseIsNot)
{
    using namespace DefaultsKey;
    fixture.provider().setListing(MailboxRef::system(Mailbox::sent),
                                  ModelFixture::rows(fixture.account(), 2));
    const auto sizeOf = [](const QWidget& widget) {
        return u"%1x%2"_s.arg(widget.width()).arg(widget.height());
    };
    const auto width = [this] { return window->findChild<QSplitter*>()->sizes().constFirst(); };
    const auto widen = [=, this] {
        QWidget& handle = *window->findChild<QSplitter*>()->handle(1);
        const QPoint middle = handle.rect().center();
        dragFrom(handle, middle, handle, middle + QPoint(50, 0));
    };
    const auto fold = [this] {
        window->sidebar().setFocus();
        pressKey(Qt::Key_Home);
        pressKey(Qt::Key_Left);
        pressKey(Qt::Key_Left);
    };
    const auto isOpen = [this] {
        const SidebarView& sidebar = window->sidebar();
        return sidebar.isExpanded(sidebar.model()->index(0, 0)) ? u"open"_s : u"folded"_s;
    };
    const auto hideSize = [this] {
        openMenuOfBar(*window, u"View"_s);
        chooseByKeys({u"Columns"_s, u"Size"_s});
    };
    const auto sizeColumn = [this] {
        const QHeaderView& header = *table().horizontalHeader();
        return header.isSectionHidden(static_cast<int>(MessageColumn::size)) ? u"hidden"_s : u"shown"_s;
    };
    const auto shrinkCompose = [this] {
        ofANewMessage([](ComposeWindow& compose) {
            compose.resize(720, 470);
            settle();
            return QString();
        });
    };
    const QString standardSize = sizeOf(*window);
    const QString standardCompose = ofANewMessage(sizeOf);
    const QString inbox = u"Inbox – %1"_s.arg(fixture.account().title());
    const QString sent = u"Sent – %1"_s.arg(fixture.account().title());
    const Kept kept[]{
        {mainWindowSize, u"1000"_s, [this] { window->resize(1000, 600); },
         [=, this] { return sizeOf(*window); }, standardSize, u"1000x600"_s},
        {composeWindowSize, u"720"_s, shrinkCompose, newMessage(sizeOf), standardCompose, u"720x470"_s},
        {sidebarWidth, u"wide"_s, widen, [=] { return QString::number(width()); }, u"210"_s, {}},
        {sidebarHidden, u"nonsense"_s, [] { pressChord(u"F9"_s); },
         [this] { return window->sidebar().isVisible() ? u"shown"_s : u"hidden"_s; }, u"shown"_s,
         u"hidden"_s},
        {collapsedAccounts, u"nonsense"_s, fold, isOpen, u"open"_s, u"folded"_s},
        {mailboxOnScreen, u"nonsense"_s, [] { pressChord(u"Ctrl+3"_s); },
         [this] { return window->windowTitle(); }, inbox, sent},
        {tableColumns, u"nonsense"_s, hideSize, sizeColumn, u"hidden"_s, u"shown"_s},
    };
    for (const Kept& setting : kept) {
        SCOPED_TRACE(setting.key.data());
        EXPECT_EQ(setting.seen(), setting.standard);
        setting.make();
        settle();
        const QString made = setting.made.isEmpty() ? setting.seen() : setting.made;
        EXPECT_EQ(setting.seen(), made);
        EXPECT_NE(made, setting.standard);
        restart();
        EXPECT_EQ(setting.seen(), made) << "it doesn't survive";
        window.reset(); // which writes what it leaves behind
        set(setting.key, setting.invalid);
        fixture.restart();
        start();
        EXPECT_EQ(setting.seen(), setting.standard) << "an invalid value counts";
        window.reset();
        set(setting.key, {});
        fixture.restart();
        start();
    }
}

TEST_F(SettingsTableTest, ASelectionWithoutTheKeyboardIsGrey)
{
    model().setSelection({u"4"_s});
    const QModelIndex row = table().model()->index(3, static_cast<int>(MessageColumn::date));
    const auto ground = [&] {
        const QRect place = table().visualRect(row);
        EXPECT_TRUE(waitUntilDrawn(table()));
        return pixel(*table().viewport(), QPoint(place.right() - 1, place.top() + 4));
    };
    table().setFocus();
    settle();
    const QColor withKeyboard = ground();
    window->sidebar().setFocus();
    settle();
    const QColor without = ground();
    EXPECT_GT(withKeyboard.hsvSaturation(), 10) << withKeyboard.name().toStdString();
    EXPECT_LT(without.hsvSaturation(), 12) << without.name().toStdString();
    EXPECT_LT(without.lightness(), 250) << "it is still seen: " << without.name().toStdString();
}

} // namespace
} // namespace Larkhaven
