#include "views/compose/ComposeEditor.h"

#include "views/compose/ComposeEditorController.h"
#include "views/compose/ComposeTextView.h"

#include <QVBoxLayout>

namespace Larkhaven {

ComposeEditor::ComposeEditor(const QString& initialText, const std::optional<QString>& initialHTML,
                             bool richText, ComposeEditorController& controller, QWidget* parent)
    : QWidget(parent)
    , m_view(new ComposeTextView)
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    setFocusProxy(m_view);
    controller.attach(*m_view, initialText, initialHTML, richText);
}

} // namespace Larkhaven
