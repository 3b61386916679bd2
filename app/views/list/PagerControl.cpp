#include "views/list/PagerControl.h"

#include "views/style/FlatButton.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QScopeGuard>

#include <functional>

using namespace Qt::StringLiterals;

namespace Larkhaven {

PagerControl::PagerControl(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_text(new QLabel)
    , m_jump(new FlatButton(Symbol::chevronDown, tr("Jump to the newest or oldest messages")))
    , m_back(new FlatButton(Symbol::back, tr("Newer"), QKeySequence(u"Ctrl+Alt+["_s)))
    , m_forward(new FlatButton(Symbol::forward, tr("Older"), QKeySequence(u"Ctrl+Alt+]"_s)))
{
    setObjectName("pager"_L1);
    m_text->setObjectName("pagerText"_L1);
    setRole(*m_text, Role::caption);
    m_back->setObjectName("pagerBack"_L1);
    m_forward->setObjectName("pagerForward"_L1);
    m_jump->setObjectName("pagerJump"_L1);

    auto* const menu = new QMenu(m_jump);
    menu->addAction(tr("Newest"), this, [this] { m_model.start(go(&AppModel::firstPage)); });
    menu->addAction(tr("Oldest"), this, [this] { m_model.start(go(&AppModel::lastPage)); });
    m_jump->setMenu(menu);
    m_jump->setPopupMode(QToolButton::InstantPopup);
    connect(m_back, &QToolButton::clicked, this, [this] { m_model.start(go(&AppModel::previousPage)); });
    connect(m_forward, &QToolButton::clicked, this, [this] { m_model.start(go(&AppModel::nextPage)); });

    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::smallPadding, Style::grid, Style::smallPadding, Style::grid);
    layout->setSpacing(Style::grid);
    layout->addStretch();
    layout->addWidget(m_text);
    layout->addWidget(m_jump);
    layout->addWidget(m_back);
    layout->addWidget(m_forward);
    layout->addStretch();

    connect(&model, &AppModel::messagesChanged, this, &PagerControl::follow);
    connect(&model, &AppModel::pagingChanged, this, &PagerControl::follow);
    connect(&model, &AppModel::isLoadingChanged, this, &PagerControl::follow);
    follow();
}

Task<> PagerControl::go(Task<> (AppModel::*pages)())
{
    const QPointer<PagerControl> self(this);
    const auto ending = qScopeGuard([self] {
        if (self)
            self->m_isGoing = false;
    });
    m_isGoing = true;
    co_await std::invoke(pages, m_model);
}

void PagerControl::follow()
{
    keepFocus();
    const bool isIdle = !m_model.isLoading() && !m_model.messages().isEmpty();
    m_text->setText(m_model.pagerText());
    m_jump->setEnabled(isIdle);
    m_back->setEnabled(isIdle && m_model.pageIndex() > 0);
    m_forward->setEnabled(isIdle && m_model.hasNextPage());
    if (isIdle)
        returnFocus();
    update();
}

// A button that is turned off under the keyboard would hand it to whatever comes next in the window.

void PagerControl::keepFocus()
{
    QWidget* const focused = QApplication::focusWidget();
    if (focused != m_jump && focused != m_back && focused != m_forward)
        return;
    m_focused = focused;
    setFocus();
}

void PagerControl::returnFocus()
{
    if (!hasFocus() || !m_focused)
        return;
    // At the end of the pages the other direction is left.
    const QWidget* const own = m_focused;
    for (QWidget* const button : {m_focused.data(), static_cast<QWidget*>(m_back),
                                  static_cast<QWidget*>(m_forward), static_cast<QWidget*>(m_jump)}) {
        if (button->isEnabled() && (button == own || m_isGoing)) {
            button->setFocus(Qt::TabFocusReason);
            return;
        }
    }
}

void PagerControl::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    if (!hasFocus() || !m_focused)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Style::shared().colors().accent, Style::ring));
    painter.drawRoundedRect(QRectF(m_focused->geometry()).adjusted(1, 1, -1, -1), Style::radius,
                            Style::radius);
}

} // namespace Larkhaven
