#include "views/style/PlainAlert.h"

#include "platform/Wakeup.h"
#include "views/style/DisplayText.h"
#include "views/style/Style.h"

#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

QMessageBox* makePlainAlert(const QString& title, const QString& text, QMessageBox::StandardButton button,
                            QWidget* parent)
{
    auto* const alert = new QMessageBox(QMessageBox::Warning, DisplayText::bounded(title),
                                        DisplayText::bounded(title), button, parent);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setTextFormat(Qt::PlainText);
    const Style& style = Style::shared();
    alert->setIconPixmap(style.pixmap(Symbol::warning, style.scaled(2.5), style.colors().danger,
                                      parent ? parent->devicePixelRatioF() : 1));
    setPlainText(*alert, text);
    return alert;
}

QPushButton* addDestructiveButton(QMessageBox& alert, const QString& text, QMessageBox::ButtonRole role)
{
    auto* const button = new QPushButton(text);
    button->setProperty("destructive", true);
    alert.addButton(button, role);
    return button;
}

Task<qsizetype> answerTo(QMessageBox* alert, QList<QAbstractButton*> buttons, AlertTurn turn)
{
    const auto answered = std::make_shared<Wakeup>();
    const auto answer = std::make_shared<qsizetype>(-1);
    QObject::connect(alert, &QMessageBox::finished, answered.get(),
                     [alert, buttons, answer] { *answer = buttons.indexOf(alert->clickedButton()); });
    // It goes after each answer, and with its window.
    QObject::connect(alert, &QObject::destroyed, answered.get(), [end = answered.get()] { end->notify(); });
    if (turn == AlertTurn::now)
        alert->open();
    else
        openWhenActive(*alert);
    co_await answered->wait(std::chrono::milliseconds(-1));
    const qsizetype place = *answer;
    co_return place;
}

void setPlainText(QMessageBox& alert, const QString& text)
{
    alert.setInformativeText(DisplayText::lines(text));
    if (auto* const label = alert.findChild<QLabel*>("qt_msgbox_informativelabel"_L1))
        label->setTextFormat(Qt::PlainText);
}

} // namespace Larkhaven
