#include "safety/StyleRules.h"

#include "domain/Text.h"
#include "safety/CSSValues.h"

#include <QSet>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

using CSSValues::endBefore;
using Declarations = std::vector<StyleDeclaration>;

/// Of rules within rules for media.
constexpr int mostLevels = 8;

bool isOneOf(QStringView value, std::initializer_list<QLatin1StringView> known)
{
    return std::ranges::any_of(known, [value](QLatin1StringView one) { return value == one; });
}

bool isForAll(QStringView value)
{
    return isOneOf(value, {"inherit"_L1, "initial"_L1, "unset"_L1, "revert"_L1});
}

bool isDisplay(QStringView value)
{
    return isOneOf(value, {"none"_L1,
                           "block"_L1,
                           "inline"_L1,
                           "inline-block"_L1,
                           "list-item"_L1,
                           "flex"_L1,
                           "inline-flex"_L1,
                           "grid"_L1,
                           "inline-grid"_L1,
                           "flow-root"_L1,
                           "contents"_L1,
                           "table"_L1,
                           "inline-table"_L1,
                           "table-cell"_L1,
                           "table-row"_L1,
                           "table-row-group"_L1,
                           "table-header-group"_L1,
                           "table-footer-group"_L1,
                           "table-caption"_L1,
                           "table-column"_L1,
                           "table-column-group"_L1,
                           "-webkit-box"_L1,
                           "-webkit-inline-box"_L1,
                           "-webkit-flex"_L1,
                           "-webkit-inline-flex"_L1});
}

bool isLength(QStringView value)
{
    return CSSValues::length(value, {}).has_value();
}

bool isColor(QStringView value)
{
    return value == "currentcolor"_L1 || CSSValues::color(value).has_value();
}

/// Whether the engine takes the value. Where it doesn't, what is declared before it goes on counting.
bool isValid(StyleProperty property, QStringView value)
{
    if (value.isEmpty() || value.size() > StyleVariables::longestValue)
        return false;
    if (isForAll(value))
        return true;
    switch (property) {
    case StyleProperty::all:
        return false;
    case StyleProperty::display:
        return isDisplay(value);
    case StyleProperty::visibility:
        return isOneOf(value, {"visible"_L1, "hidden"_L1, "collapse"_L1});
    case StyleProperty::contentVisibility:
        return isOneOf(value, {"visible"_L1, "auto"_L1, "hidden"_L1});
    case StyleProperty::opacity:
        return CSSValues::number(value).has_value();
    case StyleProperty::zoom:
        return isOneOf(value, {"normal"_L1, "reset"_L1}) || CSSValues::number(value).has_value();
    case StyleProperty::fontSize:
        return isLength(value) ||
               isOneOf(value, {"xx-small"_L1, "x-small"_L1, "small"_L1, "medium"_L1, "large"_L1, "x-large"_L1,
                               "xx-large"_L1, "xxx-large"_L1, "smaller"_L1, "larger"_L1});
    case StyleProperty::lineHeight:
        return isLength(value) || value == "normal"_L1 || CSSValues::number(value).has_value();
    case StyleProperty::color:
    case StyleProperty::backgroundColor:
    case StyleProperty::textFillColor:
        return isColor(value);
    case StyleProperty::overflowX:
    case StyleProperty::overflowY:
        return isOneOf(value, {"visible"_L1, "hidden"_L1, "clip"_L1, "scroll"_L1, "auto"_L1, "overlay"_L1});
    case StyleProperty::position:
        return isOneOf(value, {"static"_L1, "relative"_L1, "absolute"_L1, "fixed"_L1, "sticky"_L1});
    case StyleProperty::floating:
        return isOneOf(value, {"none"_L1, "left"_L1, "right"_L1});
    case StyleProperty::whiteSpace:
        return isOneOf(value,
                       {"normal"_L1, "nowrap"_L1, "pre"_L1, "pre-wrap"_L1, "pre-line"_L1, "break-spaces"_L1});
    case StyleProperty::width:
    case StyleProperty::height:
    case StyleProperty::maxWidth:
    case StyleProperty::maxHeight:
    case StyleProperty::minWidth:
    case StyleProperty::minHeight:
        return isLength(value) ||
               isOneOf(value, {"auto"_L1, "none"_L1, "max-content"_L1, "min-content"_L1, "fit-content"_L1});
    case StyleProperty::left:
    case StyleProperty::right:
    case StyleProperty::top:
    case StyleProperty::bottom:
    case StyleProperty::marginLeft:
    case StyleProperty::marginTop:
        return isLength(value) || value == "auto"_L1;
    case StyleProperty::textIndent:
        return isLength(value);
    case StyleProperty::backgroundImage:
        return !value.contains("var("_L1);
    case StyleProperty::backgroundClip:
    case StyleProperty::clipPath:
    case StyleProperty::filter:
    case StyleProperty::textShadow:
    case StyleProperty::transform:
    case StyleProperty::count:
        break;
    }
    return true;
}

using Add = std::function<void(StyleProperty, QStringView)>;

/// One to four lengths, of the top, the right, the bottom and the left.
void addSides(QStringView value, std::initializer_list<std::pair<StyleProperty, qsizetype>> sides,
              const Add& add)
{
    const QList<QStringView> lengths = CSSValues::pieces(value);
    const bool areValid =
        !lengths.isEmpty() && lengths.size() <= 4 &&
        std::ranges::all_of(lengths, [](QStringView one) { return isLength(one) || one == "auto"_L1; });
    if (!areValid && !isForAll(value))
        return;
    for (const auto& [property, index] : sides) {
        const qsizetype known = lengths.size();
        const qsizetype given = index < known ? index : index == 3 && known > 1 ? 1 : 0;
        add(property, lengths[given]);
    }
}

/// The size of "font: italic 12px/1.5 Arial", and the height of its lines.
void addFont(QStringView value, const Add& add)
{
    for (const QStringView piece : value.tokenize(u' ', Qt::SkipEmptyParts)) {
        const qsizetype slash = piece.indexOf(u'/');
        const QStringView size = slash < 0 ? piece : piece.first(slash);
        if (!isValid(StyleProperty::fontSize, size))
            continue;
        add(StyleProperty::fontSize, size);
        add(StyleProperty::lineHeight, slash < 0 ? QStringView(u"normal") : piece.sliced(slash + 1));
        return;
    }
}

void addBackground(QStringView value, const Add& add)
{
    if (isForAll(value)) {
        add(StyleProperty::backgroundColor, value);
        add(StyleProperty::backgroundImage, value);
        return;
    }
    QStringView color = u"transparent";
    bool isClipped = false;
    for (const QStringView piece : CSSValues::pieces(value)) {
        color = isColor(piece) ? piece : color;
        isClipped = isClipped || piece == "text"_L1;
    }
    add(StyleProperty::backgroundColor, color);
    add(StyleProperty::backgroundImage, value.contains("-gradient("_L1) ? value : QStringView(u"none"));
    add(StyleProperty::backgroundClip, isClipped ? QStringView(u"text") : QStringView(u"border-box"));
}

std::optional<StyleProperty> propertyOf(QStringView name)
{
    static const QHash<QString, StyleProperty> known{
        {u"all"_s, StyleProperty::all},
        {u"background-clip"_s, StyleProperty::backgroundClip},
        {u"-webkit-background-clip"_s, StyleProperty::backgroundClip},
        {u"background-color"_s, StyleProperty::backgroundColor},
        {u"background-image"_s, StyleProperty::backgroundImage},
        {u"bottom"_s, StyleProperty::bottom},
        {u"clip-path"_s, StyleProperty::clipPath},
        {u"-webkit-clip-path"_s, StyleProperty::clipPath},
        {u"color"_s, StyleProperty::color},
        {u"content-visibility"_s, StyleProperty::contentVisibility},
        {u"display"_s, StyleProperty::display},
        {u"filter"_s, StyleProperty::filter},
        {u"-webkit-filter"_s, StyleProperty::filter},
        {u"float"_s, StyleProperty::floating},
        {u"font-size"_s, StyleProperty::fontSize},
        {u"height"_s, StyleProperty::height},
        {u"left"_s, StyleProperty::left},
        {u"line-height"_s, StyleProperty::lineHeight},
        {u"margin-left"_s, StyleProperty::marginLeft},
        {u"margin-top"_s, StyleProperty::marginTop},
        {u"max-height"_s, StyleProperty::maxHeight},
        {u"max-width"_s, StyleProperty::maxWidth},
        {u"min-height"_s, StyleProperty::minHeight},
        {u"min-width"_s, StyleProperty::minWidth},
        {u"opacity"_s, StyleProperty::opacity},
        {u"-webkit-opacity"_s, StyleProperty::opacity},
        {u"overflow-x"_s, StyleProperty::overflowX},
        {u"overflow-y"_s, StyleProperty::overflowY},
        {u"position"_s, StyleProperty::position},
        {u"right"_s, StyleProperty::right},
        {u"-webkit-text-fill-color"_s, StyleProperty::textFillColor},
        {u"text-indent"_s, StyleProperty::textIndent},
        {u"text-shadow"_s, StyleProperty::textShadow},
        {u"top"_s, StyleProperty::top},
        {u"transform"_s, StyleProperty::transform},
        {u"-webkit-transform"_s, StyleProperty::transform},
        {u"visibility"_s, StyleProperty::visibility},
        {u"white-space"_s, StyleProperty::whiteSpace},
        {u"width"_s, StyleProperty::width},
        {u"zoom"_s, StyleProperty::zoom},
    };
    const auto found = known.constFind(name.toString());
    return found == known.cend() ? std::nullopt : std::optional(*found);
}

void addDeclaration(QStringView name, QStringView value, const Add& add)
{
    if (name == "margin"_L1)
        return addSides(value, {{StyleProperty::marginTop, 0}, {StyleProperty::marginLeft, 3}}, add);
    if (name == "inset"_L1)
        return addSides(value,
                        {{StyleProperty::top, 0},
                         {StyleProperty::right, 1},
                         {StyleProperty::bottom, 2},
                         {StyleProperty::left, 3}},
                        add);
    if (name == "font"_L1)
        return addFont(value, add);
    if (name == "background"_L1)
        return addBackground(value, add);
    if (name == "overflow"_L1) {
        const QList<QStringView> both = CSSValues::pieces(value);
        if (both.isEmpty() || both.size() > 2)
            return;
        add(StyleProperty::overflowX, both.first());
        add(StyleProperty::overflowY, both.last());
        return;
    }
    if (const std::optional<StyleProperty> property = propertyOf(name))
        add(*property, value);
}

// --- Which rules count

bool isFeatureThere(QStringView feature)
{
    const qsizetype colon = feature.indexOf(u':');
    const QStringView name = (colon < 0 ? feature : feature.first(colon)).trimmed();
    const QStringView value = colon < 0 ? QStringView() : feature.sliced(colon + 1).trimmed();
    const std::optional<double> size = CSSValues::length(value, {});
    if (name == "min-width"_L1 || name == "min-device-width"_L1)
        return size && *size <= CSSValues::pageWidth;
    if (name == "max-width"_L1 || name == "max-device-width"_L1)
        return size && *size >= CSSValues::pageWidth;
    if (name == "min-height"_L1 || name == "min-device-height"_L1)
        return size && *size <= CSSValues::pageHeight;
    if (name == "max-height"_L1 || name == "max-device-height"_L1)
        return size && *size >= CSSValues::pageHeight;
    if (name.endsWith("min-device-pixel-ratio"_L1))
        return CSSValues::number(value).value_or(2) <= 1;
    return (name == "prefers-color-scheme"_L1 && value == "light"_L1) ||
           (name == "orientation"_L1 && value == "landscape"_L1) || name == "color"_L1 ||
           name == "hover"_L1 || name == "pointer"_L1;
}

/// Whether one of the media is a page on a screen.
bool isScreen(QStringView media)
{
    const QString lowered = Text::asciiLowered(media);
    return lowered.trimmed().isEmpty() ||
           std::ranges::any_of(QStringView(lowered).tokenize(u','), [](QStringView query) {
               bool isNot = false;
               bool isThere = true;
               for (const QStringView piece : CSSValues::pieces(query)) {
                   isNot = isNot || piece == "not"_L1;
                   if (piece.startsWith(u'('))
                       isThere =
                           isThere && isFeatureThere(piece.sliced(1).chopped(piece.endsWith(u')') ? 1 : 0));
                   else
                       isThere =
                           isThere && isOneOf(piece, {"all"_L1, "screen"_L1, "only"_L1, "and"_L1, "not"_L1});
               }
               return isThere != isNot;
           });
}

bool doesCount(QStringView condition)
{
    if (condition.startsWith("@media"_L1, Qt::CaseInsensitive))
        return isScreen(condition.sliced(6));
    if (condition.startsWith("@supports"_L1, Qt::CaseInsensitive))
        return !condition.contains("not"_L1, Qt::CaseInsensitive);
    return condition.startsWith("@layer"_L1, Qt::CaseInsensitive);
}

bool isNamePart(QChar character)
{
    return character == u'-' || character == u'_' || character.isLetterOrNumber() || character.isSurrogate();
}

/// Whether the engine reads the selectors at all; with one that it can't read it drops all of a rule.
bool areReadable(QStringView selectors)
{
    return std::ranges::all_of(selectors, [](QChar character) {
        return isNamePart(character) || character.isSpace() ||
               QStringView(u".*>,+~:#[]=\"'^$|()").contains(character);
    });
}

} // namespace

namespace {

/// Whether a declaration of this name, whose value isn't known yet, may be of interest.
bool isKnown(QStringView name)
{
    if (name.startsWith("--"_L1))
        return true;
    bool isFound = false;
    addDeclaration(Text::asciiLowered(name), u"unset"_s,
                   [&isFound](StyleProperty, QStringView) { isFound = true; });
    return isFound;
}

/// Leaves of the declarations that have one name and importance the last, so that what one style says of an
/// element is bounded, however long it is.
void keepLast(Declarations& declarations)
{
    QSet<std::pair<QString, bool>> names;
    QSet<std::pair<int, bool>> properties;
    qsizetype variables = 0;
    Declarations kept;
    for (auto one = declarations.rbegin(); one != declarations.rend(); ++one) {
        const bool isVariable = one->name.startsWith("--"_L1);
        if (isVariable && variables >= StyleVariables::mostVariables)
            continue;
        const qsizetype before = names.size() + properties.size();
        if (one->property == StyleProperty::count)
            names.insert({one->name, one->isImportant});
        else
            properties.insert({static_cast<int>(one->property), one->isImportant});
        if (names.size() + properties.size() == before)
            continue;
        variables += isVariable ? 1 : 0;
        kept.push_back(std::move(*one));
    }
    std::ranges::reverse(kept);
    declarations = std::move(kept);
}

} // namespace

Declarations StyleDeclaration::read(QStringView declarations)
{
    Declarations read;
    for (qsizetype start = 0; start < declarations.size();) {
        const qsizetype end = endBefore(declarations, start, u";");
        const QStringView declaration = declarations.sliced(start, end - start);
        start = end + 1;
        const qsizetype colon = declaration.indexOf(u':');
        if (colon < 0)
            continue;
        QStringView written = declaration.sliced(colon + 1);
        const qsizetype mark = written.lastIndexOf(u'!');
        const bool isImportant =
            mark >= 0 && written.sliced(mark + 1).trimmed().compare("important"_L1, Qt::CaseInsensitive) == 0;
        written = (isImportant ? written.first(mark) : written).trimmed();
        if (written.size() > StyleVariables::longestValue)
            continue;
        const QStringView name = declaration.first(colon).trimmed();
        if (name.startsWith("--"_L1) || StyleVariables::hasReference(written)) {
            if (isKnown(name))
                read.push_back({StyleProperty::count, written.toString(), isImportant, name.toString()});
            continue;
        }
        const QString value = Text::asciiLowered(written);
        const auto add = [&](StyleProperty property, QStringView one) {
            if (isValid(property, one))
                read.push_back({property, one.toString(), isImportant});
        };
        addDeclaration(Text::asciiLowered(name), value, add);
    }
    keepLast(read);
    return read;
}

void DeclaredStyle::add(const Declarations& declarations, quint32 specificity, quint16 order)
{
    quint64 place = 0;
    for (const StyleDeclaration& declaration : declarations) {
        const quint64 weight = (declaration.isImportant ? quint64(1) << 63 : 0) |
                               (static_cast<quint64>(specificity) << 32) |
                               (static_cast<quint64>(order) << 16) | std::min<quint64>(place++, 0xffff);
        if (declaration.property != StyleProperty::count) {
            take(declaration, weight);
            continue;
        }
        Pending& pending = m_pending[declaration.name];
        if (!pending.declaration || weight >= pending.weight)
            pending = {weight, &declaration};
    }
}

void DeclaredStyle::take(const StyleDeclaration& declaration, quint64 weight)
{
    Winner& winner = m_winners.at(static_cast<std::size_t>(declaration.property));
    if (!winner.value || weight >= winner.weight)
        winner = {weight, &declaration.value};
}

StyleVariables DeclaredStyle::resolve(const StyleVariables& around)
{
    if (m_pending.isEmpty())
        return around;
    QHash<QString, QString> declared;
    for (const Pending& pending : std::as_const(m_pending)) {
        if (pending.declaration->name.startsWith("--"_L1))
            declared.insert(pending.declaration->name, pending.declaration->value);
    }
    StyleVariables variables = around.within(declared);
    for (const Pending& pending : std::as_const(m_pending)) {
        const QString& name = pending.declaration->name;
        if (name.startsWith("--"_L1))
            continue;
        // A value that can't be resolved counts as "unset" (CSS Variables 1, 3.1).
        const QString value = variables.resolved(pending.declaration->value).value_or(u"unset"_s);
        m_resolved.push_back(StyleDeclaration::read(QString(name + u':' + value)));
        for (const StyleDeclaration& declaration : m_resolved.back()) {
            if (declaration.property != StyleProperty::count)
                take(declaration, pending.weight);
        }
    }
    return variables;
}

QStringView DeclaredStyle::value(StyleProperty property) const
{
    const Winner& winner = m_winners.at(static_cast<std::size_t>(property));
    const Winner& all = m_winners.at(static_cast<std::size_t>(StyleProperty::all));
    const bool isReset = all.value && (!winner.value || winner.weight < all.weight);
    const QString* const value = isReset ? all.value : winner.value;
    return value ? QStringView(*value) : QStringView();
}

void StyleRules::addRules(QStringView css, int depth)
{
    for (qsizetype start = 0; start < css.size();) {
        const qsizetype open = endBefore(css, start, u"{;}");
        const QStringView head = css.sliced(start, open - start).trimmed();
        start = open + 1;
        if (open >= css.size() || css[open] != u'{')
            continue;
        const qsizetype end = endBefore(css, start, u"}");
        const QStringView block = css.sliced(start, end - start);
        start = end + 1;
        if (!head.startsWith(u'@'))
            addRule(head, block);
        else if (depth < mostLevels && doesCount(head))
            addRules(block, depth + 1);
    }
}

void StyleRules::addRule(QStringView selectors, QStringView declarations)
{
    if (!areReadable(selectors))
        return;
    Declarations read = StyleDeclaration::read(declarations);
    if (read.empty())
        return;
    m_declarations.push_back(std::move(read));
    for (const QStringView selector : selectors.tokenize(u',')) {
        std::optional<Rule> rule = m_count < mostRules ? ruleOf(selector.trimmed()) : std::nullopt;
        if (!rule)
            continue;
        rule->declarations = m_declarations.size() - 1;
        rule->order = static_cast<quint16>(++m_count);
        const Compound& last = rule->compounds.back();
        const QString key = !last.classes.isEmpty() ? u'.' + last.classes.first()
                            : last.tag.isEmpty()    ? u"*"_s
                                                    : last.tag;
        std::vector<Rule>& rules = m_rules[key];
        if (rules.size() < mostOfOne)
            rules.push_back(std::move(*rule));
    }
}

std::optional<StyleRules::Rule> StyleRules::ruleOf(QStringView selector)
{
    Rule rule;
    bool isChild = false;
    QString spaced = selector.toString().replace(u'>', u" > "_s).simplified();
    for (const QStringView piece : QStringView(spaced).tokenize(u' ', Qt::SkipEmptyParts)) {
        if (piece == u">") {
            if (isChild || rule.compounds.empty())
                return std::nullopt;
            isChild = true;
            continue;
        }
        std::optional<Compound> compound = compoundOf(piece);
        if (!compound || std::ssize(rule.compounds) >= mostCompounds)
            return std::nullopt;
        compound->isChild = std::exchange(isChild, false);
        rule.specificity +=
            static_cast<quint32>(compound->classes.size()) * 0x1000 + (compound->tag.isEmpty() ? 0 : 1);
        rule.compounds.push_back(std::move(*compound));
    }
    return rule.compounds.empty() || isChild ? std::nullopt : std::optional(std::move(rule));
}

std::optional<StyleRules::Compound> StyleRules::compoundOf(QStringView text)
{
    constexpr qsizetype most = 8;
    const qsizetype dot = text.indexOf(u'.');
    const QStringView tag = dot < 0 ? text : text.first(dot);
    // Where most sheets have their variables.
    if (text.compare(":root"_L1, Qt::CaseInsensitive) == 0)
        return Compound{u"html"_s, {}, false};
    if (text.isEmpty() || (tag != u"*" && !std::ranges::all_of(tag, isNamePart)))
        return std::nullopt;
    Compound compound;
    compound.tag = tag == u"*" ? QString() : Text::asciiLowered(tag);
    for (QStringView rest = text.sliced(tag.size()); !rest.isEmpty();) {
        const qsizetype next = rest.indexOf(u'.', 1);
        const QStringView name = rest.first(next < 0 ? rest.size() : next).sliced(1);
        rest = rest.sliced(name.size() + 1);
        if (name.isEmpty() || compound.classes.size() >= most || !std::ranges::all_of(name, isNamePart))
            return std::nullopt;
        compound.classes.append(name.toString());
    }
    return compound;
}

bool StyleRules::find(std::span<const StyledTag> path, DeclaredStyle& style)
{
    if (m_rules.isEmpty())
        return true;
    const StyledTag& tag = path.back();
    addOf(u"*"_s, path, style);
    addOf(tag.name.toString(), path, style);
    for (const QStringView name : tag.classes.first(std::min(tag.classes.size(), mostClasses)))
        addOf(u'.' + name.toString(), path, style);
    return m_stepsLeft > 0;
}

void StyleRules::addOf(const QString& key, std::span<const StyledTag> path, DeclaredStyle& style)
{
    const auto found = m_rules.constFind(key);
    if (found == m_rules.cend())
        return;
    for (const Rule& rule : *found) {
        if (m_stepsLeft > 0 && isFor(rule, path))
            style.add(m_declarations[rule.declarations], rule.specificity, rule.order);
    }
}

bool StyleRules::isFor(const Rule& rule, std::span<const StyledTag> path)
{
    if (!isFor(rule.compounds.back(), path.back()))
        return false;
    // The nearest element that a compound is for leaves the most room for those before it. One that must be
    // its child may need another, which then counts for nothing.
    std::size_t level = path.size() - 1;
    for (std::size_t index = rule.compounds.size() - 1; index > 0; --index) {
        const bool isChild = rule.compounds[index].isChild;
        const std::size_t below = level;
        bool isFound = false;
        while (!isFound && level > 0 && (!isChild || level == below))
            isFound = isFor(rule.compounds[index - 1], path[--level]);
        if (!isFound)
            return false;
    }
    return true;
}

bool StyleRules::isFor(const Compound& compound, const StyledTag& tag)
{
    --m_stepsLeft;
    if (!compound.tag.isEmpty() && compound.tag != tag.name)
        return false;
    return std::ranges::all_of(compound.classes, [&](const QString& name) {
        m_stepsLeft -= tag.classes.size();
        return tag.classes.contains(QStringView(name));
    });
}

} // namespace Larkhaven
