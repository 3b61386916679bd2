#pragma once

#include "model/AppModel.h"

#include <QLineEdit>

namespace Larkhaven {

/// The search field of the toolbar. Return searches, and so does emptying the field; typing alone loads
/// nothing.
class SearchField : public QLineEdit {
    Q_OBJECT

public:
    explicit SearchField(AppModel& model, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;

private:
    static int idealWidth();
    void measure();
    void takeText();

    AppModel& m_model;
    QAction* m_magnifier;
    QAction* m_clear;
};

} // namespace Larkhaven
