#include "views/style/AccessibleParts.h"

#include "views/style/SymbolLabel.h"

#include <QAccessibleWidget>
#include <QCoreApplication>
#include <QLabel>
#include <QScrollBar>
#include <QSplitter>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(AccessibleParts)
};

class AccessibleScrollBar final : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit AccessibleScrollBar(QScrollBar* bar)
        : QAccessibleWidget(bar, QAccessible::ScrollBar)
    {}

    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Name || !bar().accessibleName().isEmpty())
            return QAccessibleWidget::text(kind);
        return bar().orientation() == Qt::Vertical ? Texts::tr("Vertical Scroll Bar")
                                                   : Texts::tr("Horizontal Scroll Bar");
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }
    QVariant currentValue() const override { return bar().value(); }
    void setCurrentValue(const QVariant& value) override { bar().setValue(value.toInt()); }
    QVariant minimumValue() const override { return bar().minimum(); }
    QVariant maximumValue() const override { return bar().maximum(); }
    QVariant minimumStepSize() const override { return bar().singleStep(); }

private:
    QScrollBar& bar() const { return *static_cast<QScrollBar*>(widget()); }
};

/// Has nothing to say, and isn't there for those who listen.
class Decoration final : public QAccessibleWidget {
public:
    explicit Decoration(QWidget* widget)
        : QAccessibleWidget(widget, QAccessible::Graphic)
    {}

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.invisible = widget()->accessibleName().isEmpty();
        return state;
    }
};

QAccessibleInterface* makePart(const QString& className, QObject* object)
{
    // Asked last, for a widget that is nothing else to Qt: a window is more than an area.
    if (className == "QWidget"_L1) {
        auto* const widget = static_cast<QWidget*>(object);
        const Qt::WindowType type = widget->windowType();
        return type == Qt::Window   ? new QAccessibleWidget(widget, QAccessible::Window)
               : type == Qt::Dialog ? new QAccessibleWidget(widget, QAccessible::Dialog)
                                    : nullptr;
    }
    // A frame is a window where it is read aloud.
    if (className == "QFrame"_L1)
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Grouping);
    if (auto* const bar = qobject_cast<QScrollBar*>(object))
        return new AccessibleScrollBar(bar);
    if (auto* const handle = qobject_cast<QSplitterHandle*>(object))
        return new Decoration(handle);
    auto* const label = qobject_cast<QLabel*>(object);
    const bool isPicture = qobject_cast<SymbolLabel*>(object) ||
                           (label && label->text().isEmpty() && !label->pixmap(Qt::ReturnByValue).isNull());
    return isPicture && label->accessibleName().isEmpty() ? new Decoration(label) : nullptr;
}

} // namespace

void installAccessibleParts()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory(makePart);
        return true;
    }();
    Q_UNUSED(isInstalled)
}

} // namespace Larkhaven
