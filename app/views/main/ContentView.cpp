#include "views/main/ContentView.h"

#include "domain/FileName.h"
#include "views/compose/ComposeWindows.h"
#include "views/list/MessageTable.h"
#include "views/list/MessageTableView.h"
#include "views/main/ErrorAlert.h"
#include "views/main/KeptTextsBanner.h"
#include "views/main/LabelDialogs.h"
#include "views/main/MailCommands.h"
#include "views/main/MailToolbar.h"
#include "views/main/SearchField.h"
#include "views/main/SidebarPane.h"
#include "views/main/SidebarView.h"
#include "views/main/TextSizeCommands.h"
#include "views/main/WelcomeView.h"
#include "views/reader/SourceWindows.h"
#include "views/setup/IMAPSetupView.h"
#include "views/setup/SignInWindow.h"
#include "views/style/DisplayText.h"
#include "views/style/Style.h"
#include "views/style/WindowPlace.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QShortcut>
#include <QSplitter>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ContentView::ContentView(AppModel& model, ReaderView::Desktop desktop, QWidget* parent)
    : QMainWindow(parent)
    , m_model(model)
    , m_desktop(std::move(desktop))
    , m_root(new QStackedWidget)
    , m_welcome(new WelcomeView(model))
    , m_mail(new QWidget)
    , m_toolbar(new MailToolbar(model))
    , m_split(new QSplitter)
    , m_sidebar(new SidebarPane(model))
    , m_detail(new QStackedWidget)
    , m_listing(new MessageTableView(model))
    , m_compose(new ComposeWindows(model, ComposeView::systemDesktop(), ContactsService::shared(), this))
    , m_sources(new SourceWindows(model, this))
{
    setObjectName("main"_L1);
    const auto key = DefaultsKey::mainWindowSize;
    new WindowPlace(*this, defaultSize, smallestSize,
                    {[&model, key] { return model.defaults().text(key); },
                     [&model, key](const QString& size) { model.defaults().set(key, size); }});
    m_detail->addWidget(m_listing);
    m_split->setHandleWidth(1);
    m_split->setChildrenCollapsible(false);
    m_split->addWidget(m_sidebar);
    m_split->addWidget(m_detail);
    m_split->setStretchFactor(1, 1);
    const int sidebarWidth = static_cast<int>(
        std::clamp<qint64>(model.defaults().integer(DefaultsKey::sidebarWidth),
                           SidebarView::minimumColumnWidth, SidebarView::maximumColumnWidth));
    m_split->setSizes({sidebarWidth, defaultSize.width() - sidebarWidth});
    Style::shared().follow(this, [this] { fitSidebar(); });
    m_sidebar->setVisible(!model.defaults().boolean(DefaultsKey::sidebarHidden));
    auto* const layout = new QVBoxLayout(m_mail);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolbar);
    auto* const bannerLine = new QVBoxLayout;
    auto* const banner = new KeptTextsBanner(model);
    bannerLine->addWidget(banner);
    const auto makeRoom = [bannerLine, banner] {
        const int gap = banner->isHidden() ? 0 : Style::smallPadding;
        bannerLine->setContentsMargins(Style::padding, gap, Style::padding, gap);
    };
    makeRoom();
    for (const auto signal : {&AppModel::lockedTextsChanged, &AppModel::accountsChanged})
        connect(&model, signal, banner, makeRoom);
    layout->addLayout(bannerLine);
    layout->addWidget(m_split, 1);
    m_root->addWidget(m_welcome);
    m_root->addWidget(m_mail);
    setCentralWidget(m_root);

    model.setAskerSource([] { return QApplication::activeWindow(); });
    new ErrorAlert(model, *this);
    new LabelDialogs(model, this);
    new SignInWindow(model, this);
    connect(&model, &AppModel::browserSignInChanged, this, [this] {
        // The user is in the browser then: the window asks to be looked at, and takes nothing.
        if (!m_model.browserSignIn())
            QApplication::alert(this);
    });
    connect(m_compose, &ComposeWindows::quitRequested, this, &QWidget::close);
    m_listing->table().setSavePanel(
        [this](const QString& name) { return m_desktop.chooseSavePath(this, FileName::shown(name)); });
    connect(&m_listing->table(), &MessageTable::sourceRequested, m_sources, &SourceWindows::open);
    connect(m_welcome, &WelcomeView::setupRequested, this, [this] {
        m_model.setImapSetupAccountID(std::nullopt);
        openSetup();
    });
    connect(m_sidebar, &SidebarPane::setupRequested, this, &ContentView::openSetup);
    connect(m_listing, &MessageTableView::setupRequested, this, &ContentView::openSetup);
    connect(m_toolbar, &MailToolbar::sidebarToggled, this, &ContentView::toggleSidebar);
    connect(m_split, &QSplitter::splitterMoved, this, &ContentView::keepLayout);
    for (const auto& [chord, direction] : {std::pair(u"F6"_s, 1), std::pair(u"Shift+F6"_s, -1)})
        connect(new QShortcut(QKeySequence(chord), this), &QShortcut::activated, this,
                [this, direction = direction] { stepPane(direction); });
    makeMenu();
    connect(&model, &AppModel::accountsChanged, this, &ContentView::followAccounts);
    connect(&model, &AppModel::pathChanged, this, &ContentView::followPath);
    connect(&model, &AppModel::sidebarSelectionChanged, this, &ContentView::updateTitle);
    followAccounts();
    followPath();
}

ContentView::~ContentView() = default;

SidebarView& ContentView::sidebar() const
{
    return m_sidebar->sidebar();
}

void ContentView::openSetup()
{
    if (!m_setup)
        m_setup = std::make_unique<IMAPSetupView>(m_model);
    m_setup->show();
    m_setup->raise();
    m_setup->activateWindow();
}

ReaderView& ContentView::reader()
{
    if (!m_reader) {
        m_reader = new ReaderView(m_model, m_desktop);
        m_detail->addWidget(m_reader);
        connect(m_reader, &ReaderView::titleChanged, this, &ContentView::updateTitle);
        connect(m_reader, &ReaderView::sourceRequested, this, &ContentView::showSource);
    }
    return *m_reader;
}

void ContentView::showSource()
{
    const QList<MessageSummary> rows = m_model.actedOn();
    if (rows.size() == 1)
        m_sources->open(rows.first());
}

void ContentView::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    if (std::exchange(m_hasAppeared, true))
        return;
    m_model.start(m_model.begin());
    m_listing->setFocus();
    connect(&m_model, &AppModel::selectionChanged, this, &ContentView::prepareReader);
}

void ContentView::prepareReader()
{
    if (m_reader || m_model.selection().isEmpty())
        return;
    // The engine takes more memory than all the rest, so it starts with the first sign that a message may be
    // opened, and is up by the second click. The row is painted before.
    constexpr std::chrono::milliseconds idleTime(50);
    QTimer::singleShot(idleTime, this, [this] { reader(); });
}

void ContentView::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    fitSidebar();
}

void ContentView::closeEvent(QCloseEvent* event)
{
    if (m_isQuitting || !m_compose->holdsQuit()) {
        event->accept();
        Q_EMIT quitApproved();
        return;
    }
    event->ignore();
    m_compose->confirmQuit(this, [this] { quit(); });
}

void ContentView::quit()
{
    m_isQuitting = true;
    close();
}

void ContentView::followAccounts()
{
    const bool isWelcome = m_model.accounts().isEmpty();
    const qsizetype before = std::exchange(m_accountCount, m_model.accounts().size());
    m_root->setCurrentWidget(isWelcome ? m_welcome : m_mail);
    if (m_hasAppeared && m_accountCount > before)
        leaveKeyboardTo(*m_detail->currentWidget());
    updateTitle();
}

/// Gives the keyboard on, for what may happen by itself: not while the user types a search.
void ContentView::leaveKeyboardTo(QWidget& widget)
{
    if (!qobject_cast<QLineEdit*>(focusWidget()))
        widget.setFocus();
}

void ContentView::followPath()
{
    if (m_model.path().isEmpty()) {
        m_detail->setCurrentWidget(m_listing);
        if (m_reader)
            m_reader->close();
        leaveKeyboardTo(*m_listing);
    } else {
        reader().showMessage(m_model.path().last());
        m_detail->setCurrentWidget(m_reader);
        m_reader->setFocus();
    }
    updateTitle();
}

void ContentView::updateTitle()
{
    const std::optional<Account> account = m_model.selectedAccount();
    if (!m_model.path().isEmpty() && m_reader)
        setWindowTitle(DisplayText::bounded(m_reader->title()));
    else if (account)
        setWindowTitle(DisplayText::bounded(
            u"%1 – %2"_s.arg(m_model.sidebarSelection()->ref.name(account->provider), account->title())));
    else
        setWindowTitle(tr("Larkhaven"));
}

// --- The menu bar and the panes

void ContentView::makeMenu()
{
    MailCommands::Window window;
    window.choose = [this](const QString& name) {
        return m_desktop.chooseSavePath(this, FileName::shown(name));
    };
    window.showSource = [this](const MessageSummary& row) { m_sources->open(row); };
    window.openSetup = [this] { openSetup(); };
    window.openSettings = [this] { openSettings({}); };
    window.openAccounts = [this] { openSettings(SettingsView::Pane::accounts); };
    window.toggleSidebar = [this] { toggleSidebar(); };
    window.isSidebarShown = [this] { return !m_sidebar->isHidden(); };
    window.fillColumns = [this](QMenu& menu) { m_listing->table().fillColumnMenu(menu); };
    window.find = [this] { m_toolbar->searchField().setFocus(Qt::ShortcutFocusReason); };
    window.quit = [this] { close(); };
    window.stepTextSize = [&defaults = m_model.defaults()](int direction) {
        if (direction > 0)
            TextSizeCommands::makeBigger(defaults);
        else
            TextSizeCommands::makeSmaller(defaults);
    };
    window.resetTextSize = [this] { TextSizeCommands::makeActualSize(m_model.defaults()); };
    new MailCommands(m_model, *menuBar(), window);
}

void ContentView::openSettings(std::optional<SettingsView::Pane> pane)
{
    if (!m_settings) {
        m_settings = std::make_unique<SettingsView>(m_model);
        connect(m_settings.get(), &SettingsView::setupRequested, this, &ContentView::openSetup);
    }
    if (pane)
        m_settings->open(*pane);
    else
        m_settings->open();
}

void ContentView::toggleSidebar()
{
    if (m_sidebar->isAncestorOf(QApplication::focusWidget()))
        m_detail->currentWidget()->setFocus();
    m_sidebar->setVisible(m_sidebar->isHidden());
    m_model.defaults().set(DefaultsKey::sidebarHidden, m_sidebar->isHidden());
}

void ContentView::stepPane(int direction)
{
    /// What belongs to it, and where the keyboard begins in it.
    struct Pane {
        QWidget* whole;
        QWidget* start;
    };
    QList<Pane> panes;
    if (!m_sidebar->isHidden())
        panes.append(Pane{m_sidebar, &m_sidebar->sidebar()});
    panes.append(Pane{m_detail->currentWidget(), m_detail->currentWidget()});
    panes.append(Pane{m_toolbar, m_toolbar});
    const QWidget* const focused = QApplication::focusWidget();
    qsizetype present = -1;
    for (qsizetype index = 0; index < panes.size(); ++index) {
        const QWidget* const whole = panes[index].whole;
        if (focused && (whole == focused || whole->isAncestorOf(focused)))
            present = index;
    }
    const qsizetype count = panes.size();
    const qsizetype next = present < 0 ? 0 : (present + direction + count) % count;
    // A ring shows where the keyboard has gone.
    panes[next].start->setFocus(direction > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

void ContentView::keepLayout()
{
    if (!m_sidebar->isHidden())
        m_model.defaults().set(DefaultsKey::sidebarWidth,
                               SidebarPane::standardWidth(m_split->sizes().constFirst()));
}

/// The sidebar grows and shrinks with the text, as far as the list keeps its half.
void ContentView::fitSidebar()
{
    const QList<int> sizes = m_split->sizes();
    const int all = width();
    const int wanted = SidebarPane::shownWidth(static_cast<int>(
        std::clamp<qint64>(m_model.defaults().integer(DefaultsKey::sidebarWidth),
                           SidebarView::minimumColumnWidth, SidebarView::maximumColumnWidth)));
    const int width = std::max(std::min(wanted, all / 3), SidebarPane::narrowest());
    if (!m_sidebar->isHidden() && sizes.constFirst() != width)
        m_split->setSizes({width, all - width});
}

} // namespace Larkhaven
