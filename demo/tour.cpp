// Walks through the sample mailbox as a user would and leaves screenshots, each in light and dark: the list,
// a newsletter with its banner, a plain message, one with attachments, a reply, the settings and the form of
// a new account. For machines without a display, where nobody sees the window, and for the user guide.
//
// usage: larkhaven-tour FOLDER

#include "platform/Wakeup.h"
#include "views/compose/ComposeWindow.h"
#include "views/compose/ComposeWindows.h"
#include "views/list/MessageTable.h"
#include "views/list/MessageTableView.h"
#include "views/main/Application.h"
#include "views/settings/SettingsView.h"
#include "views/setup/IMAPSetupView.h"
#include "views/style/Style.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QScreen>
#include <QTextStream>

#include <algorithm>
#include <chrono>
#include <functional>

using namespace Larkhaven;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 30s;

class Tour {
public:
    Tour(Application& application, QString folder)
        : m_application(application)
        , m_folder(std::move(folder))
    {}

    /// Gives the exit code.
    Task<int> walk()
    {
        AppModel& model = m_application.model();
        m_application.window().show();
        const auto isListing = [&model] { return !model.isLoading() && !model.messages().isEmpty(); };
        const bool isListed = co_await until(isListing);
        if (!isListed)
            co_return complain(u"the mailbox did not appear"_s);
        const auto isCounted = [&model] { return !model.counts(model.accounts().first().id).isEmpty(); };
        co_await until(isCounted);
        ContentView& window = m_application.window();
        co_await picture(u"list"_s, window);

        const bool isNewsletterShown = co_await openFirst([](const ReaderView& reader) {
            return reader.rendered() && reader.rendered()->blockedRemoteImages > 0 &&
                   reader.rendered()->document.size() > 20'000;
        });
        if (!isNewsletterShown)
            co_return complain(u"no newsletter was found"_s);
        co_await picture(u"newsletter"_s, window);

        const bool areAttachmentsShown =
            co_await openFirst([](const ReaderView&) { return true; },
                               [](const MessageSummary& row) { return row.hasAttachments; });
        if (!areAttachmentsShown)
            co_return complain(u"no message with attachments was found"_s);
        co_await picture(u"attachments"_s, window);

        const bool isPlainShown = co_await openFirst([](const ReaderView& reader) {
            return reader.rendered() && reader.rendered()->document.contains("lh-plain\">"_L1) &&
                   reader.rendered()->document.size() > 1'500;
        });
        if (!isPlainShown)
            co_return complain(u"no plain message was found"_s);
        co_await picture(u"plain"_s, window);

        model.start(model.reply(model.actedOn().first(), true));
        const auto isReplying = [&window] { return !window.composeWindows().windows().isEmpty(); };
        const bool isReplyShown = co_await until(isReplying);
        if (!isReplyShown)
            co_return complain(u"no reply was opened"_s);
        QWidget& reply = *window.composeWindows().windows().first();
        co_await picture(u"reply"_s, reply);
        reply.close();

        window.openSettings(SettingsView::Pane::general);
        const bool areSettingsShown = co_await pictureOf<SettingsView>(u"settings"_s);
        window.openSetup();
        const bool isSetupShown = co_await pictureOf<IMAPSetupView>(u"account"_s);
        if (!areSettingsShown || !isSetupShown)
            co_return complain(u"a window did not open"_s);
        co_return 0;
    }

private:
    Task<bool> until(std::function<bool()> isReached)
    {
        const QDeadlineTimer deadline(patience);
        Wakeup wakeup;
        while (!isReached()) {
            if (deadline.hasExpired())
                co_return false;
            co_await wakeup.wait(20ms);
        }
        co_return true;
    }

    /// Opens the messages of the page one after another until one is as wanted.
    Task<bool> openFirst(
        std::function<bool(const ReaderView&)> isWanted,
        std::function<bool(const MessageSummary&)> isWorthOpening = [](const MessageSummary&) {
            return true;
        })
    {
        ContentView& window = m_application.window();
        ReaderView& reader = window.reader();
        const QList<MessageSummary> rows = m_application.model().messages();
        for (const MessageSummary& row : rows) {
            if (!isWorthOpening(row))
                continue;
            bool isDrawn = false;
            const auto connection =
                QObject::connect(&reader, &ReaderView::shown, [&isDrawn] { isDrawn = true; });
            m_application.model().open(row);
            const auto isDone = [&reader, &isDrawn] { return isDrawn || reader.loadError(); };
            const bool isShown = co_await until(isDone);
            QObject::disconnect(connection);
            if (isShown && isWanted(reader))
                co_return true;
            m_application.model().setPath({});
        }
        co_return false;
    }

    /// Of the one window of its kind, which is closed behind it.
    template <typename Window>
    Task<bool> pictureOf(QString name)
    {
        const QWidgetList windows = QApplication::topLevelWidgets();
        const auto found = std::ranges::find_if(windows, [](const QWidget* window) {
            return qobject_cast<const Window*>(window) && window->isVisible();
        });
        if (found == windows.end())
            co_return false;
        QWidget& window = **found;
        co_await picture(name, window);
        window.close();
        co_return true;
    }

    Task<> picture(QString name, QWidget& window)
    {
        for (const Style::Scheme scheme : {Style::Scheme::light, Style::Scheme::dark}) {
            Style::shared().setScheme(scheme);
            // The engine draws in a process of its own, and tells no one when it is done.
            Wakeup wakeup;
            co_await wakeup.wait(700ms);
            const QString suffix = scheme == Style::Scheme::light ? u"light"_s : u"dark"_s;
            const QString path = u"%1/%2-%3.png"_s.arg(m_folder, name, suffix);
            const bool isSaved = window.screen()->grabWindow(window.winId()).save(path);
            QTextStream(stdout) << (isSaved ? "screenshot: " : "cannot write ") << path << Qt::endl;
        }
        Style::shared().setScheme(Style::Scheme::light);
    }

    static int complain(const QString& text)
    {
        QTextStream(stderr) << "larkhaven-tour: " << text << Qt::endl;
        return 1;
    }

    Application& m_application;
    QString m_folder;
};

} // namespace

int main(int argc, char** argv)
{
    Application application(argc, argv);
    const QString folder = QApplication::arguments().value(1, u"."_s);
    if (!application.isFirst())
        return application.run();
    QDir().mkpath(folder);
    Tour tour(application, folder);
    int exitCode = 1;
    Task<> walking = [](Tour& walk, int& code) -> Task<> {
        code = co_await walk.walk();
        QApplication::quit();
    }(tour, exitCode);
    QApplication::exec();
    return exitCode;
}
