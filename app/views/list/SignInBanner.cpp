#include "views/list/SignInBanner.h"

#include "views/style/DisplayText.h"
#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SignInBanner::SignInBanner(AppModel& model, QWidget* parent)
    : WarningCard(parent)
    , m_model(model)
    , m_symbol(new QLabel)
    , m_title(new QLabel(tr("Sign-In Required")))
    , m_text(new QLabel)
    , m_button(new QPushButton(tr("Sign In…")))
{
    setObjectName("signInBanner"_L1);
    m_text->setObjectName("signInText"_L1);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_button->setObjectName("signInButton"_L1);
    m_button->setAutoDefault(false);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(m_title);
    texts->addWidget(m_text);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::padding, Style::smallPadding, Style::padding, Style::smallPadding);
    layout->setSpacing(Style::padding);
    layout->addWidget(m_symbol);
    layout->addLayout(texts, 1);
    layout->addWidget(m_button);
    connect(m_button, &QPushButton::clicked, this, &SignInBanner::signIn);
    for (const auto signal : {&AppModel::needsReauthChanged, &AppModel::sidebarSelectionChanged,
                              &AppModel::accountsChanged, &AppModel::signingInChanged}) {
        connect(&model, signal, this, &SignInBanner::update);
    }
    connect(&Style::shared(), &Style::changed, this, &SignInBanner::applyStyle);
    applyStyle();
    update();
}

void SignInBanner::update()
{
    const std::optional<Account> account = m_model.selectedAccount();
    const bool isNeeded = account && m_model.needsReauth().contains(account->id);
    setVisible(isNeeded);
    if (isNeeded)
        m_text->setText(tr("%1 needs to sign in again.").arg(DisplayText::bounded(account->title())));
    m_button->setEnabled(!m_model.isSigningIn());
}

void SignInBanner::signIn()
{
    if (const std::optional<Account> account = m_model.selectedAccount())
        m_model.signInAgain(*account, [this] { Q_EMIT setupRequested(); });
}

void SignInBanner::applyStyle()
{
    const Style& style = Style::shared();
    const QColor color = style.colors().warningText;
    const int icon = style.scaled(static_cast<double>(Style::largeIcon) / Style::standardTextSize);
    m_symbol->setPixmap(style.pixmap(Symbol::warning, icon, color, devicePixelRatioF()));
    m_title->setFont(style.font(Style::Type::body, Style::Weight::semibold));
    m_text->setFont(style.font(Style::Type::body));
    applyColors({m_title, m_text}, *m_button);
}

} // namespace Larkhaven
