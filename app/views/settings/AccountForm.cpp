#include "views/settings/AccountForm.h"

#include "domain/PlatformWords.h"
#include "domain/Text.h"
#include "views/settings/AccountsListModel.h"
#include "views/style/DisplayText.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The longest name that the user can give an account, in UTF-16 units.
constexpr int longestNickname = 200;

QPushButton* makeButton(const QString& text, QLatin1StringView name)
{
    auto* const button = new QPushButton(text);
    button->setObjectName(name);
    button->setAutoDefault(false);
    button->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    return button;
}

} // namespace

AccountForm::AccountForm(AppModel& model, QWidget* parent)
    : SettingsForm(parent)
    , m_model(model)
    , m_nickname(new QLineEdit)
    , m_signIn(makeButton(tr("Sign In Again…"), "signInAgain"_L1))
    , m_edit(makeButton(tr("Edit Settings / Password…"), "editSettings"_L1))
{
    setObjectName("accountForm"_L1);
    m_nickname->setObjectName("nickname"_L1);
    m_nickname->setMaxLength(longestNickname);
    addRow(tr("Description"), m_nickname);
    m_email = addValue(tr("Email"), "accountEmail"_L1);
    m_name = addValue(tr("Name"), "accountName"_L1);
    m_provider = addValue(tr("Provider"), "accountProvider"_L1);
    m_status = addValue(tr("Status"), "accountStatus"_L1);
    addControl(m_signIn);
    m_credentials = addValue(tr("Credentials"), "accountCredentials"_L1);
    m_incoming = addValue(tr("Incoming"), "accountIncoming"_L1);
    m_outgoing = addValue(tr("Outgoing"), "accountOutgoing"_L1);
    addControl(m_edit);
    show(m_credentials, PlatformWords::text(PlatformWords::Text::credentialsPlace));
    connect(m_nickname, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_model.setNickname(m_accountID, text); });
    connect(m_signIn, &QPushButton::clicked, this, &AccountForm::signInAgain);
    connect(m_edit, &QPushButton::clicked, this, [this] {
        m_model.setImapSetupAccountID(m_accountID);
        Q_EMIT setupRequested();
    });
    for (const auto signal :
         {&AppModel::accountsChanged, &AppModel::needsReauthChanged, &AppModel::signingInChanged})
        connect(&model, signal, this, &AccountForm::follow);
}

AccountForm::Row AccountForm::addValue(const QString& label, QLatin1StringView name)
{
    auto* const value = new QLineEdit;
    value->setObjectName(name);
    value->setReadOnly(true);
    setRole(*value, Role::value);
    return {addRow(label, value), value};
}

void AccountForm::show(const Row& row, const QString& text, bool isShown)
{
    if (row.value->text() != text) {
        row.value->setText(text);
        row.value->setCursorPosition(0);
    }
    row.label->setVisible(isShown);
    row.value->setVisible(isShown);
}

void AccountForm::setAccount(const QUuid& accountID)
{
    if (std::exchange(m_accountID, accountID) != accountID)
        m_nickname->clear();
    follow();
}

void AccountForm::follow()
{
    const auto account = std::ranges::find(m_model.accounts(), m_accountID, &Account::id);
    if (account == m_model.accounts().end())
        return;
    // A space at the end is no part of the name yet, and may become one.
    const QString nickname = DisplayText::bounded(account->nickname.value_or(QString()));
    if (Text::trimmedSpaceAndLineEnds(m_nickname->text()) != nickname)
        m_nickname->setText(nickname);
    m_nickname->setPlaceholderText(DisplayText::bounded(account->email));
    show(m_email, DisplayText::bounded(account->email));
    show(m_name, DisplayText::bounded(account->displayName.value_or(QString())),
         !account->displayName.value_or(QString()).isEmpty());
    show(m_provider, AccountsListModel::providerName(account->provider));
    showServers(*account);

    const bool needsSignIn = m_model.needsReauth().contains(m_accountID);
    show(m_status, needsSignIn ? tr("Sign-in required") : tr("Signed in"));
    setRole(*m_status.value, needsSignIn ? Role::dangerValue : Role::value);
    m_signIn->setVisible(needsSignIn);
    m_signIn->setEnabled(!m_model.isSigningIn());
    m_edit->setVisible(account->provider == ProviderKind::imap);
    // Nothing of an account that is on its way out can be changed.
    setEnabled(!m_model.isRemoving(m_accountID));
}

void AccountForm::showServers(const Account& account)
{
    const auto line = [](const QString& host, int port, ConnectionSecurity security) {
        return u"%1:%2 (%3)"_s.arg(DisplayText::bounded(host), QString::number(port), label(security));
    };
    const ServerSettings server = account.server.value_or(ServerSettings());
    const bool hasServer = account.server.has_value();
    show(m_incoming, hasServer ? line(server.imapHost, server.imapPort, server.imapSecurity) : QString(),
         hasServer);
    show(m_outgoing, hasServer ? line(server.smtpHost, server.smtpPort, server.smtpSecurity) : QString(),
         hasServer);
}

void AccountForm::signInAgain()
{
    const auto account = std::ranges::find(m_model.accounts(), m_accountID, &Account::id);
    if (account != m_model.accounts().end())
        m_model.signInAgain(*account, [this] { Q_EMIT setupRequested(); });
}

} // namespace Larkhaven
