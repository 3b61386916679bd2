#include "views/compose/ComposeWindow.h"

#include "views/style/DisplayText.h"
#include "views/style/WindowPlace.h"

#include <QCloseEvent>
#include <QShortcut>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ComposeWindow::ComposeWindow(AppModel& model, const ComposeDraft& draft, bool isUnsaved,
                             ComposeView::Desktop desktop, ContactsService& contacts,
                             ComposeView::Hooks hooks, QWidget* parent)
    : QMainWindow(parent)
    , m_model(model)
    , m_closeState(std::make_shared<ComposeCloseState>())
{
    setObjectName("composeWindow"_L1);
    setAttribute(Qt::WA_DeleteOnClose);
    m_closeState->window = this;
    m_view = new ComposeView(model, draft, isUnsaved, m_closeState, std::move(desktop), contacts,
                             std::move(hooks));
    setCentralWidget(m_view);
    const auto read = [&model] { return model.defaults().text(DefaultsKey::composeWindowSize); };
    const auto write = [&model](const QString& size) {
        model.defaults().set(DefaultsKey::composeWindowSize, size);
    };
    new WindowPlace(*this, defaultSize, smallestSize, {read, write});
    new WindowCloseGuard(
        m_closeState, [this](QWidget&) { return m_view->shouldClose(); }, this);
    const auto followTitle = [this] { setWindowTitle(DisplayText::bounded(m_view->title())); };
    connect(m_view, &ComposeView::titleChanged, this, followTitle);
    followTitle();
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(QKeySequence::Quit, this), &QShortcut::activated, this,
            &ComposeWindow::quitRequested);
}

void ComposeWindow::closeEvent(QCloseEvent* event)
{
    QMainWindow::closeEvent(event);
    m_view->noteClosed();
    // What is on its way is kept until it has arrived.
    if (!m_view->isSending() || m_closeState->finished)
        m_model.closeCompose(m_view->draftID());
    Q_EMIT closed();
}

} // namespace Larkhaven
