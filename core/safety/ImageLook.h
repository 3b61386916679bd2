#pragma once

#include <QHash>
#include <QString>
#include <QStringView>

#include <limits>

/// What keeps an image from being seen, by the styles that the page gets. Pure, callable from any thread,
/// linear in the input.
namespace Larkhaven {

/// What styles and attributes say of an element, as far as it decides whether an image can be seen.
///
/// There is no cascade: what any of them hides counts as hidden, since images are judged by it that are there
/// to report. A `var()` where it matters hides, too: nobody can tell what it stands for.
///
/// NB: `HidingStyles` judges text. A font of no size hides text and no image, and many newsletters lay out
/// their images so.
struct ImageLook {
    /// Of a style, as `HTMLSanitizer::safeStyle` gives it.
    static ImageLook ofStyle(QStringView declarations);

    /// Of the `width` and `height` attributes (HTML, 2.3.4.4): what follows a number isn't read. The empty
    /// text says nothing.
    static ImageLook ofAttributes(QStringView width, QStringView height);

    /// What both say.
    void add(const ImageLook& other);

    /// Whether an image that looks so is there to report: hidden, less than 2 pixels wide or high, or less
    /// than 4 both ways.
    bool hidesImage() const;

    /// Whether no image within an element that looks so can be seen.
    bool hidesContent() const;

    bool hides = false;
    bool cutsOverflow = false;
    bool isReplacedByContent = false;                        ///< `display:contents`, which no image has
    double width = std::numeric_limits<double>::infinity();  ///< in CSS pixels, the least that is said
    double height = std::numeric_limits<double>::infinity(); ///< likewise

private:
    void addDeclaration(QStringView name, QStringView value);
};

/// The simple rules of style sheets, for a tag, a class, or a tag with a class. Those within "@" rules count
/// for nothing: they hold for other windows, or another scheme.
class ImageLookRules {
public:
    /// Where one document has more rules, all images count as hidden.
    static constexpr qsizetype mostRules = 10'000;

    /// The text of a sheet as `HTMLSanitizer::safeStyle` gives it. Gives whether it says anything of images.
    bool addSheet(QStringView css);

    /// Whether there is no rule.
    bool isEmpty() const { return m_looks.isEmpty() && !m_isFull; }

    /// What the rules say of an element. `classes` are separated by blanks.
    ImageLook of(QLatin1StringView tag, QStringView classes) const;

private:
    bool addRule(QStringView selectors, QStringView declarations);

    QHash<QString, ImageLook> m_looks; ///< by "tag", ".class" or "tag.class"
    bool m_isFull = false;
};

} // namespace Larkhaven
