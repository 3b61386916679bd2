#pragma once

#include "model/AppModel.h"
#include "views/settings/SettingsForm.h"

#include <QPointer>

class QLabel;
class QMessageBox;
class QPushButton;

namespace Larkhaven {

/// The settings of what messages may do, and what is kept of them.
class PrivacySettingsView : public SettingsForm {
    Q_OBJECT

public:
    explicit PrivacySettingsView(AppModel& model, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void addFact(const QString& what, const QString& value);
    void measure();
    Task<> showSize(int asked);
    void askToDelete();
    Task<> deleteMessages();

    AppModel& m_model;
    QLabel* m_size;
    QPushButton* m_delete;
    QPointer<QMessageBox> m_question;
    int m_asked = 0; ///< how often the size was asked for: only the last answer counts
};

} // namespace Larkhaven
