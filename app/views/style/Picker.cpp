#include "views/style/Picker.h"

#include "views/style/Style.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <QPainter>

#include <algorithm>

namespace Larkhaven {

namespace {

constexpr int textPadding = 9;
constexpr int bareMargin = 2; ///< as line edits without a frame have it

int arrowSize()
{
    return Style::shared().scaled(12.0 / Style::standardTextSize);
}

/// On Linux Qt gives a box the name of its choice, whatever it is called.
class AccessiblePicker final : public QAccessibleWidget {
public:
    explicit AccessiblePicker(Picker* picker)
        : QAccessibleWidget(picker, QAccessible::ComboBox)
    {}

    QString text(QAccessible::Text kind) const override
    {
        const bool isNamed = !picker().accessibleName().isEmpty();
        if (kind == QAccessible::Value || (kind == QAccessible::Name && !isNamed))
            return picker().currentText();
        return QAccessibleWidget::text(kind);
    }
    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.expandable = true;
        state.expanded = picker().view()->isVisible();
        state.collapsed = !state.expanded;
        return state;
    }
    QStringList actionNames() const override { return {showMenuAction()}; }
    void doAction(const QString& name) override
    {
        if (name == showMenuAction())
            picker().showPopup();
    }

private:
    Picker& picker() const { return *static_cast<Picker*>(widget()); }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object)
{
    auto* const picker = qobject_cast<Picker*>(object);
    return picker ? new AccessiblePicker(picker) : nullptr;
}

} // namespace

Picker::Picker(Frame frame, QWidget* parent)
    : FocusedWheel(parent)
    , m_frame(frame)
{
    static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    Q_UNUSED(isInstalled)
}

QSize Picker::sizeHint() const
{
    int width = 0;
    for (int index = 0; index < count(); ++index)
        width = std::max(width, fontMetrics().horizontalAdvance(itemText(index)));
    // Advances are rounded, and a text that is longer by a fraction would be cut.
    return {width + 1 + 3 * textPadding + arrowSize(), fontMetrics().height() + 2 * Style::grid + 2};
}

QSize Picker::minimumSizeHint() const
{
    constexpr double narrowest = 8;
    const QSize wanted = sizeHint();
    return {std::min(wanted.width(), Style::shared().scaled(narrowest)), wanted.height()};
}

void Picker::paintEvent(QPaintEvent*)
{
    const Style::Colors& colors = Style::shared().colors();
    const bool isFramed = m_frame == Frame::field;
    const bool isLit = hasFocus() && isEnabled();
    const int arrow = isFramed ? arrowSize() : Style::shared().scaled(1);
    const int margin = isFramed ? textPadding : bareMargin;
    const int room = width() - margin - arrow - (isFramed ? 2 * textPadding : Style::grid);
    const QString text = fontMetrics().elidedText(currentText(), Qt::ElideMiddle, room);
    QPainter painter(this);
    if (isFramed) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(isLit ? QPen(colors.accent, 2) : QPen(colors.hairline));
        painter.setBrush(colors.surface);
        const double edge = isLit ? 1 : 0.5;
        painter.drawRoundedRect(QRectF(rect()).adjusted(edge, edge, -edge, -edge), Style::radius,
                                Style::radius);
    }
    painter.setPen(!isEnabled() ? colors.secondary : isLit && !isFramed ? colors.accent : colors.text);
    const auto placed = [this](const QRect& place) {
        return QStyle::visualRect(layoutDirection(), rect(), place);
    };
    const Qt::Alignment side = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) | Qt::AlignAbsolute;
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    painter.drawText(placed({margin, 0, room, height()}),
                     static_cast<int>(side | Qt::AlignVCenter) | Qt::TextSingleLine, text);
    const int behindText = margin + fontMetrics().horizontalAdvance(text) + Style::grid;
    const QPoint place(isFramed ? width() - textPadding - arrow : behindText, (height() - arrow) / 2);
    painter.drawPixmap(
        placed({place, QSize(arrow, arrow)}),
        Style::shared().pixmap(Symbol::chevronDown, arrow, colors.secondary, devicePixelRatioF()));
}

} // namespace Larkhaven
