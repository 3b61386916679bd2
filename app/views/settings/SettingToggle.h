#pragma once

#include "model/UserDefaults.h"
#include "views/style/CheckBox.h"

namespace Larkhaven {

/// A setting that is on or off: a click writes it, and a change from elsewhere shows.
class SettingToggle : public CheckBox {
    Q_OBJECT

public:
    /// `key` is one of `DefaultsKey`; the object is named after it.
    SettingToggle(const QString& text, UserDefaults& defaults, QLatin1StringView key,
                  QWidget* parent = nullptr);
};

} // namespace Larkhaven
