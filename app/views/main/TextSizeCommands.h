#pragma once

#include "model/UserDefaults.h"

#include <QObject>

class QKeyEvent;

namespace Larkhaven {

/// The commands that change the size of text, and their keys, which work in whatever window and field the
/// keyboard is: Ctrl with "=" or "+", "-" or "_", and "0". Main thread.
///
/// Where the keyboard is in a rich text that is being written, bigger and smaller are about the selected
/// text; everywhere else about the setting "textSize".
class TextSizeCommands : public QObject {
    Q_OBJECT

public:
    /// Listens to the keys of the application for as long as it lives.
    explicit TextSizeCommands(UserDefaults& defaults, QObject* parent = nullptr);

    /// One step of `Style::textSizes` up or down; the first and the last one stay.
    static void makeBigger(UserDefaults& defaults);
    static void makeSmaller(UserDefaults& defaults);
    static void makeActualSize(UserDefaults& defaults);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool handle(const QKeyEvent& event);

    UserDefaults& m_defaults;
};

} // namespace Larkhaven
