#include "views/WelcomeView.h"

#include "views/Style.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

WelcomeView::WelcomeView(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_title(new QLabel(tr("Welcome to Larkhaven")))
    , m_text(new QLabel(
          tr("Add an account to get started. Google accounts sign in on Google's own page, so Larkhaven "
             "never sees that password. Other providers sign in over IMAP with a password kept in your "
             "%1.")
              .arg(tr("keyring"))))
    , m_imap(new QPushButton(tr("Other Mail Account (IMAP)…")))
{
    setObjectName("welcome"_L1);
    m_title->setAlignment(Qt::AlignCenter);
    m_text->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_text->setWordWrap(true);
    auto* const layout = new QVBoxLayout(this);
    layout->setSpacing(Style::padding);
    layout->addStretch(2);
    layout->addWidget(m_title);
    layout->addWidget(m_text, 0, Qt::AlignHCenter);
    layout->addSpacing(Style::smallPadding);
    layout->addWidget(m_imap, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    m_imap->setObjectName("addIMAP"_L1);
    m_imap->setDefault(true);
    connect(m_imap, &QPushButton::clicked, this, &WelcomeView::setupRequested);
    const auto followSignIn = [this, &model] { m_imap->setEnabled(!model.isSigningIn()); };
    connect(&model, &AppModel::signingInChanged, this, followSignIn);
    connect(&Style::shared(), &Style::changed, this, &WelcomeView::applyStyle);
    applyStyle();
}

void WelcomeView::applyStyle()
{
    const Style& style = Style::shared();
    m_title->setFont(style.font(Style::Type::title));
    m_text->setFont(style.font(Style::Type::body));
    // A layout with space to spare on both sides doesn't ask how high a wrapped text is.
    const int width = style.scaled(32);
    m_text->setFixedSize(width, m_text->heightForWidth(width));
    QPalette palette = m_text->palette();
    palette.setColor(QPalette::WindowText, style.colors().secondary);
    m_text->setPalette(palette);
}

} // namespace Larkhaven
