#pragma once

#include "model/AppModel.h"

#include <QWidget>

namespace Larkhaven {

class FlatButton;
class SearchField;

/// The row of commands at the top of the window.
class MailToolbar : public QWidget {
    Q_OBJECT

public:
    explicit MailToolbar(AppModel& model, QWidget* parent = nullptr);

    SearchField& searchField() const { return *m_search; }

Q_SIGNALS:
    void sidebarToggled();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    SearchField* m_search;
};

} // namespace Larkhaven
