#pragma once

#include "model/AppModel.h"

#include <QObject>
#include <QPointer>

class QDialog;
class QMessageBox;

namespace Larkhaven {

/// Shows the label dialogs of the model on a window: a sheet for a name, and the question before a deletion.
class LabelDialogs : public QObject {
    Q_OBJECT

public:
    LabelDialogs(AppModel& model, QWidget* window);

private:
    void followEdit();
    void followDeletion();
    QString noun(const QUuid& accountID) const;
    QString title(const AppModel::LabelEdit& edit) const;
    QDialog* makeSheet(const AppModel::LabelEdit& edit);

    AppModel& m_model;
    QWidget* m_window;
    QPointer<QDialog> m_sheet;
    QPointer<QMessageBox> m_question;
};

} // namespace Larkhaven
