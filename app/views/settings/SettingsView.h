#pragma once

#include "model/AppModel.h"
#include "views/style/Symbols.h"

#include <QWidget>

class QTabWidget;

namespace Larkhaven {

class AccountsSettingsView;

/// The settings window. There is one of it: whoever opens it again gets the one that is open.
class SettingsView : public QWidget {
    Q_OBJECT

public:
    /// In the order of the tabs.
    enum class Pane { accounts, general, composing, privacy };

    explicit SettingsView(AppModel& model, QWidget* parent = nullptr);

    /// Shows the window, or brings it to the front, with the pane that it last had.
    void open();
    void open(Pane pane);
    /// With the account selected.
    void open(const QUuid& accountID);

    Pane pane() const;

Q_SIGNALS:
    /// Opens the window that sets an account up, or changes the one that the model tells.
    void setupRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    template <typename View>
    void addPane(AppModel& model, Symbol symbol, const QString& title);
    void followFocus(QWidget* focused);
    void measure();
    void fitToScreen();

    QTabWidget* m_tabs;
    AccountsSettingsView* m_accounts;
    int m_textSize = 0; ///< that the window was fitted to
    /// Goes first: what follows the keyboard looks at the members above, and a window that ends loses it.
    QObject m_focusWatch;
};

} // namespace Larkhaven
