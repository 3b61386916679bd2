#include "format/MIMEParser.h"
#include "support/HostileMessages.h"
#include "support/ModelFixture.h"
#include "support/TurnMeter.h"
#include "views/compose/AddressField.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"
#include "views/main/ContentView.h"
#include "views/reader/SecureMessageView.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QTemporaryDir>

#include <cstdio>
#include <unistd.h>

// Prints the longest turn of the main thread in milliseconds when hostile messages are listed, read,
// answered, forwarded and edited as drafts in real windows, and when hostile texts are pasted: how long it
// stood still, and how much of that the program itself took.
//
//     HostileTurns [part of a name]

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::seconds patience(120);
/// What follows a step by itself has happened by then: layout, painting, the dictionary.
constexpr std::chrono::milliseconds aftermath(700);

class Bench {
public:
    explicit Bench(QString wanted)
        : m_wanted(std::move(wanted))
        , m_window(m_fixture.model(), {})
    {
        m_window.resize(1200, 800);
        m_window.show();
        m_meter.pass(aftermath);
    }

    int run()
    {
        for (const QString& name : {u"first window"_s, u"second window"_s})
            answer(name, u"open"_s, [this] { m_fixture.model().newMessage({}); });
        for (const HostileMessages::Message& message : HostileMessages::received())
            measureReceived(message);
        for (const HostileMessages::Message& message : HostileMessages::drafts())
            measureDraft(message);
        for (const HostileMessages::Text& link : HostileMessages::recipients())
            answer(link.name, u"open"_s, [&] { m_fixture.model().newMessage(link.text); });
        for (const HostileMessages::Text& paste : HostileMessages::pastes())
            measurePaste(paste);
        std::printf("longest: %.0f ms\n", m_longest);
        return 0;
    }

private:
    bool isWanted(const QString& name) const { return name.contains(m_wanted); }

    void print(const QString& name, const QString& step)
    {
        const TurnMeter::Turn turn = m_meter.takeLongest();
        m_longest = std::max(m_longest, turn.wall);
        std::printf("%-32s | %-20s | %6.0f | %6.0f%s\n", qPrintable(name), qPrintable(step), turn.wall,
                    turn.processor,
                    turn.wall > 100  ? "  above 100"
                    : turn.wall > 50 ? "  above 50"
                                     : "");
        std::fflush(stdout);
    }

    MessageSummary row(const HostileMessages::Message& message)
    {
        const QString id = QString::number(++m_number);
        m_fixture.provider().setRaw(id, message.raw);
        MessageSummary row = ModelFixture::row(m_fixture.account(), id);
        const ParsedMessage parsed = MIMEParser::parse(message.raw);
        row.subject = parsed.headers.subject();
        row.snippet = parsed.textBody.value_or(QString());
        row.to = parsed.headers.to();
        if (!parsed.headers.from().isEmpty())
            row.from = parsed.headers.from().first();
        return row;
    }

    void press(const QKeyCombination& key, const QString& text = {})
    {
        QWidget* const target = m_text;
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key.key(), key.keyboardModifiers(), text);
            QCoreApplication::sendEvent(target, &event);
        }
    }

    void key() { press(Qt::Key_X, u"x"_s); }

    /// Opens a window, types into it and keeps it.
    void answer(const QString& name, const QString& step, const std::function<void()>& open)
    {
        if (!isWanted(name))
            return;
        m_meter.step(open);
        const bool isOpen = m_meter.until([this] { return !m_windows.windows().isEmpty(); }, patience);
        if (!isOpen) {
            std::printf("%s: no window\n", qPrintable(name));
            m_meter.takeLongest();
            return;
        }
        m_meter.pass(aftermath);
        print(name, step);
        ComposeWindow& window = *m_windows.windows().constFirst();
        m_text = window.findChild<ComposeTextView*>();
        typeAndKeep(name, step, window);
        window.view().discard();
        m_meter.pass(aftermath / 2);
        print(name, step + u", closed"_s);
    }

    void typeAndKeep(const QString& name, const QString& step, ComposeWindow& window)
    {
        m_text->setFocus();
        for (int count = 0; count < 2; ++count) {
            m_meter.step([this] { key(); });
            m_meter.pass(aftermath / 2);
        }
        print(name, step + u", a key"_s);
        m_meter.step([&] { window.view().keep(); });
        m_meter.pass(aftermath / 2);
        m_meter.step([this] { key(); });
        m_meter.pass(aftermath / 2);
        m_meter.step([&] { window.view().keep(); });
        m_meter.pass(aftermath / 2);
        print(name, step + u", kept"_s);
        m_meter.step([this] { press(Qt::CTRL | Qt::Key_A); });
        m_meter.pass(aftermath / 2);
        m_meter.step([this] { m_text->moveCursor(QTextCursor::Start); });
        print(name, step + u", selected"_s);
    }

    void measureReceived(const HostileMessages::Message& message)
    {
        if (!isWanted(message.name))
            return;
        AppModel& model = m_fixture.model();
        const MessageSummary summary = row(message);
        // A page of them.
        QList<MessageSummary> rows(50, summary);
        for (qsizetype index = 1; index < rows.size(); ++index)
            rows[index].id += u'-' + QString::number(index);
        m_fixture.provider().setListing(MailboxRef::system(Mailbox::inbox), rows);
        m_meter.step([&] { model.start(model.refresh()); });
        m_meter.pass(aftermath);
        print(message.name, u"listed"_s);
        m_meter.step([&] { model.setPath({summary.id}); });
        m_meter.pass(aftermath * 3);
        print(message.name, u"read"_s);
        m_meter.step([&] { model.setPath({}); });
        m_meter.pass(aftermath / 2);
        print(message.name, u"left"_s);
        answer(message.name, u"reply"_s, [&] { model.start(model.reply(summary, false)); });
        answer(message.name, u"reply to all"_s, [&] { model.start(model.reply(summary, true)); });
        answer(message.name, u"forward"_s, [&] { model.start(model.forward(summary)); });
    }

    void measureDraft(const HostileMessages::Message& message)
    {
        if (!isWanted(message.name))
            return;
        AppModel& model = m_fixture.model();
        const MessageSummary summary = row(message);
        answer(message.name, u"draft"_s, [&] { model.start(model.editDraft(summary)); });
    }

    void measurePaste(const HostileMessages::Text& paste)
    {
        if (!isWanted(paste.name))
            return;
        ComposeDraft draft;
        draft.id = QUuid::createUuid();
        draft.accountID = m_fixture.account().id;
        draft.isRichText = paste.isHTML;
        m_fixture.model().openCompose(draft);
        ComposeWindow& window = *m_windows.window(draft.id);
        m_text = window.findChild<ComposeTextView*>();
        m_text->setFocus();
        m_meter.pass(aftermath);
        m_meter.takeLongest();
        auto* const data = new QMimeData;
        if (paste.isHTML)
            data->setHtml(paste.text);
        else
            data->setText(paste.text);
        QApplication::clipboard()->setMimeData(data);
        m_meter.step([this] { m_text->paste(); });
        m_meter.pass(aftermath * 2);
        print(paste.name, u"paste"_s);
        typeAndKeep(paste.name, u"paste"_s, window);
        if (!paste.isHTML) {
            m_meter.step([&] { window.findChild<QLineEdit*>(u"subject"_s)->paste(); });
            m_meter.pass(aftermath);
            print(paste.name, u"paste, subject"_s);
            m_meter.step([&] { window.findChild<AddressField*>(u"to"_s)->line().paste(); });
            m_meter.pass(aftermath);
            print(paste.name, u"paste, recipients"_s);
        }
        window.view().discard();
        m_meter.pass(aftermath / 2);
        m_meter.takeLongest();
    }

    QString m_wanted;
    ModelFixture m_fixture;
    ContentView m_window;
    ComposeWindows& m_windows = m_window.composeWindows();
    TurnMeter m_meter;
    ComposeTextView* m_text = nullptr;
    int m_number = 0;
    double m_longest = 0;
};

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir folder;
    qputenv("XDG_CONFIG_HOME", folder.filePath(u"config"_s).toUtf8());
    qputenv("XDG_CACHE_HOME", folder.filePath(u"cache"_s).toUtf8());
    qputenv("XDG_DATA_HOME", folder.filePath(u"data"_s).toUtf8());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder.filePath(u"no-bus"_s).toUtf8());
    // The engine refuses to make a sandbox for root.
    if (geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    SecureMessageView::prepareEngine();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    Style::shared().applyToApplication();
    return Bench(QString::fromLocal8Bit(argc > 1 ? argv[1] : "")).run();
}
