#include "views/settings/SettingToggle.h"

namespace Larkhaven {

SettingToggle::SettingToggle(const QString& text, UserDefaults& defaults, QLatin1StringView key,
                             QWidget* parent)
    : CheckBox(text, parent)
{
    setObjectName(key);
    setChecked(defaults.boolean(key));
    connect(this, &QCheckBox::clicked, &defaults, [&defaults, key](bool isOn) { defaults.set(key, isOn); });
    connect(&defaults, &UserDefaults::changed, this, [this, &defaults, key](const QString& changed) {
        if (changed == key)
            setChecked(defaults.boolean(key));
    });
}

} // namespace Larkhaven
