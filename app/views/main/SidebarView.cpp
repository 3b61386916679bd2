#include "views/main/SidebarView.h"

#include "domain/Coding.h"
#include "views/list/DraggedMessages.h"
#include "views/main/SidebarDelegate.h"
#include "views/style/DisplayText.h"

#include <QContextMenuEvent>
#include <QDragMoveEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStandardItemModel>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

Symbol symbolOf(Mailbox role)
{
    switch (role) {
    case Mailbox::inbox:
        return Symbol::tray;
    case Mailbox::starred:
        return Symbol::star;
    case Mailbox::sent:
        return Symbol::paperplane;
    case Mailbox::drafts:
        return Symbol::doc;
    case Mailbox::archive:
        return Symbol::archivebox;
    case Mailbox::spam:
        return Symbol::xmarkBin;
    case Mailbox::trash:
        return Symbol::trash;
    }
    Q_UNREACHABLE();
}

QString keyOf(const QString& accountID, const QString& refID)
{
    return accountID + u'/' + refID;
}

} // namespace

SidebarView::SidebarView(AppModel& model, QWidget* parent)
    : QTreeView(parent)
    , m_model(model)
    , m_items(new QStandardItemModel(this))
{
    setObjectName("sidebar"_L1);
    setAccessibleName(tr("Mailboxes"));
    setModel(m_items);
    setItemDelegate(new SidebarDelegate(this));
    setHeaderHidden(true);
    setFrameShape(NoFrame);
    setIndentation(0);
    setRootIsDecorated(false);
    setExpandsOnDoubleClick(false);
    setEditTriggers(NoEditTriggers);
    setMouseTracking(true);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAcceptDrops(true);

    connect(this, &QTreeView::expanded, this, &SidebarView::storeCollapsed);
    connect(this, &QTreeView::collapsed, this, [this](const QModelIndex& heading) {
        storeCollapsed();
        // The keyboard stays where it can be seen.
        if (currentIndex().parent() == heading)
            setCurrentIndex(heading);
    });
    connect(&model, &AppModel::accountsChanged, this, &SidebarView::rebuild);
    connect(&model, &AppModel::labelsChanged, this, &SidebarView::rebuild);
    connect(&model, &AppModel::countsChanged, this, &SidebarView::updateCounts);
    connect(&model, &AppModel::needsReauthChanged, this, &SidebarView::updateHeadings);
    connect(&model, &AppModel::sidebarSelectionChanged, this, &SidebarView::takeSelection);
    Style::shared().follow(this, [this] { scheduleDelayedItemsLayout(); });
    rebuild();
}

void SidebarView::paintEvent(QPaintEvent* event)
{
    QPainter(viewport()).fillRect(viewport()->rect(), Style::shared().colors().window);
    QTreeView::paintEvent(event);
}

void SidebarView::addRow(QStandardItem* heading, const Account& account, const MailboxRef& ref, Symbol symbol,
                         int depth)
{
    auto* const item = new QStandardItem(DisplayText::bounded(ref.name(account.provider)));
    const QString accountID = Coding::fromUuid(account.id);
    item->setData(accountID, AccountRole);
    item->setData(ref.id(), RefRole);
    item->setData(static_cast<int>(symbol), SymbolRole);
    item->setData(depth, DepthRole);
    if (const MailLabel* label = ref.label())
        item->setToolTip(DisplayText::toolTip(label->path));
    heading->appendRow(item);
    m_refs.insert(keyOf(accountID, ref.id()), ref);
}

void SidebarView::addParents(QStandardItem* heading, const MailLabel& label, Symbol symbol,
                             QSet<QString>& paths)
{
    // A name may have as many levels as a server likes.
    constexpr int mostLevels = 32;
    int depth = 0;
    for (qsizetype slash = label.path.indexOf(u'/'); slash >= 0 && depth < mostLevels;
         slash = label.path.indexOf(u'/', slash + 1)) {
        const QString path = label.path.first(slash);
        if (!paths.contains(path) && !path.isEmpty()) {
            paths.insert(path);
            auto* const item =
                new QStandardItem(DisplayText::bounded(path.sliced(path.lastIndexOf(u'/') + 1)));
            item->setData(heading->data(AccountRole), AccountRole);
            item->setData(static_cast<int>(symbol), SymbolRole);
            item->setData(depth, DepthRole);
            item->setToolTip(DisplayText::toolTip(path));
            item->setFlags(Qt::NoItemFlags);
            heading->appendRow(item);
        }
        ++depth;
    }
}

void SidebarView::rebuild()
{
    m_isTakingSelection = true;
    const QModelIndex present = currentIndex();
    const QString accountID = present.data(AccountRole).toString();
    const bool isHeading = present.isValid() && !present.parent().isValid();
    const int place = verticalScrollBar()->value();
    m_items->clear();
    m_refs.clear();
    const QStringList collapsed = m_model.defaults().text(DefaultsKey::collapsedAccounts).split(u',');
    for (const Account& account : m_model.accounts()) {
        auto* const heading = new QStandardItem(DisplayText::bounded(account.title()));
        heading->setData(Coding::fromUuid(account.id), AccountRole);
        heading->setFlags(Qt::ItemIsEnabled);
        for (const Mailbox role : allMailboxes)
            addRow(heading, account, MailboxRef::system(role), symbolOf(role), 0);
        const Symbol labelSymbol = account.provider == ProviderKind::google ? Symbol::tag : Symbol::folder;
        const QList<MailLabel> labels = m_model.labels(account.id);
        QSet<QString> paths;
        for (const MailLabel& label : labels)
            paths.insert(label.path);
        for (const MailLabel& label : labels) {
            addParents(heading, label, labelSymbol, paths);
            addRow(heading, account, MailboxRef::label(label), labelSymbol, label.depth());
        }
        m_items->appendRow(heading);
        setExpanded(heading->index(), !collapsed.contains(Coding::fromUuid(account.id)));
    }
    m_isTakingSelection = false;
    updateCounts();
    updateHeadings();
    takeSelection();
    if (isHeading)
        returnTo(accountID);
    executeDelayedItemsLayout();
    verticalScrollBar()->setValue(place);
}

void SidebarView::returnTo(const QString& accountID)
{
    // The keyboard stays at its heading, whatever the services answer meanwhile.
    const QScopedValueRollback taking(m_isTakingSelection, true);
    for (int section = 0; section < m_items->rowCount(); ++section) {
        if (m_items->item(section)->data(AccountRole).toString() == accountID)
            setCurrentIndex(m_items->index(section, 0));
    }
}

void SidebarView::updateCounts()
{
    for (int section = 0; section < m_items->rowCount(); ++section) {
        QStandardItem* const heading = m_items->item(section);
        const auto counts = m_model.counts(QUuid::fromString(heading->data(AccountRole).toString()));
        for (int row = 0; row < heading->rowCount(); ++row) {
            QStandardItem* const item = heading->child(row);
            const qint64 count = counts.value(item->data(RefRole).toString());
            // There may be ten thousand of them, and each that says it has changed is drawn and told again.
            const QVariant before = item->data(CountRole);
            if (before.isValid() && before.toLongLong() == count)
                continue;
            item->setData(count, CountRole);
            const int spoken =
                static_cast<int>(std::clamp<qint64>(count, 0, std::numeric_limits<int>::max()));
            //: a mailbox, and how many unread messages it has; read aloud
            const QString unread = tr("%1, %Ln unread", nullptr, spoken);
            item->setAccessibleText(spoken > 0 ? unread.arg(item->text()) : item->text());
        }
    }
}

void SidebarView::updateHeadings()
{
    for (int section = 0; section < m_items->rowCount(); ++section) {
        QStandardItem* const heading = m_items->item(section);
        const QUuid accountID = QUuid::fromString(heading->data(AccountRole).toString());
        const bool isNeeded = m_model.needsReauth().contains(accountID);
        heading->setData(isNeeded, NeedsSignInRole);
        heading->setAccessibleText(isNeeded ? heading->text() + u", "_s + tr("Sign-in required")
                                            : heading->text());
    }
    scheduleDelayedItemsLayout();
}

QModelIndex SidebarView::indexOf(const SidebarItem& item) const
{
    const QString accountID = Coding::fromUuid(item.accountID);
    for (int section = 0; section < m_items->rowCount(); ++section) {
        const QStandardItem* const heading = m_items->item(section);
        if (heading->data(AccountRole).toString() != accountID)
            continue;
        for (int row = 0; row < heading->rowCount(); ++row) {
            if (heading->child(row)->data(RefRole).toString() == item.ref.id())
                return heading->child(row)->index();
        }
    }
    return {};
}

void SidebarView::takeSelection()
{
    m_isTakingSelection = true;
    const QModelIndex shown =
        m_model.sidebarSelection() ? indexOf(*m_model.sidebarSelection()) : QModelIndex();
    if (!shown.isValid() || isExpanded(shown.parent()))
        setCurrentIndex(shown);
    m_isTakingSelection = false;
    viewport()->update();
}

bool SidebarView::isShown(const QModelIndex& index) const
{
    const std::optional<SidebarItem> item = itemOf(index);
    return item && item == m_model.sidebarSelection();
}

std::optional<SidebarItem> SidebarView::itemOf(const QModelIndex& index) const
{
    const QString accountID = index.data(AccountRole).toString();
    const auto ref = m_refs.constFind(keyOf(accountID, index.data(RefRole).toString()));
    return ref == m_refs.cend() ? std::nullopt
                                : std::optional(SidebarItem{QUuid::fromString(accountID), *ref});
}

std::optional<Account> SidebarView::accountOf(const QModelIndex& index) const
{
    const QUuid accountID = QUuid::fromString(index.data(AccountRole).toString());
    const auto account = std::ranges::find(m_model.accounts(), accountID, &Account::id);
    return account == m_model.accounts().end() ? std::nullopt : std::optional(*account);
}

void SidebarView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QTreeView::currentChanged(current, previous);
    if (!m_isTakingSelection)
        m_model.select(itemOf(current));
}

// --- Menus

void SidebarView::fillMenu(QMenu& menu, const QModelIndex& index)
{
    const std::optional<Account> account = accountOf(index);
    const std::optional<SidebarItem> item = itemOf(index);
    const MailLabel* const label = item ? item->ref.label() : nullptr;
    if (!account || (item && !label) || (!item && index.parent().isValid()))
        return;
    const QString noun = AppModel::labelNoun(account->provider);
    const auto add = [&](const char* name, const QString& title, const auto& action) {
        menu.addAction(DisplayText::menuItem(title), this, action)->setObjectName(QLatin1StringView(name));
    };
    const QUuid accountID = account->id;
    if (!label && m_model.needsReauth().contains(accountID)) {
        add("signInAgain", tr("Sign In…"),
            [this, chosen = *account] { m_model.signInAgain(chosen, [this] { Q_EMIT setupRequested(); }); });
        menu.addSeparator();
    }
    add("newLabel", tr("New %1…").arg(noun), [this, accountID] { m_model.beginCreateLabel(accountID); });
    if (!label)
        return;
    const MailLabel chosen = *label;
    add("newLabelInside", tr("New %1 Inside “%2”…").arg(noun, chosen.name()),
        [this, accountID, chosen] { m_model.beginCreateLabel(accountID, chosen); });
    add("renameLabel", tr("Rename “%1”…").arg(chosen.name()),
        [this, accountID, chosen] { m_model.beginRenameLabel(chosen, accountID); });
    add("deleteLabel", tr("Delete “%1”…").arg(chosen.name()),
        [this, accountID, chosen] { m_model.beginDeleteLabel(chosen, accountID); });
}

void SidebarView::contextMenuEvent(QContextMenuEvent* event)
{
    const bool isMouse = event->reason() == QContextMenuEvent::Mouse;
    const QModelIndex index = isMouse ? indexAt(event->pos()) : currentIndex();
    auto* const menu = new QMenu(this);
    menu->setObjectName("sidebarMenu"_L1);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillMenu(*menu, index);
    if (menu->isEmpty())
        delete menu;
    else
        menu->popup(isMouse ? event->globalPos() : viewport()->mapToGlobal(visualRect(index).bottomLeft()));
}

// --- Drops

std::optional<SidebarItem> SidebarView::dropTarget(const QDropEvent& event) const
{
    const auto* const dragged = qobject_cast<const DraggedMessages*>(event.mimeData());
    const std::optional<SidebarItem> item = itemOf(indexAt(event.position().toPoint()));
    const bool isOfAccount = dragged && item && !dragged->messages().isEmpty() &&
                             dragged->messages().first().accountID == item->accountID;
    return isOfAccount && item != m_model.sidebarSelection() ? item : std::nullopt;
}

void SidebarView::dragEnterEvent(QDragEnterEvent* event)
{
    // Whether it may be dropped is told row by row.
    event->setAccepted(qobject_cast<const DraggedMessages*>(event->mimeData()));
}

void SidebarView::dragMoveEvent(QDragMoveEvent* event)
{
    const bool isTarget = dropTarget(*event).has_value();
    hover(isTarget ? indexAt(event->position().toPoint()) : QModelIndex());
    event->setAccepted(isTarget);
}

void SidebarView::dragLeaveEvent(QDragLeaveEvent* event)
{
    hover({});
    event->accept();
}

void SidebarView::dropEvent(QDropEvent* event)
{
    hover({});
    const std::optional<SidebarItem> target = dropTarget(*event);
    event->setAccepted(target.has_value());
    if (target)
        m_model.move(static_cast<const DraggedMessages*>(event->mimeData())->messages(), target->ref);
}

// --- Folding

void SidebarView::storeCollapsed()
{
    if (m_isTakingSelection)
        return;
    QStringList collapsed;
    for (int section = 0; section < m_items->rowCount(); ++section) {
        if (!isExpanded(m_items->index(section, 0)))
            collapsed.append(m_items->item(section)->data(AccountRole).toString());
    }
    m_model.defaults().set(DefaultsKey::collapsedAccounts, collapsed.join(u','));
}

void SidebarView::mousePressEvent(QMouseEvent* event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.isValid() && !index.parent().isValid()) {
        if (event->button() != Qt::LeftButton)
            return;
        if (!isOnSignIn(index, event->position().toPoint()))
            setExpanded(index, !isExpanded(index));
        else if (const std::optional<Account> account = accountOf(index); account && !m_model.isSigningIn())
            m_model.signInAgain(*account, [this] { Q_EMIT setupRequested(); });
        return;
    }
    // Neither the right button nor the empty space below changes the mailbox.
    if (index.isValid() && event->button() == Qt::LeftButton)
        QTreeView::mousePressEvent(event);
}

bool SidebarView::isOnSignIn(const QModelIndex& heading, const QPoint& position) const
{
    // The line below the title.
    return heading.data(NeedsSignInRole).toBool() &&
           position.y() >= visualRect(heading).top() + SidebarDelegate::signInTop();
}

void SidebarView::hover(const QModelIndex& index)
{
    static_cast<SidebarDelegate*>(itemDelegate())->setHovered(index);
    viewport()->update();
}

void SidebarView::mouseMoveEvent(QMouseEvent* event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    hover(index);
    viewport()->setCursor(isOnSignIn(index, event->position().toPoint()) ? Qt::PointingHandCursor
                                                                         : Qt::ArrowCursor);
}

void SidebarView::leaveEvent(QEvent* event)
{
    QTreeView::leaveEvent(event);
    hover({});
}

void SidebarView::drawBranches(QPainter*, const QRect&, const QModelIndex&) const
{
    // The delegate paints the whole width.
}

} // namespace Larkhaven
