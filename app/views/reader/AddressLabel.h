#pragma once

#include "domain/Message.h"
#include "views/reader/HeaderLabel.h"

#include <QHash>
#include <QRectF>
#include <QStringList>

namespace Larkhaven {

class TextLink;

/// What a label shows of addresses that an untrusted sender wrote. Names and tooltip have passed
/// `DisplayText`.
struct ShownAddresses {
    /// Of the addresses in the tooltip; an ellipsis stands for the others.
    static constexpr qsizetype mostShown = 60;
    /// Of the names that the label shows when it is unfolded, unless they are long.
    static constexpr qsizetype mostNames = 500;

    QStringList names;   ///< the first `mostNames`
    QString mailboxes;   ///< the first `mostShown`, with their names
    QString copied;      ///< every address, with ", " between them
    qsizetype count = 0; ///< of the addresses, including those that aren't shown

    /// Pure, from any thread. Linear: there may be a million of them, so it is work for a worker.
    static ShownAddresses of(const QList<EmailAddress>& addresses);

    bool operator==(const ShownAddresses&) const = default;
};

/// Shows addresses by their names, selectable, on at most `foldedLines` lines; "and 998 more" behind them
/// unfolds the others. The addresses themselves stand in the tooltip, and are what Copy takes
/// where nothing is selected.
///
/// The names follow each other in the direction of the window, and each keeps its own.
class AddressLabel : public HeaderLabel {
    Q_OBJECT

public:
    static constexpr int foldedLines = 2;

    explicit AddressLabel(QWidget* parent = nullptr);

    /// Shows the placeholder where there are none. The label is folded again where they are others.
    void setAddresses(const ShownAddresses& addresses, const QString& placeholder);

    /// The width in which all of it stands on one line; of a long text more than any line has.
    int widthOnOneLine() const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    QString everything() const override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    /// What stands on the lines of a width.
    struct Shown {
        QString text;
        QString words;       ///< of the text, without marks
        qsizetype whole = 0; ///< of the words, in front of an ellipsis
        double height = 0;
        qsizetype hidden = 0; ///< addresses that aren't in the text
        QRectF more;          ///< the place of the button; empty where there is none
    };
    /// Names with marks around and between them.
    struct Joined {
        QString text;
        QList<qsizetype> ends; ///< of each name, in the text
    };

    /// What has been laid out before isn't again.
    const Shown& shownOn(int width) const;
    Shown laidOutOn(int width) const;
    Shown folded(int width) const;
    Shown elided(int width, int room) const;
    Shown unfolded(int width) const;
    /// The first names, at least one, until their text has `most` units.
    Joined joined(qsizetype most) const;
    QString wordsOf(qsizetype names) const;
    /// After whatever changes what stands on lines of the same width.
    void layOutAnew();
    QString moreText(qsizetype hidden) const;
    void layOut();
    void toggle();

    ShownAddresses m_addresses;
    QString m_placeholder;
    TextLink* m_more;
    bool m_isUnfolded = false;
    mutable QHash<int, Shown> m_shown; ///< by the width
};

} // namespace Larkhaven
