#pragma once

#include "safety/StyleVariables.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringView>

#include <array>
#include <list>
#include <optional>
#include <span>
#include <vector>

/// The declarations of styles that decide whether text is seen, and the elements that they are for. For
/// styles that `HTMLSanitizer::sanitizeCSS` has written: without comments, escapes and URLs. Callable from
/// any thread, linear in the input.
namespace Larkhaven {

enum class StyleProperty : quint8 {
    all,
    backgroundClip,
    backgroundColor,
    backgroundImage,
    bottom,
    clipPath,
    color,
    contentVisibility,
    display,
    filter,
    floating,
    fontSize,
    height,
    left,
    lineHeight,
    marginLeft,
    marginTop,
    maxHeight,
    maxWidth,
    minHeight,
    minWidth,
    opacity,
    overflowX,
    overflowY,
    position,
    right,
    textFillColor,
    textIndent,
    textShadow,
    top,
    transform,
    visibility,
    whiteSpace,
    width,
    zoom,
    count,
};

struct StyleDeclaration {
    StyleProperty property = StyleProperty::count;
    QString value; ///< in lower case
    bool isImportant = false;
    /// Of a custom property, "--x", and of a declaration with `var()` or `env()` in its value: the name as it
    /// stands. These have no property (`count`), and their value keeps its case.
    QString name = {};

    /// Those of a style that the engine takes, of several for one property the last; what it can't read
    /// counts for nothing, and neither do custom properties beyond `StyleVariables::mostVariables`.
    static std::vector<StyleDeclaration> read(QStringView declarations);
};

/// What the rules and the `style` attribute together say of one element: of each property the declaration
/// that wins (CSS Cascading 4, 6.1). Points into the declarations.
class DeclaredStyle {
public:
    /// Once all is added: gives the variables of the element, where those around it have these, and reads
    /// what was declared by variables.
    StyleVariables resolve(const StyleVariables& around);

    /// `order` is the place of the rule among those with the same specificity.
    void add(const std::vector<StyleDeclaration>& declarations, quint32 specificity, quint16 order);
    /// Empty where nothing is declared.
    QStringView value(StyleProperty property) const;

    /// Of a `style` attribute: no selector is more specific.
    static constexpr quint32 ofAttribute = 0x3fff'ffff;

private:
    struct Winner {
        quint64 weight = 0;
        const QString* value = nullptr;
    };
    struct Pending {
        quint64 weight = 0;
        const StyleDeclaration* declaration = nullptr;
    };

    void take(const StyleDeclaration& declaration, quint64 weight);

    QHash<QString, Pending> m_pending; ///< by name: what has variables in it, or is one
    std::list<std::vector<StyleDeclaration>> m_resolved;
    std::array<Winner, static_cast<std::size_t>(StyleProperty::count)> m_winners;
};

/// An element as selectors know it.
struct StyledTag {
    QStringView name; ///< in lower case
    QList<QStringView> classes;
};

/// The rules of style sheets for tags, classes, and elements within elements. Others count for nothing: those
/// with attributes, pseudo-classes and siblings, and those of media that a page of `CSSValues::pageWidth`
/// isn't.
class StyleRules {
public:
    /// Rules beyond this many of one document count for nothing, and so do those beyond this many of one tag
    /// or class.
    static constexpr qsizetype mostRules = 10'000;
    static constexpr std::size_t mostOfOne = 400;
    /// The steps that finding the rules of all elements of a document may take.
    static constexpr qint64 mostSteps = 20'000'000;
    static constexpr qsizetype mostCompounds = 8; ///< of one selector
    static constexpr qsizetype mostClasses = 50;  ///< of one element

    void addSheet(QStringView css) { addRules(css, 0); }
    /// Adds what the rules say of the innermost of the elements. Returns whether that was found within
    /// `mostSteps`.
    bool find(std::span<const StyledTag> path, DeclaredStyle& style);

private:
    struct Compound {
        QString tag; ///< empty for any
        QStringList classes;
        bool isChild = false; ///< of what the compound before it is for, not deeper within
    };
    struct Rule {
        std::vector<Compound> compounds;
        std::size_t declarations = 0;
        quint32 specificity = 0;
        quint16 order = 0;
    };

    void addRules(QStringView css, int depth);
    void addRule(QStringView selectors, QStringView declarations);
    static std::optional<Rule> ruleOf(QStringView selector);
    static std::optional<Compound> compoundOf(QStringView text);
    bool isFor(const Rule& rule, std::span<const StyledTag> path);
    bool isFor(const Compound& compound, const StyledTag& tag);
    void addOf(const QString& key, std::span<const StyledTag> path, DeclaredStyle& style);

    QHash<QString, std::vector<Rule>> m_rules; ///< by "tag", ".class" or "*" of their innermost compound
    std::vector<std::vector<StyleDeclaration>> m_declarations;
    qsizetype m_count = 0;
    qint64 m_stepsLeft = mostSteps;
};

} // namespace Larkhaven
