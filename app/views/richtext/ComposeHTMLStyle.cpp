#include "views/richtext/ComposeHTMLStyle.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "views/richtext/ComposeHTML.h"

#include <QTextDocumentFragment>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::ComposeHTML {

namespace {

constexpr qsizetype longestReference = 32;
constexpr qsizetype mostFamilies = 4;
constexpr qsizetype longestFamily = 64;

} // namespace

QString References::decoded(QStringView text)
{
    QString result;
    result.reserve(text.size());
    qsizetype position = 0;
    while (position < text.size()) {
        const qsizetype ampersand = text.indexOf(u'&', position);
        if (ampersand < 0)
            break;
        result += text.sliced(position, ampersand - position);
        position = ampersand + takeReference(text.sliced(ampersand), result);
    }
    return result += text.sliced(position);
}

/// Adds what stands for the reference at the start of the text; gives its length.
qsizetype References::takeReference(QStringView text, QString& result)
{
    qsizetype end = 1;
    const auto isPart = [](QChar character) {
        return character == u'#' || (character.unicode() < 128 && character.isLetterOrNumber());
    };
    while (end < text.size() && end <= longestReference && isPart(text[end]))
        ++end;
    const QString reference = text.first(end).toString();
    const QString character = value(reference);
    if (character.isEmpty()) {
        result += u'&';
        return 1;
    }
    result += character;
    return end < text.size() && text[end] == u';' ? end + 1 : end;
}

QString References::value(const QString& reference)
{
    if (const auto known = m_known.constFind(reference); known != m_known.constEnd())
        return *known;
    if (m_known.size() >= maximumNames)
        return {};
    const QString terminated = reference + u';';
    QString found = HTMLSanitizer::decodeEntities(terminated);
    if (found == terminated)
        found = QTextDocumentFragment::fromHtml(terminated).toPlainText();
    if (found == terminated || found.contains(QChar::Null))
        found.clear();
    m_known.insert(reference, found);
    return found;
}

QHash<QString, QString> declarations(QStringView style)
{
    QHash<QString, QString> found;
    for (const QStringView declaration : style.tokenize(u';')) {
        const qsizetype colon = declaration.indexOf(u':');
        if (colon > 0)
            found.insert(Text::asciiLowered(declaration.first(colon).trimmed()),
                         declaration.sliced(colon + 1).trimmed().toString());
    }
    return found;
}

std::optional<QColor> color(const QString& text)
{
    const QString lowered = Text::asciiLowered(text);
    QColor result;
    if (lowered.startsWith("rgb"_L1)) {
        const qsizetype open = lowered.indexOf(u'(');
        const qsizetype close = lowered.indexOf(u')');
        if (open < 0 || close < open)
            return std::nullopt;
        QString inner = lowered.sliced(open + 1, close - open - 1);
        const QStringList parts =
            inner.replace(u'/', u' ').replace(u',', u' ').split(u' ', Qt::SkipEmptyParts);
        if (parts.size() < 3 || (parts.size() > 3 && parts[3].toDouble() <= 0))
            return std::nullopt;
        result.setRgb(std::clamp(static_cast<int>(parts[0].toDouble()), 0, 255),
                      std::clamp(static_cast<int>(parts[1].toDouble()), 0, 255),
                      std::clamp(static_cast<int>(parts[2].toDouble()), 0, 255));
    } else {
        // Only names and hexadecimal digits of this shape are for Qt to read.
        constexpr qsizetype longestName = 24;
        if (lowered.isEmpty() || lowered.size() > longestName)
            return std::nullopt;
        result.setNamedColor(lowered);
    }
    if (!result.isValid() || result.alpha() == 0)
        return std::nullopt;
    return result;
}

std::optional<double> fontSize(const QString& text, double parent, double base)
{
    static const QHash<QString, double> names{{u"xx-small"_s, 0.6}, {u"x-small"_s, 0.75}, {u"small"_s, 0.89},
                                              {u"medium"_s, 1},     {u"large"_s, 1.2},    {u"x-large"_s, 1.5},
                                              {u"xx-large"_s, 2}};
    static const QHash<QString, double> units{{u"px"_s, 1}, {u"pt"_s, 4.0 / 3.0}};
    const QString value = Text::asciiLowered(text);
    if (const auto name = names.constFind(value); name != names.constEnd())
        return base * *name;
    if (value == "smaller"_L1)
        return parent / 1.2;
    if (value == "larger"_L1)
        return parent * 1.2;
    qsizetype digits = 0;
    while (digits < value.size() && (value[digits].isDigit() || value[digits] == u'.'))
        ++digits;
    bool isNumber = false;
    const double number = value.first(digits).toDouble(&isNumber);
    const QString unit = value.sliced(digits).trimmed();
    if (!isNumber || !(number > 0))
        return std::nullopt;
    if (const auto known = units.constFind(unit); known != units.constEnd())
        return number * *known;
    if (unit == "em"_L1)
        return number * parent;
    if (unit == "rem"_L1)
        return number * base;
    if (unit == "%"_L1)
        return number / 100 * parent;
    return std::nullopt;
}

QStringList families(const QString& text)
{
    QStringList found;
    for (const QStringView piece : QStringView(text).tokenize(u',')) {
        QString name = piece.trimmed().toString();
        name.remove(u'\'').remove(u'"');
        if (!name.isEmpty() && name.size() <= longestFamily && found.size() < mostFamilies)
            found.append(name);
    }
    return found;
}

QTextListFormat::Style listStyle(bool isOrdered, const QString& type)
{
    if (type == "a"_L1 || type == "lower-alpha"_L1 || type == "lower-latin"_L1)
        return QTextListFormat::ListLowerAlpha;
    if (type == "A"_L1 || type == "upper-alpha"_L1 || type == "upper-latin"_L1)
        return QTextListFormat::ListUpperAlpha;
    if (type == "i"_L1 || type == "lower-roman"_L1)
        return QTextListFormat::ListLowerRoman;
    if (type == "I"_L1 || type == "upper-roman"_L1)
        return QTextListFormat::ListUpperRoman;
    return isOrdered ? QTextListFormat::ListDecimal : QTextListFormat::ListDisc;
}

std::optional<double> margin(const QString& text, double size)
{
    if (text == "0"_L1)
        return 0;
    return text.endsWith(u'%') ? std::nullopt : fontSize(text, size, size);
}

} // namespace Larkhaven::ComposeHTML
