#pragma once

#include "views/compose/ComposeView.h"

#include <QMainWindow>

#include <memory>

namespace Larkhaven {

/// The window of one message that is being written. It deletes itself when it closes.
class ComposeWindow : public QMainWindow {
    Q_OBJECT

public:
    static constexpr QSize defaultSize{680, 560};
    static constexpr QSize smallestSize{520, 400};

    ComposeWindow(AppModel& model, const ComposeDraft& draft, bool isUnsaved, ComposeView::Desktop desktop,
                  ContactsService& contacts, ComposeView::Hooks hooks, QWidget* parent = nullptr);

    ComposeView& view() const { return *m_view; }

Q_SIGNALS:
    /// The user has asked for the end of the program here.
    void quitRequested();
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    AppModel& m_model;
    std::shared_ptr<ComposeCloseState> m_closeState;
    ComposeView* m_view;
};

} // namespace Larkhaven
