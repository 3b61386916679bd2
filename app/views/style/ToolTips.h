#pragma once

#include <QString>

class QHelpEvent;
class QWidget;

namespace Larkhaven::ToolTips {

/// What a tooltip shows for a plain text: the text as it stands, no part of it formatting. A chord in
/// parentheses at its end is shown in secondary behind it.
QString shown(const QString& text);
/// Shows the tooltip of the widget, in the colours of the moment. For `QWidget::event`.
void show(QWidget& widget, const QHelpEvent& event);

} // namespace Larkhaven::ToolTips
