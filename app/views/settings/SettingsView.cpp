#include "views/settings/SettingsView.h"

#include "views/settings/AccountsSettingsView.h"
#include "views/settings/ComposingSettingsView.h"
#include "views/settings/GeneralSettingsView.h"
#include "views/settings/PrivacySettingsView.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollArea>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// What a window manager needs of the screen around a window.
constexpr QSize frame{16, 48};

} // namespace

SettingsView::SettingsView(AppModel& model, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_tabs(new QTabWidget)
    , m_accounts(new AccountsSettingsView(model))
{
    setObjectName("settings"_L1);
    setWindowTitle(tr("Settings"));
    m_tabs->setObjectName("settingsTabs"_L1);
    m_tabs->setDocumentMode(true);
    m_tabs->tabBar()->setObjectName("settingsTabBar"_L1);
    setRole(*m_tabs->tabBar(), Role::panes);
    m_tabs->tabBar()->setExpanding(false);
    m_tabs->tabBar()->setDrawBase(false);
    m_tabs->setAccessibleName(tr("Settings"));
    m_tabs->tabBar()->setAccessibleName(tr("Settings"));
    // Each widget is made in its place: one that gets another parent is styled anew, with all that it holds,
    // which took a third of the time that the window is made in.
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, Style::grid, 0, 0);
    layout->addWidget(m_tabs);
    m_tabs->addTab(m_accounts, Symbols::icon(Symbol::at), tr("Accounts"));
    addPane<GeneralSettingsView>(model, Symbol::gear, tr("General"));
    addPane<ComposingSettingsView>(model, Symbol::pencil, tr("Composing"));
    addPane<PrivacySettingsView>(model, Symbol::hand, tr("Privacy"));
    connect(m_accounts, &AccountsSettingsView::setupRequested, this, &SettingsView::setupRequested);
    connect(qApp, &QApplication::focusChanged, &m_focusWatch,
            [this](QWidget*, QWidget* focused) { followFocus(focused); });
    Style::shared().follow(this, [this] { measure(); });
}

template <typename View>
void SettingsView::addPane(AppModel& model, Symbol symbol, const QString& title)
{
    auto* const area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setFocusPolicy(Qt::NoFocus);
    m_tabs->addTab(area, Symbols::icon(symbol), title);
    area->setWidget(new View(model, area->viewport()));
}

void SettingsView::followFocus(QWidget* focused)
{
    // A scroll area follows the keyboard only where it was in it before.
    for (QWidget* around = focused; around && around != this; around = around->parentWidget()) {
        if (auto* const area = qobject_cast<QScrollArea*>(around))
            area->ensureWidgetVisible(focused);
    }
}

void SettingsView::open()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void SettingsView::open(Pane pane)
{
    m_tabs->setCurrentIndex(static_cast<int>(pane));
    open();
}

void SettingsView::open(const QUuid& accountID)
{
    m_accounts->select(accountID);
    open(Pane::accounts);
}

SettingsView::Pane SettingsView::pane() const
{
    return static_cast<Pane>(m_tabs->currentIndex());
}

void SettingsView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape || event->matches(QKeySequence::Close))
        close();
    else
        QWidget::keyPressEvent(event);
}

void SettingsView::measure()
{
    const Style& style = Style::shared();
    const int icon = style.scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
    m_tabs->setIconSize({icon, icon});
    // Other colours leave the size alone that the user has given it.
    if (std::exchange(m_textSize, style.textSize()) != style.textSize())
        fitToScreen();
}

void SettingsView::fitToScreen()
{
    const Style& style = Style::shared();
    const QSize wanted(style.scaled(54), style.scaled(42));
    const QScreen* const place = screen();
    resize(place ? wanted.boundedTo(place->availableSize() - frame) : wanted);
}

} // namespace Larkhaven
