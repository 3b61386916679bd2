// The program, which is told to restart, and writes down each of its lives: "{process} {role} {accent} {text
// size}". Where it is told to change the size of its text, a line has the size that it has then.

#include "SanitizerOptions.h"
#include "views/compose/ComposeWindows.h"
#include "views/main/Application.h"
#include "views/style/Style.h"

#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

/// Gives how many lines there were before.
qsizetype write(const QString& line)
{
    QFile log(qEnvironmentVariable("RESTART_LOG"));
    if (!log.open(QIODevice::ReadWrite | QIODevice::Append))
        return -1;
    log.seek(0);
    const qsizetype lines = log.readAll().count('\n');
    log.write(line.toUtf8() + '\n');
    return lines;
}

/// Writes a message, asks for the restart, and stays when it is asked about the message.
void refuseToLeave(Application& application)
{
    ComposeDraft draft;
    draft.id = QUuid::createUuid();
    application.model().openCompose(draft);
    ComposeWindow* const window = application.window().composeWindows().windows().constFirst();
    window->findChild<QTextEdit*>()->insertPlainText(u"unsaved"_s);
    application.model().restart();
    auto* const glance = new QTimer(window);
    QObject::connect(glance, &QTimer::timeout, window, [window, glance] {
        auto* const question = window->findChild<QMessageBox*>();
        if (!question || !question->isVisible())
            return;
        glance->stop();
        // Once the answer has been heard the question goes.
        QObject::connect(question, &QObject::destroyed, qApp,
                         [] { QTimer::singleShot(0, [] { QApplication::exit(0); }); });
        question->reject();
        write(u"stayed"_s);
    });
    glance->start(std::chrono::milliseconds(20));
}

QString textSize()
{
    return QString::number(Style::shared().textSize());
}

void changeAndRestart(Application& application)
{
    const QString size = qEnvironmentVariable("RESTART_TEXT_SIZE");
    if (!size.isEmpty()) {
        application.model().defaults().set(DefaultsKey::textSize, size);
        write(textSize());
    }
    application.model().restart();
}

} // namespace

int main(int argc, char** argv)
{
    int result = 0;
    std::optional<Relaunch> next;
    {
        Application application(argc, argv);
        const QString role = application.isFirst() ? u"first"_s : u"later"_s;
        const qsizetype life =
            write(u"%1 %2 %3 %4"_s.arg(QString::number(QApplication::applicationPid()), role,
                                       Style::shared().colors().accent.name(), textSize()));
        QTimer::singleShot(0, [&application, life] {
            if (qEnvironmentVariableIsSet("RESTART_REFUSED"))
                refuseToLeave(application);
            else if (life == 0)
                changeAndRestart(application);
            else
                application.window().close();
        });
        result = application.run();
        next = application.relaunch();
    }
    return next && !next->start() ? 1 : result;
}
