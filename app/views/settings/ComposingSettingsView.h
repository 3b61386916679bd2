#pragma once

#include "model/AppModel.h"
#include "views/settings/SettingsForm.h"

class QLabel;

namespace Larkhaven {

class Picker;
class PointSizeField;
class SegmentedPicker;
class SignatureEdit;

/// The settings of messages that are written.
class ComposingSettingsView : public SettingsForm {
    Q_OBJECT

public:
    explicit ComposingSettingsView(AppModel& model, QWidget* parent = nullptr);

private:
    void makeFormat();
    void makeSignature();
    void follow(const QString& key);
    void showFont();

    AppModel& m_model;
    SegmentedPicker* m_format;
    Picker* m_family;
    PointSizeField* m_size;
    QLabel* m_sample;
    SignatureEdit* m_signature;
};

} // namespace Larkhaven
