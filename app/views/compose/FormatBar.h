#pragma once

#include "views/style/Style.h"

#include <QWidget>

#include <functional>

namespace Larkhaven {

class ComposeEditorController;
class FlatButton;

/// The commands for rich text above the editor. The keyboard stops at it once; the arrow keys, Home and End
/// go from command to command.
class FormatBar : public QWidget {
    Q_OBJECT

public:
    explicit FormatBar(ComposeEditorController& editor, QWidget* parent = nullptr);

    /// The keyboard goes to the command that had it last, or to the first one.
    void takeFocus(Qt::FocusReason reason);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Toggle {
        FlatButton* button;
        std::function<bool()> isOn;
    };

    FlatButton& add(QLatin1StringView name, const QString& label, const QString& help, Symbol symbol,
                    const std::function<void()>& act);
    void addToggle(QLatin1StringView name, const QString& label, const QString& help, Symbol symbol,
                   const std::function<void()>& act, const std::function<bool()>& isOn);
    void addGap();
    bool move(int key);
    void setCurrent(qsizetype index);
    void updateToggles();

    QWidget* m_buttons;
    QList<FlatButton*> m_commands;
    qsizetype m_current = 0; ///< the command at which the keyboard stops
    QList<Toggle> m_toggles;
};

} // namespace Larkhaven
