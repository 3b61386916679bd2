#pragma once

#include "UITestSupport.h"
#include "views/settings/SettingsView.h"
#include "views/style/Picker.h"

#include <QMessageBox>
#include <QPushButton>
#include <QTest>

#include <memory>
#include <stdexcept>

namespace Larkhaven {

/// The settings window over a model without network.
class SettingsWindow {
public:
    explicit SettingsWindow(const QList<Account>& accounts);
    ~SettingsWindow();
    SettingsWindow(const SettingsWindow&) = delete;
    SettingsWindow& operator=(const SettingsWindow&) = delete;

    /// Shows the pane and waits until it has the keyboard.
    void open(SettingsView::Pane pane);
    /// Closes the window and opens the pane of a program that starts anew over the same files.
    void restart(SettingsView::Pane pane);

    AppModel& model() { return fixture.model(); }
    UserDefaults& defaults() { return fixture.defaults(); }
    template <typename Widget>
    Widget& child(const QString& name)
    {
        auto* const found = view->findChild<Widget*>(name);
        if (!found)
            throw std::runtime_error(name.toStdString());
        return *found;
    }
    /// Presses the mouse on the control, where it takes a press.
    void click(const QString& name);
    /// Opens the list of a picker and chooses by its keys.
    void choose(const QString& name, const QString& text);
    QStringList choices(const QString& name);
    /// The alert that is open; null where none is.
    QMessageBox* alert(const QString& name);
    /// Presses the button of the alert and waits until it is gone.
    void answer(const QString& name, const QString& button);

    ModelFixture fixture;
    std::unique_ptr<SettingsView> view;
};

/// Everything that is written on the window's controls that can be seen: labels, buttons, tabs, lists and
/// fields.
QStringList textsOf(const QWidget& window);

} // namespace Larkhaven
