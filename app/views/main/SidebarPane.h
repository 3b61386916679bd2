#pragma once

#include "model/AppModel.h"

#include <QWidget>

namespace Larkhaven {

class FlatButton;
class SidebarView;

/// The left column: the mailboxes, and at its foot the way to another account.
class SidebarPane : public QWidget {
    Q_OBJECT

public:
    explicit SidebarPane(AppModel& model, QWidget* parent = nullptr);

    /// The least width of the pane; widths on screen follow the text size, those that are kept are for the
    /// standard one.
    static int narrowest();
    static int shownWidth(int standard);
    static int standardWidth(int shown);

    SidebarView& sidebar() const { return *m_sidebar; }

Q_SIGNALS:
    /// The window for repairing an account is asked for.
    void setupRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    SidebarView* m_sidebar;
    FlatButton* m_add;
};

} // namespace Larkhaven
