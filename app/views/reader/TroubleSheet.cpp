#include "views/reader/TroubleSheet.h"

#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QAccessible>
#include <QAccessibleEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

TroubleSheet::TroubleSheet(QWidget* parent)
    : QWidget(parent)
    , m_sentence(new QLabel)
    , m_text(new QPushButton(tr("Show as Plain Text")))
    , m_stop(new QPushButton(tr("Stop", "to load a message")))
{
    setObjectName("troubleSheet"_L1);
    setRole(*this, Role::surface);
    m_sentence->setObjectName("troubleSentence"_L1);
    m_sentence->setTextFormat(Qt::PlainText);
    m_sentence->setAlignment(Qt::AlignCenter);
    m_sentence->setWordWrap(true);
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(Style::padding);
    buttons->addStretch(1);
    for (QPushButton* const button : {m_text, m_stop}) {
        button->setAutoDefault(false);
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    m_text->setObjectName("showAsText"_L1);
    m_stop->setObjectName("stopMessage"_L1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(Style::padding, Style::padding, Style::padding, Style::padding);
    layout->setSpacing(Style::padding);
    layout->addStretch(1);
    layout->addWidget(m_sentence);
    layout->addLayout(buttons);
    layout->addStretch(1);
    connect(m_text, &QPushButton::clicked, this, &TroubleSheet::textRequested);
    connect(m_stop, &QPushButton::clicked, this, &TroubleSheet::stopRequested);
    hide();
}

void TroubleSheet::tell(const QString& sentence, Offers offers)
{
    m_sentence->setText(sentence);
    m_text->setVisible(offers.isText);
    m_stop->setVisible(offers.isStop);
    setVisible(!sentence.isEmpty());
    if (sentence.isEmpty())
        return;
    raise();
    QAccessibleEvent alert(m_sentence, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

QString TroubleSheet::sentence() const
{
    return m_sentence->text();
}

} // namespace Larkhaven
