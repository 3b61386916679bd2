#pragma once

#include <QFont>
#include <QString>
#include <QWidget>

#include <optional>

namespace Larkhaven {

class ComposeEditorController;
class ComposeTextView;

/// The text field of the compose window. What it begins with is given once; from then on the controller is
/// asked.
class ComposeEditor : public QWidget {
    Q_OBJECT

public:
    ComposeEditor(const QString& initialText, const std::optional<QString>& initialHTML, bool richText,
                  ComposeEditorController& controller, QWidget* parent = nullptr);

    ComposeTextView& textView() const { return *m_view; }

private:
    ComposeTextView* m_view;
};

} // namespace Larkhaven
