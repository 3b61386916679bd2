#include "views/main/MailToolbar.h"

#include "domain/PlatformWords.h"
#include "views/main/SearchField.h"
#include "views/style/FlatButton.h"
#include "views/style/Style.h"

#include <QFocusEvent>
#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

MailToolbar::MailToolbar(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_sidebar(new FlatButton(Symbol::sidebar, tr("Show or Hide Sidebar")))
    , m_getMail(new FlatButton(Symbol::envelope, tr("Get New Mail"), QKeySequence(u"Ctrl+Shift+N"_s)))
    , m_newMessage(new FlatButton(Symbol::pencil, tr("New Message"), QKeySequence(u"Ctrl+N"_s)))
    , m_archive(new FlatButton(Symbol::archivebox, tr("Archive"), QKeySequence(u"Ctrl+Alt+A"_s)))
    , m_delete(new FlatButton(Symbol::trash, tr("Delete"), QKeySequence(u"Ctrl+Delete"_s)))
    , m_junk(new FlatButton(Symbol::xmarkBin, tr("Mark as Junk"), QKeySequence(u"Ctrl+Shift+J"_s)))
    , m_reply(new FlatButton(Symbol::reply, tr("Reply"), QKeySequence(u"Ctrl+R"_s)))
    , m_replyAll(new FlatButton(Symbol::replyAll, tr("Reply All"), QKeySequence(u"Ctrl+Shift+R"_s)))
    , m_forward(new FlatButton(Symbol::forwardMessage, tr("Forward"), QKeySequence(u"Ctrl+Shift+F"_s)))
    , m_star(new FlatButton(Symbol::star, tr("Star"), QKeySequence(u"Ctrl+Shift+L"_s)))
    , m_search(new SearchField(model))
{
    setObjectName("toolbar"_L1);
    m_sidebar->setObjectName("toggleSidebar"_L1);
    connect(m_sidebar, &QToolButton::clicked, this, &MailToolbar::sidebarToggled);
    m_getMail->setObjectName("getMail"_L1);
    m_getMail->setToolTip(PlatformWords::text(PlatformWords::Text::getNewMailHelp));
    connect(m_getMail, &QToolButton::clicked, this, [this] { m_model.start(m_model.refresh()); });
    m_newMessage->setObjectName("newMessage"_L1);
    connect(m_newMessage, &QToolButton::clicked, this, [this] { m_model.newMessage({}); });
    addAction(m_archive, "archive", &AppModel::archive);
    addAction(m_delete, "delete", &AppModel::trash);
    addAction(m_junk, "junk", &AppModel::reportSpam);
    addAction(m_star, "star", &AppModel::toggleStarred);
    addAnswer(m_reply, "reply",
              [](AppModel& target, const MessageSummary& row) { return target.reply(row, false); });
    addAnswer(m_replyAll, "replyAll",
              [](AppModel& target, const MessageSummary& row) { return target.reply(row, true); });
    addAnswer(m_forward, "forward",
              [](AppModel& target, const MessageSummary& row) { return target.forward(row); });
    makeLayout();
    Style::shared().follow(this, [this] { fit(); });
    for (const auto signal :
         {&AppModel::messagesChanged, &AppModel::selectionChanged, &AppModel::pathChanged,
          &AppModel::openMessageChanged, &AppModel::sidebarSelectionChanged, &AppModel::accountsChanged}) {
        connect(&model, signal, this, &MailToolbar::update);
    }
    update();
}

void MailToolbar::addAction(FlatButton* button, const char* name, const Action& action)
{
    button->setObjectName(QLatin1StringView(name));
    connect(button, &QToolButton::clicked, this, [this, action] {
        const QList<MessageSummary> rows = m_model.actedOn();
        action(m_model, rows);
    });
}

void MailToolbar::addAnswer(FlatButton* button, const char* name, const Answer& answer)
{
    button->setObjectName(QLatin1StringView(name));
    connect(button, &QToolButton::clicked, this, [this, answer] {
        const QList<MessageSummary> rows = m_model.actedOn();
        if (rows.size() == 1)
            m_model.start(answer(m_model, rows.first()), rows.first().accountID);
    });
}

void MailToolbar::makeLayout()
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::smallPadding, 6, Style::padding, 7);
    layout->setSpacing(Style::largePadding);
    const std::initializer_list<std::initializer_list<FlatButton*>> groups{{m_sidebar},
                                                                           {m_getMail, m_newMessage},
                                                                           {m_archive, m_delete, m_junk},
                                                                           {m_reply, m_replyAll, m_forward},
                                                                           {m_star}};
    for (const auto& group : groups) {
        auto* const room = new QWidget;
        auto* const line = new QHBoxLayout(room);
        line->setContentsMargins(0, 0, 0, 0);
        line->setSpacing(Style::grid);
        for (FlatButton* const button : group)
            line->addWidget(button);
        layout->addWidget(room);
        m_groups.append(room);
    }
    layout->addStretch();
    layout->addWidget(m_search);
}

void MailToolbar::fit()
{
    const QMargins margins = layout()->contentsMargins();
    int room = width() - margins.left() - margins.right() - m_search->minimumWidth();
    for (QWidget* const group : m_groups) {
        room -= group->sizeHint().width() + layout()->spacing();
        group->setVisible(room >= 0);
    }
}

void MailToolbar::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fit();
}

void MailToolbar::update()
{
    const QList<MessageSummary> rows = m_model.actedOn();
    for (FlatButton* const button : {m_archive, m_delete, m_junk, m_star})
        button->setEnabled(!rows.isEmpty());
    for (FlatButton* const button : {m_reply, m_replyAll, m_forward})
        button->setEnabled(rows.size() == 1);
    m_newMessage->setEnabled(!m_model.accounts().isEmpty());
    const bool isStarred = !rows.isEmpty() && std::ranges::all_of(rows, &MessageSummary::isStarred);
    m_star->setSymbol(isStarred ? Symbol::starFill : Symbol::star);
    const std::optional<Account> account = m_model.selectedAccount();
    const bool isGoogle = account && account->provider == ProviderKind::google;
    m_junk->setHelp(isGoogle ? tr("Report Spam") : tr("Mark as Junk"), QKeySequence(u"Ctrl+Shift+J"_s));
}

void MailToolbar::focusInEvent(QFocusEvent* event)
{
    m_getMail->setFocus(event->reason());
}

void MailToolbar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), Style::shared().colors().hairline);
}

} // namespace Larkhaven
