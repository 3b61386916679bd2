#include "views/reader/SourceWindows.h"

#include "domain/MailError.h"
#include "platform/Tasks.h"
#include "views/reader/SourceText.h"
#include "views/style/DisplayText.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QHash>
#include <QPlainTextEdit>
#include <QPointer>
#include <QShortcut>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QWidget* makeWindow(const QString& subject, const QString& source)
{
    auto* const window = new QWidget;
    window->setObjectName("sourceWindow"_L1);
    window->setAttribute(Qt::WA_DeleteOnClose);
    const QString title = subject.isEmpty() ? SourceWindows::tr("(no subject)") : subject;
    window->setWindowTitle(DisplayText::bounded(SourceWindows::tr("Source of “%1”").arg(title)));
    window->resize(SourceWindows::defaultSize);
    auto* const text = new QPlainTextEdit;
    text->setObjectName("source"_L1);
    text->setAccessibleName(SourceWindows::tr("Source"));
    text->setReadOnly(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    text->setUndoRedoEnabled(false);
    text->setFrameShape(QFrame::NoFrame);
    text->document()->setDocumentMargin(Style::padding);
    setRole(*text, Role::code);
    text->setPlainText(source);
    auto* const layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(text);
    QObject::connect(new QShortcut(QKeySequence::Close, window), &QShortcut::activated, window,
                     &QWidget::close);
    QObject::connect(new QShortcut(QKeySequence::Cancel, window), &QShortcut::activated, window,
                     &QWidget::close);
    return window;
}

} // namespace

SourceWindows::SourceWindows(AppModel& model, QObject* parent)
    : QObject(parent)
    , m_model(model)
{
    connect(&m_model, &AppModel::messagesForgotten, this, &SourceWindows::closeAll);
}

SourceWindows::~SourceWindows()
{
    qDeleteAll(std::exchange(m_windows, {}));
}

void SourceWindows::add(const Key& key, QWidget* window)
{
    m_windows.insert(key, window);
    connect(window, &QObject::destroyed, this, [this, key] { m_windows.remove(key); });
}

void SourceWindows::closeAll(const QUuid& accountID)
{
    const QHash<Key, QWidget*> windows = m_windows;
    for (const auto& [key, window] : windows.asKeyValueRange()) {
        if (key.first == accountID)
            window->close();
    }
}

void SourceWindows::open(const MessageSummary& row)
{
    m_model.start(show(row), row.accountID);
}

Task<> SourceWindows::show(MessageSummary row)
{
    const QPointer<SourceWindows> self(this);
    if (!window(row.accountID, row.id)) {
        const std::shared_ptr<MailProvider> source = m_model.provider(row.accountID);
        if (!source)
            throw MailError::notSignedIn();
        const QByteArray raw = co_await source->fetchRaw(row.id);
        const auto work = [raw] { return SourceText::shown(raw); };
        const QString text = co_await runOnWorker(work);
        if (!self)
            co_return;
        // What servers of before gave belongs to no row any more.
        if (m_model.provider(row.accountID) != source)
            throw MailError::cancelled();
        // It may have been asked for twice.
        if (!window(row.accountID, row.id))
            add({row.accountID, row.id}, makeWindow(row.subject, text));
    }
    QWidget* const shown = window(row.accountID, row.id);
    shown->show();
    shown->raise();
    shown->activateWindow();
}

} // namespace Larkhaven
