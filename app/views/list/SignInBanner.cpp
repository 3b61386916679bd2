#include "views/list/SignInBanner.h"

#include "views/style/DisplayText.h"

#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SignInBanner::SignInBanner(AppModel& model, QWidget* parent)
    : WarningCard(Symbol::warning, tr("Sign In…"), parent)
    , m_model(model)
{
    setObjectName("signInBanner"_L1);
    addText(tr("Sign-In Required"), Role::strong);
    m_text = addText({});
    m_text->setObjectName("signInText"_L1);
    button().setObjectName("signInButton"_L1);
    connect(this, &WarningCard::clicked, this, &SignInBanner::signIn);
    for (const auto signal : {&AppModel::needsReauthChanged, &AppModel::sidebarSelectionChanged,
                              &AppModel::accountsChanged, &AppModel::signingInChanged}) {
        connect(&model, signal, this, &SignInBanner::update);
    }
    update();
}

void SignInBanner::update()
{
    const std::optional<Account> account = m_model.selectedAccount();
    const bool isNeeded = account && m_model.needsReauth().contains(account->id);
    setVisible(isNeeded);
    if (isNeeded)
        m_text->setText(tr("%1 needs to sign in again.").arg(DisplayText::bounded(account->title())));
    button().setEnabled(!m_model.isSigningIn());
}

void SignInBanner::signIn()
{
    if (const std::optional<Account> account = m_model.selectedAccount())
        m_model.signInAgain(*account, [this] { Q_EMIT setupRequested(); });
}

} // namespace Larkhaven
