#pragma once

#include "model/AppModel.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace Larkhaven {

/// Says that a sign-in goes on in the browser, for as long as it does; closing it gives the sign-in up. It
/// comes up without the keyboard: what is typed belongs to where it is typed. Asked for once more, it comes
/// to the front.
class SignInWindow : public QWidget {
    Q_OBJECT

public:
    explicit SignInWindow(AppModel& model, QWidget* parent = nullptr);

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void follow();
    void bringForward();

    AppModel& m_model;
    QLabel* m_title;
    QLabel* m_text;
    QPushButton* m_cancel;
};

} // namespace Larkhaven
