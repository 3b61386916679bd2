#pragma once

#include <QList>
#include <QTextCharFormat>
#include <QTextCursor>

namespace Larkhaven {

/// A run of text of one format, by its first position and the one behind its last.
struct TextRun {
    int start;
    int end;
    QTextCharFormat format;
};

/// The runs of a selection, in their order.
QList<TextRun> textRuns(const QTextCursor& selection);

/// A cursor that selects what lies between the positions.
QTextCursor selectedText(QTextDocument* document, int start, int end);

} // namespace Larkhaven
