#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"

#include <QByteArrayView>
#include <QRegularExpression>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// The filter gives what its replacements give when they are made as they are defined: by regular expressions,
// round by round.

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

QRegularExpression pattern(QStringView text)
{
    // "~" stands for white space. A letter stands for itself in both cases of ASCII, but for the "s" and "S"
    // of [\s\S].
    QString full;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar character = text[i];
        if (character == u'~')
            full +=
                u"[\\t-\\r \\x{85}\\x{a0}\\x{1680}\\x{2000}-\\x{200a}\\x{2028}\\x{2029}\\x{202f}\\x{205f}\\x{3000}]*"_s;
        else if (character.isLetter() && (i == 0 || text[i - 1] != u'\\'))
            full += u'[' + character + character.toUpper() + u']';
        else
            full += character;
    }
    return QRegularExpression(full, QRegularExpression::UseUnicodePropertiesOption);
}

struct Replacement {
    QRegularExpression pattern;
    QString replacement;
};

const QList<Replacement>& replacements()
{
    static const QList<Replacement> list{
        {pattern(u"/\\*[\\s\\S]*?\\*/"), {}},
        {pattern(u"@import[^;]*;?"), {}},
        {pattern(u"@font-face~\\{[^}]*\\}"), {}},
        {pattern(u"url~\\([^)]*\\)?"), u"none"_s},
        {pattern(u"image-set~\\([^)]*\\)?"), u"none"_s},
        {pattern(u"expression~\\("), u"("_s},
        {pattern(u"behavior~:"), u"x:"_s},
        {pattern(u"-moz-binding~:"), u"x:"_s},
        {pattern(u"javascript~:"), {}},
        {pattern(u"position~:~(fixed|sticky|absolute)"), u"position:static"_s},
    };
    return list;
}

QString replacedInRounds(QString text)
{
    QString before;
    do {
        before = text;
        for (const Replacement& replacement : replacements())
            text.replace(replacement.pattern, replacement.replacement);
    } while (text != before);
    return text;
}

/// What a browser would read as one of the functions or positions that don't survive.
const QRegularExpression& refused()
{
    static const QRegularExpression expression(
        u"(?i)(?<![-\\w\\x{80}-\\x{10ffff}])(-[a-z0-9_\\x{80}-\\x{10ffff}]+-)?(image|image-set|cross-fade|"
        u"src|url)\\(|"
        u"(^|[;{}])\\s*position\\s*:(?!\\s*(static|relative|initial|inherit|unset|revert)\\s*([!;{}]|$))"_s,
        QRegularExpression::UseUnicodePropertiesOption);
    return expression;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t longestInput = 16'384;
    if (size > longestInput)
        return 0;
    const QString css = Text::fromRepairedUTF8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QString filtered = HTMLSanitizer::sanitizeCSS(css);
    require(!filtered.contains(u'<') && (!filtered.contains(u'\\')));
    require(HTMLSanitizer::sanitizeCSS(filtered) == filtered);
    require(replacedInRounds(filtered) == filtered);
    const QString safe = HTMLSanitizer::safeStyle(css);
    require(HTMLSanitizer::safeStyle(safe) == safe && safe.size() <= filtered.size());
    require(!safe.contains(refused()));
    if (!css.contains(u'\\'))
        require(filtered == replacedInRounds(QString(css).remove(u'<')));
    return 0;
}
