#include "views/reader/AddressLabel.h"

#include "views/reader/TextLines.h"
#include "views/reader/TextLink.h"
#include "views/style/DisplayText.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QStyle>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// In UTF-16 units; there may be many of them.
constexpr qsizetype longestName = 200;

/// More lines than the longest names take.
constexpr int allLines = 10'000;

constexpr QChar firstStrongIsolate(0x2068);
constexpr QChar popIsolate(0x2069);
constexpr QChar leftToRightMark(0x200e);
constexpr QChar rightToLeftMark(0x200f);

QString mailbox(const EmailAddress& address)
{
    const QString bare = DisplayText::bounded(address.address, longestName);
    return address.name ? u"%1 <%2>"_s.arg(DisplayText::bounded(*address.name, longestName), bare) : bare;
}

bool isTurned(QChar character)
{
    return character.direction() == QChar::DirR || character.direction() == QChar::DirAL ||
           character.isSurrogate();
}

} // namespace

ShownAddresses ShownAddresses::of(const QList<EmailAddress>& addresses)
{
    ShownAddresses shown;
    shown.count = addresses.size();
    QStringList mailboxes;
    for (const EmailAddress& address : addresses.first(std::min(addresses.size(), mostNames))) {
        shown.names.append(DisplayText::bounded(address.displayName(), longestName));
        if (mailboxes.size() < mostShown)
            mailboxes.append(mailbox(address));
    }
    if (addresses.size() > mostShown)
        mailboxes.append(u"…"_s);
    shown.mailboxes = DisplayText::bounded(mailboxes.join(u", "_s));
    QStringList copied;
    copied.reserve(addresses.size());
    for (const EmailAddress& address : addresses)
        copied.append(address.address);
    shown.copied = copied.join(u", "_s);
    return shown;
}

AddressLabel::AddressLabel(QWidget* parent)
    : QLabel(parent)
    , m_more(new TextLink(this))
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_more->setObjectName("moreAddresses"_L1);
    m_more->hide();
    connect(m_more, &QAbstractButton::clicked, this, &AddressLabel::toggle);
}

void AddressLabel::setAddresses(const ShownAddresses& addresses, const QString& placeholder)
{
    // What is known of a message first has the same addresses; their number may be another.
    if (addresses.names != m_addresses.names)
        m_isUnfolded = false;
    m_addresses = addresses;
    m_placeholder = placeholder;
    setToolTip(DisplayText::toolTip(addresses.mailboxes));
    updateGeometry();
    layOut();
}

// --- What stands on the lines

QString AddressLabel::joined(QList<qsizetype>& ends) const
{
    const bool isTurnedRound = layoutDirection() == Qt::RightToLeft;
    // Left to itself, a layout takes the direction of the first name for that of all.
    QString text;
    if (isTurnedRound)
        text += rightToLeftMark;
    else if (!m_addresses.names.isEmpty() && std::ranges::any_of(m_addresses.names.first(), isTurned))
        text += leftToRightMark;
    for (const QString& shown : m_addresses.names) {
        if (!ends.isEmpty())
            text += ", "_L1;
        // Each is read in its own direction, and none turns its neighbours.
        const bool isIsolated = isTurnedRound || std::ranges::any_of(shown, isTurned);
        if (isIsolated)
            text.append(firstStrongIsolate).append(shown).append(popIsolate);
        else
            text += shown;
        ends.append(text.size());
    }
    return text;
}

QString AddressLabel::moreText(qsizetype hidden) const
{
    return tr("and %Ln more", "receivers of a message", static_cast<int>(hidden));
}

AddressLabel::Shown AddressLabel::shownOn(int width) const
{
    if (m_addresses.count == 0) {
        const QString broken = TextLines::breakable(m_placeholder, font(), width, allLines);
        return {broken, 0, {}, TextLines::of(broken, font(), width, allLines).height};
    }
    return m_isUnfolded ? unfolded(width) : folded(width);
}

AddressLabel::Shown AddressLabel::folded(int width) const
{
    QList<qsizetype> ends;
    const QString all = joined(ends);
    const TextLines whole = TextLines::of(all, font(), width, foldedLines);
    if (ends.size() == m_addresses.count && whole.to == all.size())
        return {TextLines::breakable(all, font(), width, foldedLines), 0, {}, whole.height};

    const int space = fontMetrics().horizontalAdvance(u' ');
    const int room = TextLink::widthOf(moreText(m_addresses.count), fontMetrics()) + space;
    const qsizetype end = TextLines::of(all, font(), width, foldedLines, room).to;
    qsizetype fitting = std::ranges::count_if(ends, [end](qsizetype one) { return one <= end; });
    QString text = fitting > 0 ? all.first(ends[fitting - 1]) : QString();
    if (fitting == 0) {
        // The first name alone is too long.
        fitting = 1;
        text = all.first(std::clamp<qsizetype>(end - 2, 1, all.size())) + u'…';
    }
    text = TextLines::breakable(text, font(), width, foldedLines);
    const TextLines lines = TextLines::of(text, font(), width, foldedLines);
    const qsizetype hidden = m_addresses.count - fitting;
    if (hidden == 0)
        return {text, 0, {}, lines.height};
    return {text, hidden, QRectF(lines.lastWidth + space, lines.lastTop, 0, lines.lastHeight), lines.height};
}

AddressLabel::Shown AddressLabel::unfolded(int width) const
{
    QList<qsizetype> ends;
    QString text = joined(ends);
    const qsizetype hidden = m_addresses.count - ends.size();
    if (hidden > 0)
        text += u' ' + moreText(hidden);
    text = TextLines::breakable(text, font(), width, allLines);
    const double height = TextLines::of(text, font(), width, allLines).height;
    const double line = fontMetrics().height();
    return {text, hidden, QRectF(0, height, 0, line), height + line};
}

void AddressLabel::layOut()
{
    const QMargins margins = contentsMargins();
    const Shown shown = shownOn(std::max(1, width() - margins.left() - margins.right()));
    const bool isTurnedRound = layoutDirection() == Qt::RightToLeft;
    setAlignment(Qt::AlignTop | Qt::AlignAbsolute | (isTurnedRound ? Qt::AlignRight : Qt::AlignLeft));
    setText(shown.text);
    m_more->setVisible(shown.more.height() > 0);
    m_more->setText(m_isUnfolded ? tr("Show Fewer") : moreText(shown.hidden));
    m_more->setFont(font());
    const QRect place(qRound(shown.more.left()), qRound(shown.more.top()) + margins.top(),
                      m_more->sizeHint().width(), qRound(shown.more.height()));
    const QRect within = contentsRect();
    m_more->setGeometry(QStyle::visualRect(layoutDirection(), within, place.translated(within.left(), 0)));
}

void AddressLabel::toggle()
{
    m_isUnfolded = !m_isUnfolded;
    updateGeometry();
    layOut();
}

// --- Geometry

int AddressLabel::heightForWidth(int width) const
{
    const QMargins margins = contentsMargins();
    const Shown shown = shownOn(std::max(1, width - margins.left() - margins.right()));
    return static_cast<int>(std::ceil(shown.height)) + margins.top() + margins.bottom();
}

QSize AddressLabel::sizeHint() const
{
    constexpr int usualWidth = 400;
    return {usualWidth, heightForWidth(usualWidth)};
}

QSize AddressLabel::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 6, fontMetrics().height()};
}

void AddressLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    layOut();
}

void AddressLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange)
        layOut();
}

// --- Copying

void AddressLabel::copy()
{
    const QString own = hasSelectedText() ? selectedText() : text();
    QGuiApplication::clipboard()->setText(m_addresses.copied.isEmpty() ? own : m_addresses.copied);
}

bool AddressLabel::event(QEvent* event)
{
    // Before a menu of the window takes the keys.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
        event->accept();
        return true;
    }
    return QLabel::event(event);
}

void AddressLabel::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy))
        copy();
    else
        QLabel::keyPressEvent(event);
}

void AddressLabel::contextMenuEvent(QContextMenuEvent* event)
{
    // The message, and this with it, may go while the menu is open.
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Copy"), this, &AddressLabel::copy);
    menu->popup(event->globalPos());
}

} // namespace Larkhaven
