#pragma once

#include "model/AppModel.h"

#include <QPointer>
#include <QWidget>

#include <optional>

class QLabel;
class QListView;
class QMessageBox;
class QScrollArea;
class QStackedWidget;

namespace Larkhaven {

class AccountForm;
class AccountsListModel;
class FlatButton;

/// The accounts: their order, what is known of each, and how they come and go.
class AccountsSettingsView : public QWidget {
    Q_OBJECT

public:
    explicit AccountsSettingsView(AppModel& model, QWidget* parent = nullptr);

    /// Selects the account, if it is there.
    void select(const QUuid& accountID);

Q_SIGNALS:
    /// Opens the window that sets an account up, or changes the one that the model tells.
    void setupRequested();

private:
    QWidget* makeSide();
    void addMoving(const QString& text, const QKeySequence& keys, int step);
    void move(int step);
    std::optional<QUuid> selected() const;
    void followList();
    void followSelection();
    void askToRemove();

    AppModel& m_model;
    AccountsListModel* m_accounts;
    QListView* m_list;
    FlatButton* m_add;
    FlatButton* m_remove;
    QStackedWidget* m_detail;
    QLabel* m_hint;
    QScrollArea* m_formArea;
    AccountForm* m_form;
    std::optional<QUuid> m_selected; ///< stays selected while the list changes around it
    QPointer<QMessageBox> m_question;
    QUuid m_askedAbout; ///< the account of the question
};

} // namespace Larkhaven
