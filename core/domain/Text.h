#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <memory>
#include <optional>

struct UBreakIterator;

/// Small rules about text that many modules share. Pure functions, callable from any thread.
namespace Larkhaven::Text {

/// Whether the character is "white space" of mail text: a tab or a Unicode space separator (category Zs).
/// Line ends are not.
bool isSpace(QChar character);

/// Whether the character ends a line: U+000A to U+000D, U+0085, U+2028 or U+2029.
bool isLineEnd(QChar character);

/// The text without white space at both ends.
QStringView trimmedSpace(QStringView text);

/// The text without white space and line ends at both ends.
QStringView trimmedSpaceAndLineEnds(QStringView text);

/// The text without U+0020 at both ends, which is all that "spaces" means on the wire.
QStringView trimmedBlanks(QStringView text);

/// The text with its ASCII letters lowered (raised), every other character as it stands. Keywords of
/// protocols are compared so: Unicode case folding would take U+212A (Kelvin sign) for "k".
QString asciiLowered(QStringView text);
QString asciiUppered(QStringView text);

/// Whether the texts are one keyword: equal but for the case of ASCII letters.
bool isSameKeyword(QStringView left, QStringView right);

/// The text with each letter lowered by itself (the simple mapping of the Unicode Standard, 4.2), for text of
/// people: names, addresses, what is searched for. A letter that has no single small one stays, so the length
/// never changes.
///
/// NB: not QString::toLower, which takes the time of the square for a text of such letters (U+0130).
QString lowered(QStringView text);

/// Decodes UTF-8. Each maximal invalid sequence gives one U+FFFD, as the Unicode Standard (3.9, "U+FFFD
/// Substitution of Maximal Subparts") recommends. A byte order mark stays. At most 2 GiB - 1 of input.
QString fromRepairedUTF8(QByteArrayView bytes);

/// Decodes UTF-8; absent where anything in it is invalid.
std::optional<QString> fromStrictUTF8(QByteArrayView bytes);

/// Writes the text that the UTF-8 spells, for which there is room for a unit for each byte; where it ends.
/// Null where anything in the bytes is invalid: what is written then means nothing.
char16_t* writeStrictUTF8(char16_t* output, QByteArrayView bytes);

/// Walks a text by its user-perceived characters (extended grapheme clusters, UAX #29), looking no further
/// than it has to. The text must outlive it.
///
/// NB: not QTextBoundaryFinder, which cuts surrogate pairs in halves behind Indic letters (Qt 6.4).
class CharacterWalk {
public:
    explicit CharacterWalk(QStringView text);

    /// Where the next character ends; absent behind the last one.
    std::optional<qsizetype> next();

private:
    struct Closer {
        void operator()(UBreakIterator* iterator) const;
    };
    std::unique_ptr<UBreakIterator, Closer> m_iterator;
};

/// At most the first `count` user-perceived characters (extended grapheme clusters, UAX #29) of the text.
QString prefix(const QString& text, qsizetype count);

} // namespace Larkhaven::Text
