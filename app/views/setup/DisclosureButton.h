#pragma once

#include <QToolButton>

namespace Larkhaven {

/// A heading that shows and hides what stands below it, by press, Space or Return. Assistive technology is
/// told of a button that is expanded or not.
class DisclosureButton : public QToolButton {
    Q_OBJECT

public:
    explicit DisclosureButton(const QString& text, QWidget* parent = nullptr);

    bool isExpanded() const { return m_isExpanded; }
    void setExpanded(bool isExpanded);

Q_SIGNALS:
    void expandedChanged(bool isExpanded);

private:
    void measure();
    void showArrow();

    bool m_isExpanded = false;
};

} // namespace Larkhaven
