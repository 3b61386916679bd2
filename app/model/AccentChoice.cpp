#include "model/AccentChoice.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

QString storedText(AccentChoice choice)
{
    return choice == AccentChoice::system ? u"system"_s : u"larkhaven"_s;
}

QString label(AccentChoice choice)
{
    return choice == AccentChoice::system ? QCoreApplication::translate("AccentChoice", "System Accent Color")
                                          : QCoreApplication::translate("AccentChoice", "Larkhaven Purple");
}

AccentChoice accentChoice(const UserDefaults& defaults)
{
    const QString stored = defaults.text(DefaultsKey::accent);
    const auto known = std::ranges::find_if(
        allAccentChoices, [&](AccentChoice choice) { return storedText(choice) == stored; });
    return known == allAccentChoices.end() ? AccentChoice::larkhaven : *known;
}

} // namespace Larkhaven
