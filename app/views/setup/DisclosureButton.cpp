#include "views/setup/DisclosureButton.h"

#include "views/style/Style.h"

#include <QAccessibleWidget>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

class AccessibleDisclosure final : public QAccessibleWidget {
public:
    explicit AccessibleDisclosure(DisclosureButton* button)
        : QAccessibleWidget(button, QAccessible::Button)
    {}

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? button().text() : QAccessibleWidget::text(kind);
    }
    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.expandable = true;
        state.expanded = button().isExpanded();
        state.collapsed = !button().isExpanded();
        return state;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override
    {
        if (name == pressAction())
            button().click();
    }

private:
    DisclosureButton& button() const { return *static_cast<DisclosureButton*>(widget()); }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object)
{
    auto* const button = qobject_cast<DisclosureButton*>(object);
    return button ? new AccessibleDisclosure(button) : nullptr;
}

} // namespace

DisclosureButton::DisclosureButton(const QString& text, QWidget* parent)
    : QToolButton(parent)
{
    static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    Q_UNUSED(isInstalled)
    setText(text);
    setProperty("flat", true);
    setProperty("disclosure", true);
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QToolButton::clicked, this, [this] { setExpanded(!m_isExpanded); });
    Style::shared().follow(this, [this] { measure(); });
    showArrow();
}

void DisclosureButton::setExpanded(bool isExpanded)
{
    if (std::exchange(m_isExpanded, isExpanded) == isExpanded)
        return;
    showArrow();
    QAccessible::State changed;
    changed.expanded = true;
    changed.collapsed = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
    Q_EMIT expandedChanged(isExpanded);
}

void DisclosureButton::measure()
{
    const int icon = Style::shared().scaled(1);
    setIconSize({icon, icon});
}

void DisclosureButton::showArrow()
{
    setIcon(Symbols::icon(m_isExpanded ? Symbol::chevronDown : Symbol::chevronRight, Tone::secondary));
}

} // namespace Larkhaven
