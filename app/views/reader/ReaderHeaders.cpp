#include "views/reader/ReaderHeaders.h"

#include "views/style/DisplayText.h"
#include "views/style/FlatButton.h"
#include "views/style/Roles.h"
#include "views/style/RowText.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ShownHeaders ShownHeaders::read(const MIMEHeaders& headers)
{
    return {DisplayText::bounded(headers.subject()), ShownAddresses::of(headers.from()),
            ShownAddresses::of(headers.to()), ShownAddresses::of(headers.cc()), headers.date()};
}

ReaderHeaders::ReaderHeaders(QWidget* parent)
    : QWidget(parent)
    , m_back(new FlatButton(Symbol::back, tr("Back")))
    , m_subject(new QLabel)
    , m_grid(new QGridLayout)
{
    m_back->setObjectName("readerBack"_L1);
    m_subject->setObjectName("readerSubject"_L1);
    m_subject->setTextFormat(Qt::PlainText);
    m_subject->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_subject->setWordWrap(true);
    connect(m_back, &QToolButton::clicked, this, &ReaderHeaders::backRequested);

    auto* const titleLine = new QHBoxLayout;
    titleLine->setSpacing(Style::smallPadding);
    titleLine->addWidget(m_back, 0, Qt::AlignTop);
    titleLine->addWidget(m_subject, 1);
    m_grid->setHorizontalSpacing(Style::padding);
    m_grid->setVerticalSpacing(Style::grid);
    m_grid->setColumnStretch(1, 1);
    m_from = addRow(tr("From:"), u"readerFrom"_s);
    m_to = addRow(tr("To:"), u"readerTo"_s);
    m_cc = addRow(tr("Cc:"), u"readerCc"_s);
    m_date = addRow(tr("Date:"), u"readerDate"_s);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(Style::largePadding, Style::largePadding, Style::largePadding, Style::padding);
    layout->setSpacing(Style::padding);
    layout->addLayout(titleLine);
    layout->addLayout(m_grid);
    setRole(*m_subject, Role::title);
}

ReaderHeaders::Row ReaderHeaders::addRow(const QString& name, const QString& objectName)
{
    const int row = m_grid->rowCount();
    Row labels{new QLabel(name), new AddressLabel};
    labels.value->setObjectName(objectName);
    setRole(*labels.name, Role::secondary);
    m_grid->addWidget(labels.name, row, 0, Qt::AlignRight | Qt::AlignTop);
    m_grid->addWidget(labels.value, row, 1);
    return labels;
}

void ReaderHeaders::setAddresses(const Row& row, const ShownAddresses& addresses, const QString& placeholder)
{
    static_cast<AddressLabel*>(row.value)->setAddresses(addresses, placeholder);
    const bool isShown = addresses.count > 0 || !placeholder.isEmpty();
    row.name->setVisible(isShown);
    row.value->setVisible(isShown);
}

void ReaderHeaders::setHeaders(const ShownHeaders& headers, const std::optional<QDateTime>& fallbackDate)
{
    m_subject->setText(headers.subject.isEmpty() ? tr("(no subject)")
                                                 : DisplayText::bounded(headers.subject));
    setAddresses(m_from, headers.from, tr("Unknown"));
    setAddresses(m_to, headers.to, tr("Undisclosed recipients"));
    setAddresses(m_cc, headers.cc, {});

    std::optional<QDateTime> date = headers.date;
    if (!date)
        date = fallbackDate;
    const QLocale locale;
    m_date.name->setVisible(date.has_value());
    m_date.value->setVisible(date.has_value());
    if (date) {
        const QDateTime local = date->toLocalTime();
        m_date.value->setText(
            tr("%1 at %2", "a date and a time")
                .arg(locale.toString(local.date(), QLocale::LongFormat), RowText::time(local.time())));
    }
}

} // namespace Larkhaven
