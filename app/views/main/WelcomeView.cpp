#include "views/main/WelcomeView.h"

#include "domain/PlatformWords.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"
#include "views/style/WrappedText.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

WelcomeView::WelcomeView(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_title(new QLabel(tr("Welcome to Larkhaven")))
    , m_text(new WrappedText(PlatformWords::text(PlatformWords::Text::welcome), 32))
{
    setObjectName("welcome"_L1);
    setRole(*m_title, Role::title);
    setRole(*m_text, Role::secondary);
    m_title->setAlignment(Qt::AlignCenter);
    m_text->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    auto* const layout = new QVBoxLayout(this);
    layout->setSpacing(Style::padding);
    layout->addStretch(2);
    layout->addWidget(m_title);
    layout->addWidget(m_text, 0, Qt::AlignHCenter);
    layout->addSpacing(Style::smallPadding);
    QList<QPushButton*> buttons;
    const auto addSignIn = [&](ProviderKind provider, const QString& text, QLatin1StringView name) {
        if (!model.canSignIn(provider))
            return;
        buttons.append(addButton(text, name));
        connect(buttons.last(), &QPushButton::clicked, this,
                [&model, provider] { model.start(model.signIn(provider)); });
    };
    addSignIn(ProviderKind::google, tr("Sign In with Google…"), "signInGoogle"_L1);
    addSignIn(ProviderKind::microsoft, tr("Sign In with Microsoft…"), "signInMicrosoft"_L1);
    buttons.append(addButton(tr("Other Mail Account (IMAP)…"), "addIMAP"_L1));
    connect(buttons.last(), &QPushButton::clicked, this, &WelcomeView::setupRequested);
    buttons.first()->setDefault(true);
    // One below the other, as wide as the widest.
    auto* const column = new QVBoxLayout;
    column->setSpacing(Style::smallPadding);
    for (QPushButton* const button : std::as_const(buttons))
        column->addWidget(button);
    auto* const row = new QHBoxLayout;
    row->addStretch();
    row->addLayout(column);
    row->addStretch();
    layout->addLayout(row);
    layout->addStretch(3);
}

QPushButton* WelcomeView::addButton(const QString& text, QLatin1StringView name)
{
    auto* const button = new QPushButton(text);
    button->setObjectName(name);
    const auto followSignIn = [this, button] { button->setEnabled(!m_model.isSigningIn()); };
    connect(&m_model, &AppModel::signingInChanged, button, followSignIn);
    followSignIn();
    return button;
}

} // namespace Larkhaven
