#include "views/main/KeptTextsBanner.h"

#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

KeptTextsBanner::KeptTextsBanner(AppModel& model, QWidget* parent)
    : WarningCard(parent)
    , m_model(model)
    , m_symbol(new QLabel)
    , m_text(new QLabel(tr("What you write can’t be kept safe at the moment, and what was kept can’t be "
                           "opened: your keyring or your disk refuses.")))
    , m_button(new QPushButton(tr("Try Again")))
{
    setObjectName("keptTextsBanner"_L1);
    m_text->setWordWrap(true);
    m_button->setObjectName("keptTextsRetry"_L1);
    m_button->setAutoDefault(false);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::padding, Style::smallPadding, Style::padding, Style::smallPadding);
    layout->setSpacing(Style::padding);
    layout->addWidget(m_symbol);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_button);
    connect(m_button, &QPushButton::clicked, this, [this] { m_model.start(m_model.recoverDrafts()); });
    connect(&model, &AppModel::lockedTextsChanged, this, &KeptTextsBanner::update);
    connect(&model, &AppModel::accountsChanged, this, &KeptTextsBanner::update);
    connect(&Style::shared(), &Style::changed, this, &KeptTextsBanner::applyStyle);
    applyStyle();
    update();
}

void KeptTextsBanner::update()
{
    setVisible(!m_model.accountsWithLockedTexts().isEmpty());
}

void KeptTextsBanner::applyStyle()
{
    const Style& style = Style::shared();
    const int icon = style.scaled(static_cast<double>(Style::largeIcon) / Style::standardTextSize);
    m_symbol->setPixmap(style.pixmap(Symbol::warning, icon, style.colors().warningText, devicePixelRatioF()));
    m_text->setFont(style.font(Style::Type::body));
    applyColors({m_text}, *m_button);
}

} // namespace Larkhaven
