#include "views/compose/ComposeNotices.h"

#include "views/compose/ComposeTextView.h"
#include "views/style/DisplayText.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ComposeNotices::ComposeNotices(const QStringList& notices, QWidget* parent)
    : QLabel(parent)
    , m_notices(notices)
{
    setObjectName("notices"_L1);
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    showNotices();
    if (notices.isEmpty())
        hide();
    setRole(*this, Role::caption);
    // They begin where the text does.
    setContentsMargins(ComposeTextView::horizontalInset, Style::smallPadding,
                       ComposeTextView::horizontalInset, 0);
}

void ComposeNotices::add(const QString& notice)
{
    if (m_notices.contains(notice))
        return;
    // The latest is seen even where there are many.
    m_notices.prepend(notice);
    showNotices();
    show();
}

void ComposeNotices::showNotices()
{
    QStringList lines;
    for (const QString& notice : m_notices.first(std::min(m_notices.size(), mostNotices)))
        lines.append(DisplayText::bounded(notice.simplified(), longestNotice));
    if (const qsizetype rest = m_notices.size() - lines.size(); rest > 0)
        lines.append(tr("And %1 more.").arg(rest));
    setText(lines.join(u'\n'));
}

} // namespace Larkhaven
