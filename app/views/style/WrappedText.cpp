#include "views/style/WrappedText.h"

#include "views/style/Style.h"

namespace Larkhaven {

WrappedText::WrappedText(const QString& text, double width, QWidget* parent)
    : QLabel(text, parent)
    , m_width(width)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    Style::shared().follow(this, [this] {
        // A label tells the height in its font of before while the style changes.
        constexpr int highest = 100'000;
        const Style& style = Style::shared();
        const QRect room(0, 0, style.scaled(m_width), highest);
        const QRect needed =
            QFontMetrics(style.font(Style::Type::body))
                .boundingRect(room, static_cast<int>(alignment()) | Qt::TextWordWrap, this->text());
        setFixedSize(room.width(), needed.height());
    });
}

} // namespace Larkhaven
