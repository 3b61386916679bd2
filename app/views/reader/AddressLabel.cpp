#include "views/reader/AddressLabel.h"

#include "views/reader/TextLines.h"
#include "views/reader/TextLink.h"
#include "views/style/DisplayText.h"

#include <QEvent>
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

/// What is laid out, in UTF-16 units: more than two lines of the widest screen hold, and as many as take a
/// fraction of a turn of the event loop.
constexpr qsizetype mostFoldedUnits = 2'000;
constexpr qsizetype mostUnfoldedUnits = 10'000;

/// A layout asks for the widths of its hints and for its own.
constexpr qsizetype mostWidths = 4;

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
    : HeaderLabel(parent)
    , m_more(new TextLink(this))
{
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
    layOutAnew();
}

// --- What stands on the lines

AddressLabel::Joined AddressLabel::joined(qsizetype most) const
{
    const bool isTurnedRound = layoutDirection() == Qt::RightToLeft;
    // Left to itself, a layout takes the direction of the first name for that of all.
    Joined names;
    if (isTurnedRound)
        names.text += rightToLeftMark;
    else if (!m_addresses.names.isEmpty() && std::ranges::any_of(m_addresses.names.first(), isTurned))
        names.text += leftToRightMark;
    for (const QString& name : m_addresses.names) {
        if (names.text.size() >= most && !names.ends.isEmpty())
            break;
        if (!names.ends.isEmpty())
            names.text += ", "_L1;
        // Each is read in its own direction, and none turns its neighbours.
        if (isTurnedRound || std::ranges::any_of(name, isTurned))
            names.text.append(firstStrongIsolate).append(name).append(popIsolate);
        else
            names.text += name;
        names.ends.append(names.text.size());
    }
    return names;
}

QString AddressLabel::wordsOf(qsizetype names) const
{
    return m_addresses.names.first(names).join(u", "_s);
}

QString AddressLabel::moreText(qsizetype hidden) const
{
    return tr("and %Ln more", "receivers of a message", static_cast<int>(hidden));
}

const AddressLabel::Shown& AddressLabel::shownOn(int width) const
{
    if (const auto known = m_shown.constFind(width); known != m_shown.constEnd())
        return *known;
    if (m_shown.size() == mostWidths)
        m_shown.clear();
    return *m_shown.insert(width, laidOutOn(width));
}

AddressLabel::Shown AddressLabel::laidOutOn(int width) const
{
    if (m_addresses.count > 0)
        return m_isUnfolded ? unfolded(width) : folded(width);
    const TextLines lines = TextLines::of(m_placeholder, font(), width, allLines);
    return {lines.text, m_placeholder, m_placeholder.size(), lines.height, 0, {}};
}

AddressLabel::Shown AddressLabel::folded(int width) const
{
    const Joined names = joined(mostFoldedUnits);
    const bool areAll = names.ends.size() == m_addresses.count;
    const int space = fontMetrics().horizontalAdvance(u' ');
    const int room = TextLink::widthOf(moreText(m_addresses.count), fontMetrics()) + space;
    const TextLines all = TextLines::of(names.text, font(), width, foldedLines, {room, !areAll});
    if (areAll && all.to == names.text.size()) {
        const QString words = wordsOf(names.ends.size());
        return {all.text, words, words.size(), all.height, 0, {}};
    }
    const qsizetype fitting = std::ranges::count_if(names.ends, [&](qsizetype end) { return end <= all.to; });
    if (fitting == 0)
        return elided(width, room);
    const QString words = wordsOf(fitting);
    const TextLines lines =
        TextLines::of(names.text.first(names.ends[fitting - 1]), font(), width, foldedLines);
    return {lines.text,
            words,
            words.size(),
            lines.height,
            m_addresses.count - fitting,
            QRectF(lines.lastWidth + space, lines.lastTop, 0, lines.lastHeight)};
}

/// The first name alone, which is too long.
AddressLabel::Shown AddressLabel::elided(int width, int room) const
{
    const QString& words = m_addresses.names.constFirst();
    const QString name = joined(1).text;
    const qsizetype start = name.indexOf(words);
    const int kept = (m_addresses.count > 1 ? room : 0) + fontMetrics().horizontalAdvance(u'…');
    // A line ends between letters, never within one.
    const qsizetype end = TextLines::of(name, font(), width, foldedLines, {kept, true}).to;
    const qsizetype whole = std::clamp<qsizetype>(end - start, 0, words.size());
    QString text = name.first(start + whole) + u'…';
    if (name.endsWith(popIsolate))
        text += popIsolate;
    const TextLines lines = TextLines::of(text, font(), width, foldedLines);
    Shown shown{lines.text, words, whole, lines.height, m_addresses.count - 1, {}};
    if (shown.hidden > 0) {
        const int space = fontMetrics().horizontalAdvance(u' ');
        shown.more = QRectF(lines.lastWidth + space, lines.lastTop, 0, lines.lastHeight);
    }
    return shown;
}

AddressLabel::Shown AddressLabel::unfolded(int width) const
{
    const Joined names = joined(mostUnfoldedUnits);
    const qsizetype hidden = m_addresses.count - names.ends.size();
    const QString behind = hidden > 0 ? u' ' + moreText(hidden) : QString();
    const QString words = wordsOf(names.ends.size()) + behind;
    const TextLines lines = TextLines::of(names.text + behind, font(), width, allLines);
    const double line = fontMetrics().height();
    return {lines.text, words, words.size(), lines.height + line, hidden, QRectF(0, lines.height, 0, line)};
}

void AddressLabel::layOutAnew()
{
    m_shown.clear();
    updateGeometry();
    layOut();
}

void AddressLabel::layOut()
{
    const QMargins margins = contentsMargins();
    // A copy: what follows may ask for other widths.
    const Shown shown = shownOn(std::max(1, width() - margins.left() - margins.right()));
    showMarked(shown.text, shown.words, shown.whole);
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
    layOutAnew();
}

QString AddressLabel::everything() const
{
    return m_addresses.copied.isEmpty() ? HeaderLabel::everything() : m_addresses.copied;
}

// --- Geometry

int AddressLabel::widthOnOneLine() const
{
    constexpr qsizetype mostUnits = 500;
    const QString text = m_addresses.count > 0 ? joined(mostUnits).text : m_placeholder;
    const bool isLong = text.size() > mostUnits || m_addresses.names.size() < m_addresses.count;
    const QMargins margins = contentsMargins();
    // A layout of lines rounds up.
    return isLong ? QWIDGETSIZE_MAX / 4
                  : fontMetrics().horizontalAdvance(text) + margins.left() + margins.right() + 2;
}

int AddressLabel::heightForWidth(int width) const
{
    const QMargins margins = contentsMargins();
    const Shown& shown = shownOn(std::max(1, width - margins.left() - margins.right()));
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
    HeaderLabel::resizeEvent(event);
    layOut();
}

void AddressLabel::changeEvent(QEvent* event)
{
    HeaderLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange)
        layOutAnew();
}

} // namespace Larkhaven
