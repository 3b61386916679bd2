#include "views/compose/SpellingLanguages.h"

#include "app/platform/SpellChecker.h"

#include <QLocale>

#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The scripts for which dictionaries are made.
constexpr std::array scripts{
    std::pair(QLocale::LatinScript, QChar::Script_Latin),
    std::pair(QLocale::CyrillicScript, QChar::Script_Cyrillic),
    std::pair(QLocale::GreekScript, QChar::Script_Greek),
    std::pair(QLocale::ArmenianScript, QChar::Script_Armenian),
    std::pair(QLocale::GeorgianScript, QChar::Script_Georgian),
    std::pair(QLocale::HebrewScript, QChar::Script_Hebrew),
    std::pair(QLocale::ArabicScript, QChar::Script_Arabic),
    std::pair(QLocale::DevanagariScript, QChar::Script_Devanagari),
    std::pair(QLocale::BengaliScript, QChar::Script_Bengali),
    std::pair(QLocale::GujaratiScript, QChar::Script_Gujarati),
    std::pair(QLocale::GurmukhiScript, QChar::Script_Gurmukhi),
    std::pair(QLocale::OriyaScript, QChar::Script_Oriya),
    std::pair(QLocale::TamilScript, QChar::Script_Tamil),
    std::pair(QLocale::TeluguScript, QChar::Script_Telugu),
    std::pair(QLocale::KannadaScript, QChar::Script_Kannada),
    std::pair(QLocale::MalayalamScript, QChar::Script_Malayalam),
    std::pair(QLocale::SinhalaScript, QChar::Script_Sinhala),
    std::pair(QLocale::ThaiScript, QChar::Script_Thai),
    std::pair(QLocale::LaoScript, QChar::Script_Lao),
    std::pair(QLocale::KhmerScript, QChar::Script_Khmer),
    std::pair(QLocale::KoreanScript, QChar::Script_Hangul),
};

QChar::Script scriptOfLocale(const QString& tag)
{
    const QLocale::Script script = QLocale(tag).script();
    const auto* const found = std::ranges::find(scripts, script, [](const auto& pair) { return pair.first; });
    return found == scripts.end() ? QChar::Script_Unknown : found->second;
}

/// The one script of the letters; absent where they are of several.
std::optional<QChar::Script> scriptOfWord(QStringView word)
{
    std::optional<QChar::Script> script;
    for (qsizetype place = 0; place < word.size(); ++place) {
        const bool isPair = word[place].isHighSurrogate() && place + 1 < word.size();
        const char32_t letter =
            isPair ? QChar::surrogateToUcs4(word[place], word[place + 1]) : char32_t(word[place].unicode());
        place += isPair ? 1 : 0;
        const QChar::Script own = QChar::script(letter);
        if (own == QChar::Script_Common || own == QChar::Script_Inherited)
            continue;
        if (script && *script != own)
            return std::nullopt;
        script = own;
    }
    return script;
}

} // namespace

SpellingLanguages::SpellingLanguages(const QStringList& installed, const QStringList& wanted,
                                     const QString& chosen)
{
    QStringList locales = wanted;
    locales.removeAll(QLocale::c().name());
    locales.removeAll(QString());
    const QString written = locales.value(0);
    // Of several languages in a script that the user doesn't write, the likeliest.
    locales.append(u"en_US"_s);
    QHash<int, QStringList> candidates;
    for (const QString& tag : installed)
        candidates[scriptOfLocale(tag)].append(tag);
    for (auto script = candidates.cbegin(); script != candidates.cend(); ++script) {
        const QString best = SpellChecker::bestLanguage(script.value(), locales);
        m_byScript.insert(script.key(), best.isEmpty() ? script.value().constFirst() : best);
    }
    m_main = chosen.isEmpty() ? SpellChecker::bestLanguage(installed, {locales.first()}) : chosen;
    const QString& leading = m_main.isEmpty() ? written : m_main;
    if (!leading.isEmpty())
        m_byScript.insert(scriptOfLocale(leading), m_main);
    if (m_main.isEmpty())
        m_missing = written;
}

QString SpellingLanguages::of(QStringView word) const
{
    const std::optional<QChar::Script> script = scriptOfWord(word);
    return script ? m_byScript.value(*script) : QString();
}

} // namespace Larkhaven
