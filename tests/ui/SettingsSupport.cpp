#include "SettingsSupport.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QLabel>
#include <QLineEdit>
#include <QTabBar>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SettingsWindow::SettingsWindow(const QList<Account>& accounts)
    : fixture(accounts)
{
    Style& style = Style::shared();
    style.setTextSize(Style::standardTextSize);
    style.setScheme(Style::Scheme::light);
    style.setAccent(std::nullopt);
    style.setHighContrast(false);
    style.applyToApplication();
    view = std::make_unique<SettingsView>(fixture.model());
}

SettingsWindow::~SettingsWindow()
{
    view.reset();
    settle();
}

void SettingsWindow::open(SettingsView::Pane pane)
{
    view->open(pane);
    show(*view);
}

void SettingsWindow::restart(SettingsView::Pane pane)
{
    view.reset();
    fixture.restart();
    view = std::make_unique<SettingsView>(fixture.model());
    open(pane);
}

void SettingsWindow::click(const QString& name)
{
    auto& button = child<QAbstractButton>(name);
    ASSERT_TRUE(button.isVisible()) << name.toStdString();
    const int inside = button.height() / 2;
    QTest::mouseClick(&button, Qt::LeftButton, {}, QPoint(inside, inside));
}

void SettingsWindow::choose(const QString& name, const QString& text)
{
    auto& picker = child<QComboBox>(name);
    picker.setFocus();
    QTest::keyClick(&picker, Qt::Key_F4);
    ASSERT_TRUE(waitUntil([&picker] { return picker.view()->isVisible(); }));
    QTest::keyClick(picker.view(), Qt::Key_Home);
    for (int steps = picker.findText(text); steps > 0; --steps)
        QTest::keyClick(picker.view(), Qt::Key_Down);
    QTest::keyClick(picker.view(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&picker] { return !picker.view()->isVisible(); }));
}

QStringList SettingsWindow::choices(const QString& name)
{
    const auto& picker = child<QComboBox>(name);
    QStringList texts;
    for (int index = 0; index < picker.count(); ++index)
        texts.append(picker.itemText(index));
    return texts;
}

QMessageBox* SettingsWindow::alert(const QString& name)
{
    auto* const found = view->findChild<QMessageBox*>(name);
    return found && found->isVisible() ? found : nullptr;
}

void SettingsWindow::answer(const QString& name, const QString& button)
{
    ASSERT_TRUE(waitUntil([&] { return alert(name); })) << name.toStdString();
    const auto buttons = alert(name)->buttons();
    for (QAbstractButton* const candidate : buttons) {
        if (candidate->text().remove(u'&') == button)
            QTest::mouseClick(candidate, Qt::LeftButton);
    }
    ASSERT_TRUE(waitUntil([&] { return !alert(name); })) << button.toStdString();
}

QStringList textsOf(const QWidget& window)
{
    QStringList texts;
    const auto widgets = window.findChildren<QWidget*>();
    for (const QWidget* const widget : widgets) {
        if (!widget->isVisible())
            continue;
        if (const auto* const label = qobject_cast<const QLabel*>(widget))
            texts.append(label->text());
        else if (const auto* const button = qobject_cast<const QAbstractButton*>(widget))
            texts.append({button->text().remove(u'&'), button->toolTip()});
        else if (const auto* const field = qobject_cast<const QLineEdit*>(widget))
            texts.append(field->text());
        else if (const auto* const picker = qobject_cast<const QComboBox*>(widget)) {
            for (int index = 0; index < picker->count(); ++index)
                texts.append(picker->itemText(index));
        } else if (const auto* const tabs = qobject_cast<const QTabBar*>(widget)) {
            for (int index = 0; index < tabs->count(); ++index)
                texts.append(tabs->tabText(index));
        }
    }
    return texts;
}

} // namespace Larkhaven
