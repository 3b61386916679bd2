#include "views/setup/SignInWindow.h"

#include "views/style/Roles.h"
#include "views/style/Style.h"
#include "views/style/WrappedText.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SignInWindow::SignInWindow(AppModel& model, QWidget* parent)
    : QWidget(parent, Qt::Dialog)
    , m_model(model)
    , m_title(new QLabel)
    , m_text(new WrappedText(
          tr("Sign-in goes on in your browser, in a private window that opens now. This window "
             "closes by itself."),
          26))
    , m_cancel(new QPushButton(tr("Cancel")))
{
    setObjectName("signInWindow"_L1);
    setWindowTitle(tr("Sign In"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    m_title->setObjectName("signInTitle"_L1);
    setRole(*m_title, Role::title);
    m_cancel->setObjectName("signInCancel"_L1);
    m_cancel->setAutoDefault(false);
    auto* const bar = new QProgressBar;
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    bar->setFixedHeight(Style::grid);
    bar->setAccessibleName(tr("Signing in"));
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(Style::padding);
    buttons->addWidget(bar, 1);
    buttons->addWidget(m_cancel);
    auto* const layout = new QVBoxLayout(this);
    constexpr int margin = Style::largePadding;
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(Style::padding);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_title);
    layout->addWidget(m_text);
    layout->addLayout(buttons);
    connect(m_cancel, &QPushButton::clicked, this, &QWidget::close);
    connect(&model, &AppModel::browserSignInChanged, this, &SignInWindow::follow);
    connect(&model, &AppModel::browserSignInWanted, this, &SignInWindow::bringForward);
}

void SignInWindow::follow()
{
    const std::optional<ProviderKind> provider = m_model.browserSignIn();
    if (!provider) {
        hide();
        return;
    }
    m_title->setText(*provider == ProviderKind::google ? tr("Sign In with Google")
                                                       : tr("Sign In with Microsoft"));
    show();
}

void SignInWindow::bringForward()
{
    show();
    raise();
    activateWindow();
}

void SignInWindow::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    m_model.cancelSignIn();
}

void SignInWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace Larkhaven
