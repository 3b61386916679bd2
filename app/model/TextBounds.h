#pragma once

#include <QStringView>

#include <unicode/uscript.h>

namespace Larkhaven {

/// Follows a text from character to character, and says which of them an editor can take.
///
/// The weights were measured with Qt 6.4's text engine, which shapes each stretch of one script and one
/// direction by itself, and looks through all fonts for a letter that none has.
class TextBounds {
public:
    enum class Verdict {
        keep,
        drop,        ///< one more mark than the letter can carry
        breakBefore, ///< keep it, on a new line
        end,         ///< neither it nor anything behind it
    };

    /// `mostEffort`: of the whole text.
    explicit TextBounds(qsizetype mostEffort)
        : m_mostEffort(mostEffort)
    {}

    Verdict next(char32_t character);
    /// A line ends here. Gives whether another may follow.
    bool endLine();
    /// What follows is laid out by itself.
    void beginParagraph();
    /// A line ends here within a paragraph, which the engine still lays out as one. Gives likewise.
    bool breakLine();
    /// Something other than text takes effort. Gives whether there is room for it.
    bool spend(qsizetype effort);

    /// The effort of all that was kept.
    qsizetype effort() const { return m_effort; }

private:
    qsizetype weigh(char32_t character);
    qsizetype weighLetter(char32_t character);

    qsizetype m_mostEffort;
    qsizetype m_characters = 0;
    qsizetype m_effort = 0;
    qsizetype m_lines = 0;
    qsizetype m_lineEffort = 0;
    qsizetype m_blockEffort = 0;
    qsizetype m_run = 0;
    qsizetype m_dropped = 0;
    int m_marks = 0;
    bool m_isBreakDue = false;
    UScriptCode m_script = USCRIPT_LATIN; ///< of the last letter
    bool m_isRightToLeft = false;         ///< the last letter
    bool m_isLeadingJamo = false;         ///< the last letter
    bool m_isNumber = false;              ///< the last character that has a direction is a digit
};

} // namespace Larkhaven
