#pragma once

#include <QLocale>
#include <QString>
#include <QTranslator>

namespace Larkhaven {

/// The texts of the program and of Qt in the language of the user, as long as it lives. Made behind the
/// application object and before the first window, on the main thread.
///
/// The language is the first of `QLocale::uiLanguages` that the program has; English otherwise, whose texts
/// stand in the sources, and of which only the forms of counted texts are looked up. Qt's texts come from the
/// system in the same language, so that no window speaks two; where the system lacks them they stay English.
class Translations {
public:
    explicit Translations(const QLocale& locale = QLocale());
    Translations(const Translations&) = delete;
    Translations& operator=(const Translations&) = delete;

    /// Such as "de".
    QString language() const { return m_own.language(); }

private:
    QTranslator m_own;
    QTranslator m_ofQt;
};

} // namespace Larkhaven
