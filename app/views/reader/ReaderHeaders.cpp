#include "views/reader/ReaderHeaders.h"

#include "views/reader/SubjectLabel.h"
#include "views/style/DisplayText.h"
#include "views/style/FlatButton.h"
#include "views/style/Roles.h"
#include "views/style/RowText.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The room that the subject keeps beside the date, as a multiple of the text size.
constexpr double leastSubject = 26;

ShownAddresses first(const QList<EmailAddress>& addresses)
{
    ShownAddresses shown =
        ShownAddresses::of(addresses.first(std::min(addresses.size(), ShownAddresses::mostNames)));
    shown.count = addresses.size();
    return shown;
}

} // namespace

ShownHeaders ShownHeaders::read(const MIMEHeaders& headers)
{
    return {DisplayText::bounded(headers.subject()), ShownAddresses::of(headers.from()),
            ShownAddresses::of(headers.to()), ShownAddresses::of(headers.cc()), headers.date()};
}

ShownHeaders ShownHeaders::of(const MessageSummary& row)
{
    const QList<EmailAddress> from = row.from ? QList{*row.from} : QList<EmailAddress>();
    return {DisplayText::bounded(row.subject), ShownAddresses::of(from), first(row.to), {}, row.date};
}

ReaderHeaders::ReaderHeaders(QWidget* parent)
    : QWidget(parent)
    , m_back(new FlatButton(Symbol::back, tr("Back")))
    , m_subject(new SubjectLabel)
    , m_star(new QLabel)
    , m_clip(new QLabel)
    , m_count(new QLabel)
    , m_sender(new SenderLine)
    , m_notice(new QLabel)
    , m_titleLine(new QHBoxLayout)
    , m_grid(new QGridLayout)
{
    m_back->setObjectName("readerBack"_L1);
    m_subject->setObjectName("readerSubject"_L1);
    m_star->setObjectName("readerStar"_L1);
    m_star->setAccessibleName(tr("Starred"));
    m_star->setToolTip(tr("Starred"));
    m_clip->setObjectName("readerClip"_L1);
    m_count->setObjectName("readerAttachmentCount"_L1);
    connect(m_back, &QToolButton::clicked, this, &ReaderHeaders::backRequested);

    m_titleLine->setSpacing(Style::smallPadding);
    m_titleLine->addWidget(m_back, 0, Qt::AlignTop);
    m_titleLine->addWidget(m_subject, 1);
    m_titleLine->addWidget(m_star, 0, Qt::AlignTop);
    m_titleLine->addWidget(m_clip, 0, Qt::AlignTop);
    m_titleLine->addWidget(m_count, 0, Qt::AlignTop);
    m_grid->setHorizontalSpacing(Style::padding);
    m_grid->setVerticalSpacing(Style::grid);
    m_grid->setColumnStretch(1, 1);
    m_from = addRow(tr("From:"), &m_sender->names(), u"readerFrom"_s, m_sender);
    m_to = addRow(tr("To:"), new AddressLabel, u"readerTo"_s);
    m_cc = addRow(tr("Cc:"), new AddressLabel, u"readerCc"_s);
    m_dateRow = m_grid->rowCount();
    m_date = addRow(tr("Date:"), new QLabel, u"readerDate"_s);
    m_date.value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_date.value->setWordWrap(true);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(Style::largePadding, Style::largePadding, Style::largePadding, Style::padding);
    layout->setSpacing(Style::smallPadding);
    layout->addLayout(m_titleLine);
    layout->addLayout(m_grid);
    m_notice->setObjectName("readerSenderNotice"_L1);
    m_notice->setTextFormat(Qt::PlainText);
    m_notice->setWordWrap(true);
    m_notice->hide();
    setRole(*m_notice, Role::strong);
    layout->addWidget(m_notice);
    setRole(*m_subject, Role::title);
    for (QLabel* const quiet : {m_count, m_date.value})
        setRole(*quiet, Role::secondary);
    Style::shared().follow(this, [this] { measure(); });
}

ReaderHeaders::Row ReaderHeaders::addRow(const QString& name, QLabel* value, const QString& objectName,
                                         QWidget* around)
{
    const int row = m_grid->rowCount();
    auto* const label = new QLabel(name);
    label->setBuddy(value);
    setRole(*label, Role::secondary);
    value->setTextFormat(Qt::PlainText);
    value->setObjectName(objectName);
    m_grid->addWidget(label, row, 0, Qt::AlignRight | Qt::AlignTop);
    m_grid->addWidget(around ? around : value, row, 1);
    return {label, value};
}

// --- What is shown

void ReaderHeaders::setAddresses(const Row& row, const ShownAddresses& addresses, const QString& placeholder)
{
    static_cast<AddressLabel*>(row.value)->setAddresses(addresses, placeholder);
    const bool isShown = addresses.count > 0 || !placeholder.isEmpty();
    row.name->setVisible(isShown);
    row.value->setVisible(isShown);
}

void ReaderHeaders::setHeaders(const ShownHeaders& headers, const std::optional<QDateTime>& fallbackDate)
{
    m_subject->setSubject(headers.subject.isEmpty() ? tr("(no subject)") : headers.subject);
    m_sender->setSender({headers.from, {}, {}});
    setAddresses(m_to, headers.to, tr("Undisclosed recipients"));
    setAddresses(m_cc, headers.cc, {});
    setDate(headers.date ? headers.date : fallbackDate);
}

void ReaderHeaders::setSender(const ShownSender& shown)
{
    m_sender->setSender(shown);
    m_notice->setText(shown.warning);
    m_notice->setVisible(!shown.warning.isEmpty());
}

void ReaderHeaders::setDate(const std::optional<QDateTime>& date)
{
    m_hasDate = date.has_value();
    if (date) {
        const QDateTime local = date->toLocalTime();
        m_date.value->setText(
            tr("%1 at %2", "a date and a time")
                .arg(QLocale().toString(local.date(), QLocale::LongFormat), RowText::time(local.time())));
    }
    m_date.value->setVisible(m_hasDate);
    placeDate();
}

void ReaderHeaders::placeDate()
{
    const Style& style = Style::shared();
    int used = 2 * Style::largePadding + m_back->sizeHint().width() +
               QFontMetrics(style.font(Style::Type::body)).horizontalAdvance(m_date.value->text());
    for (const QLabel* const mark : {m_star, m_clip, m_count}) {
        if (!mark->isHidden())
            used += mark->sizeHint().width();
    }
    used += m_titleLine->count() * m_titleLine->spacing();
    const bool isBeside = width() - used >= style.scaled(leastSubject);
    if (isBeside != m_isDateBeside) {
        m_isDateBeside = isBeside;
        if (isBeside) {
            m_grid->removeWidget(m_date.value);
            m_titleLine->addWidget(m_date.value, 0, Qt::AlignTop);
        } else {
            m_titleLine->removeWidget(m_date.value);
            m_grid->addWidget(m_date.value, m_dateRow, 1);
        }
        m_date.value->setWordWrap(!isBeside);
        measure();
    }
    m_date.name->setVisible(m_hasDate && !isBeside);
    // Whoever hears it in the first line hears no label before it.
    const QString told = m_date.value->text();
    m_date.value->setAccessibleName(isBeside ? u"%1 %2"_s.arg(tr("Date:"), told) : told);
}

void ReaderHeaders::setMarks(const Marks& marks)
{
    if (m_marks == marks)
        return;
    m_marks = marks;
    showMarks();
    placeDate();
}

void ReaderHeaders::showMarks()
{
    const Style& style = Style::shared();
    const double ratio = devicePixelRatioF();
    const int icon = style.scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
    const QString told = m_marks.attachments > 0
                             ? tr("%Ln attachments", nullptr, static_cast<int>(m_marks.attachments))
                             : tr("Attachments");
    m_star->setPixmap(style.pixmap(Symbol::starFill, icon, style.colors().star, ratio));
    m_clip->setPixmap(style.pixmap(Symbol::paperclip, icon, style.colors().secondary, ratio));
    m_count->setText(QLocale().toString(m_marks.attachments));
    m_clip->setAccessibleName(told);
    m_clip->setToolTip(told);
    m_count->setToolTip(told);
    m_star->setVisible(m_marks.isStarred);
    m_clip->setVisible(m_marks.hasAttachments);
    m_count->setVisible(m_marks.hasAttachments && m_marks.attachments > 0);
}

// --- Looks

void ReaderHeaders::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    placeDate();
}

void ReaderHeaders::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        measure();
}

void ReaderHeaders::measure()
{
    const Style& style = Style::shared();
    showMarks();

    // All of the first line stands on the baseline of the subject's first, which is level with the button.
    const QFontMetrics title(style.font(Style::Type::title));
    const QFontMetrics body(style.font(Style::Type::body));
    const QSize back = m_back->sizeHint().expandedTo(m_back->minimumSize());
    const int top = std::max(0, (back.height() - title.height()) / 2);
    const int bodyTop = top + title.ascent() - body.ascent();
    const int icon = style.scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
    // The subject begins where the values below it do.
    int labels = 0;
    for (const Row& row : {m_from, m_to, m_cc, m_date})
        labels = std::max(labels, body.horizontalAdvance(row.name->text()));
    const int before = back.width() + m_titleLine->spacing();
    const int indent = std::max(0, labels + m_grid->horizontalSpacing() - before);
    const bool isTurnedRound = layoutDirection() == Qt::RightToLeft;
    m_grid->setColumnMinimumWidth(0, labels);
    m_subject->setContentsMargins(isTurnedRound ? 0 : indent, top, isTurnedRound ? indent : 0, 0);
    m_date.value->setContentsMargins(0, m_isDateBeside ? bodyTop : 0, 0, 0);
    m_count->setContentsMargins(0, bodyTop, 0, 0);
    for (QLabel* const mark : {m_star, m_clip})
        mark->setContentsMargins(0, std::max(0, bodyTop + (body.height() - icon) / 2), 0, 0);
}

} // namespace Larkhaven
