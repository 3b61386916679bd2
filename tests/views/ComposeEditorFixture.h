#pragma once

#include "support/WaitUntil.h"
#include "views/compose/ComposeEditor.h"
#include "views/compose/ComposeEditorController.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>

#include <gtest/gtest.h>

namespace Larkhaven {

class ComposeEditorTest : public testing::Test {
protected:
    void open(const QString& text, bool richText = true, const std::optional<QString>& html = std::nullopt)
    {
        editor = std::make_unique<ComposeEditor>(text, html, richText, controller);
        editor->resize(400, 300);
        editor->show();
        view = &editor->textView();
    }

    void select(int start, int end)
    {
        QTextCursor cursor = view->textCursor();
        cursor.setPosition(start);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        view->setTextCursor(cursor);
    }

    QString body() const
    {
        QString html = controller.html().value_or(QString());
        return html.section(QStringLiteral("<body>"), 1)
            .section(QStringLiteral("</body>"), 0, 0)
            .remove(u'\n');
    }

    /// Runs a command, and expects it to be one step that undoing takes back.
    void expectOneStep(const std::function<void()>& command, const QString& expected)
    {
        const QString before = body();
        const QTextCursor selection = view->textCursor();
        const int start = selection.selectionStart();
        const int end = selection.selectionEnd();
        const int steps = view->document()->availableUndoSteps();
        command();
        EXPECT_EQ(body(), expected);
        view->undo();
        EXPECT_EQ(body(), before);
        EXPECT_LE(view->document()->availableUndoSteps(), steps);
        view->redo();
        EXPECT_EQ(body(), expected);
        select(start, end);
    }

    void paste(const QString& html, const QString& text = {})
    {
        auto* const data = new QMimeData;
        if (!html.isEmpty())
            data->setHtml(html);
        if (!text.isEmpty())
            data->setText(text);
        QApplication::clipboard()->setMimeData(data);
        view->paste();
    }

    ComposeEditorController controller;
    std::unique_ptr<ComposeEditor> editor;
    ComposeTextView* view = nullptr;
};

} // namespace Larkhaven
