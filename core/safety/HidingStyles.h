#pragma once

#include <QSet>
#include <QString>
#include <QStringView>

#include <optional>

/// What of a style hides the text that it applies to. Pure, callable from any thread, linear in the input.
namespace Larkhaven {

/// The declarations of a style that decide whether text is seen.
struct HidingDeclarations {
    bool hides = false;              ///< with all that the element holds, whatever that says of itself
    std::optional<bool> isInvisible; ///< `visibility`, which what is within may take back
    std::optional<bool> hasNoSize;   ///< `font-size`, likewise
    std::optional<bool> hasNoColor;  ///< `color`, likewise

    static HidingDeclarations read(QStringView declarations);
};

/// The simple rules of style sheets that hide what they apply to.
class HidingRules {
public:
    /// Rules beyond this many of one document count for nothing.
    static constexpr qsizetype mostRules = 10'000;

    void addSheet(QStringView css);
    /// Whether a rule for the tag, for one of the classes (separated by blanks) or for both hides.
    bool hide(QStringView tag, QStringView classes) const;

private:
    void addRule(QStringView selectors, QStringView declarations);

    QSet<QString> m_selectors; ///< "tag", ".class" or "tag.class"
};

} // namespace Larkhaven
