#pragma once

#include "views/style/Style.h"

#include <QWidget>

#include <functional>

namespace Larkhaven {

class ComposeEditorController;
class FlatButton;

/// The commands for rich text above the editor.
class FormatBar : public QWidget {
    Q_OBJECT

public:
    explicit FormatBar(ComposeEditorController& editor, QWidget* parent = nullptr);

protected:
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
    void updateToggles();

    QWidget* m_buttons;
    QList<Toggle> m_toggles;
};

} // namespace Larkhaven
