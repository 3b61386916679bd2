#pragma once

#include "model/AppModel.h"
#include "views/settings/SettingsForm.h"

#include <QPointer>

#include <optional>

class QLabel;
class QMessageBox;

namespace Larkhaven {

class Picker;
class SegmentedPicker;

/// The settings of mail and appearance.
class GeneralSettingsView : public SettingsForm {
    Q_OBJECT

public:
    explicit GeneralSettingsView(AppModel& model, QWidget* parent = nullptr);

private:
    void makeMail();
    void makeAppearance();
    void follow(const QString& key);
    void fillAccounts();
    void showInterval();
    void showAccent();
    void chooseAccent(AccentChoice choice);

    AppModel& m_model;
    Picker* m_account;
    Picker* m_interval;
    SegmentedPicker* m_pageSize;
    Picker* m_accent;
    QWidget* m_restartLine; ///< says that a choice waits for the next start
    QPointer<QMessageBox> m_question;
    std::optional<AccentChoice> m_askedAccent; ///< that the question is about
};

} // namespace Larkhaven
