#include "model/AccentChoice.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(AccentChoice)
};

} // namespace

QString storedText(AccentChoice choice)
{
    return choice == AccentChoice::system ? u"system"_s : u"larkhaven"_s;
}

QString label(AccentChoice choice)
{
    return choice == AccentChoice::system ? Texts::tr("System Accent Color") : Texts::tr("Larkhaven Purple");
}

AccentChoice accentChoice(const UserDefaults& defaults)
{
    const QString stored = defaults.text(DefaultsKey::accent);
    const auto known = std::ranges::find_if(
        allAccentChoices, [&](AccentChoice choice) { return storedText(choice) == stored; });
    return known == allAccentChoices.end() ? AccentChoice::larkhaven : *known;
}

} // namespace Larkhaven
