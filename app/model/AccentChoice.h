#pragma once

#include "model/UserDefaults.h"

#include <QString>

#include <array>

namespace Larkhaven {

/// Which colour the program uses as its accent.
enum class AccentChoice {
    larkhaven, ///< the program's own
    system,    ///< the desktop's
};
inline constexpr std::array allAccentChoices{AccentChoice::larkhaven, AccentChoice::system};
QString storedText(AccentChoice choice);
/// The name shown to the user.
QString label(AccentChoice choice);

/// The stored choice; an unknown text counts as `larkhaven`.
AccentChoice accentChoice(const UserDefaults& defaults);

} // namespace Larkhaven
