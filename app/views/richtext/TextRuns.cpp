#include "views/richtext/TextRuns.h"

#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>

namespace Larkhaven {

QList<TextRun> textRuns(const QTextCursor& selection)
{
    QList<TextRun> runs;
    const int start = selection.selectionStart();
    const int end = selection.selectionEnd();
    for (QTextBlock block = selection.document()->findBlock(start); block.isValid() && block.position() < end;
         block = block.next()) {
        for (auto place = block.begin(); !place.atEnd(); ++place) {
            const QTextFragment fragment = place.fragment();
            const int first = std::max(start, fragment.position());
            const int last = std::min(end, fragment.position() + fragment.length());
            if (first < last)
                runs.append({first, last, fragment.charFormat()});
        }
    }
    return runs;
}

QTextCursor selectedText(QTextDocument* document, int start, int end)
{
    QTextCursor cursor(document);
    cursor.setPosition(start);
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    return cursor;
}

} // namespace Larkhaven
