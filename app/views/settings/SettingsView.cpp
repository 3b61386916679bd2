#include "views/settings/SettingsView.h"

#include "views/settings/AccountsSettingsView.h"
#include "views/settings/ComposingSettingsView.h"
#include "views/settings/GeneralSettingsView.h"
#include "views/settings/PrivacySettingsView.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollArea>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// What a window manager needs of the screen around a window.
constexpr QSize frame{16, 48};

constexpr std::array paneSymbols{Symbol::at, Symbol::gear, Symbol::pencil, Symbol::hand};

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
    m_tabs->tabBar()->setProperty("role", u"panes"_s);
    m_tabs->tabBar()->setExpanding(false);
    m_tabs->tabBar()->setDrawBase(false);
    m_tabs->setAccessibleName(tr("Settings"));
    m_tabs->tabBar()->setAccessibleName(tr("Settings"));
    addPane(m_accounts, tr("Accounts"), false);
    addPane(new GeneralSettingsView(model), tr("General"), true);
    addPane(new ComposingSettingsView(model), tr("Composing"), true);
    addPane(new PrivacySettingsView(model), tr("Privacy"), true);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, Style::grid, 0, 0);
    layout->addWidget(m_tabs);
    connect(m_accounts, &AccountsSettingsView::setupRequested, this, &SettingsView::setupRequested);
    connect(&Style::shared(), &Style::changed, this, &SettingsView::applyStyle);
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* focused) { followFocus(focused); });
    applyStyle();
}

void SettingsView::addPane(QWidget* pane, const QString& title, bool scrolls)
{
    if (!scrolls) {
        m_tabs->addTab(pane, title);
        return;
    }
    auto* const area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidget(pane);
    m_tabs->addTab(area, title);
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

void SettingsView::applyStyle()
{
    const Style& style = Style::shared();
    const int icon = style.scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
    m_tabs->setIconSize({icon, icon});
    for (int index = 0; index < m_tabs->count(); ++index)
        m_tabs->setTabIcon(index,
                           style.icon(paneSymbols.at(static_cast<size_t>(index)), style.colors().text));
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
