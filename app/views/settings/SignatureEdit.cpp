#include "views/settings/SignatureEdit.h"

#include "views/style/Roles.h"

#include <QMimeData>
#include <QScopedValueRollback>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SignatureEdit::SignatureEdit(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setRole(*this, Role::field);
    setTabChangesFocus(true);
    connect(document(), &QTextDocument::contentsChange, this,
            [this](int position, int, int added) { m_changeEnd = position + added; });
    connect(this, &QPlainTextEdit::textChanged, this, &SignatureEdit::followChange);
}

void SignatureEdit::setSignature(const QString& text)
{
    if (text.first(std::min(text.size(), longest)) == toPlainText())
        return;
    const QScopedValueRollback showing(m_isShowing, true);
    setPlainText(text.first(std::min(text.size(), longest)));
}

void SignatureEdit::insertFromMimeData(const QMimeData* source)
{
    // A text that is laid out first and cut then would take its time.
    const QTextCursor cursor = textCursor();
    const qsizetype left =
        longest - (document()->characterCount() - 1) + (cursor.selectionEnd() - cursor.selectionStart());
    const QString text = source->text();
    insertPlainText(text.first(std::clamp(left, qsizetype{0}, text.size())));
    ensureCursorVisible();
}

void SignatureEdit::followChange()
{
    if (m_isShowing)
        return;
    const qsizetype surplus = document()->characterCount() - 1 - longest;
    if (surplus > 0) {
        QTextCursor cut(document());
        const int end = std::min(m_changeEnd, document()->characterCount() - 1);
        cut.setPosition(end);
        cut.setPosition(std::max(0, end - static_cast<int>(surplus)), QTextCursor::KeepAnchor);
        cut.removeSelectedText();
        return; // which is a change as well
    }
    Q_EMIT edited(toPlainText());
}

} // namespace Larkhaven
