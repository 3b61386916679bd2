#pragma once

#include "model/AppModel.h"

#include <QWidget>

#include <functional>

namespace Larkhaven {

class FlatButton;
class SearchField;

/// The row of commands at the top of the window. Those for messages act on the open one, or else on the
/// selection. Where they don't all fit, the last groups are left out: the menus have them too, and Search
/// only here stands open.
class MailToolbar : public QWidget {
    Q_OBJECT

public:
    explicit MailToolbar(AppModel& model, QWidget* parent = nullptr);

    SearchField& searchField() const { return *m_search; }

Q_SIGNALS:
    void sidebarToggled();

protected:
    /// The keyboard goes on to the first command that is of use. With it as focus proxy, Tab would go
    /// straight there as well, past the sidebar's button.
    void focusInEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    using Action = std::function<void(AppModel&, const QList<MessageSummary>&)>;
    using Answer = std::function<Task<>(AppModel&, const MessageSummary&)>;

    void addAction(FlatButton* button, const char* name, const Action& action);
    void addAnswer(FlatButton* button, const char* name, const Answer& answer);
    void makeLayout();
    void fit();
    void update();

    AppModel& m_model;
    FlatButton* m_sidebar;
    FlatButton* m_getMail;
    FlatButton* m_newMessage;
    FlatButton* m_archive;
    FlatButton* m_delete;
    FlatButton* m_junk;
    FlatButton* m_reply;
    FlatButton* m_replyAll;
    FlatButton* m_forward;
    FlatButton* m_star;
    SearchField* m_search;
    QList<QWidget*> m_groups; ///< of the buttons, in their order
};

} // namespace Larkhaven
