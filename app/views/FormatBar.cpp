#include "views/FormatBar.h"

#include "views/ComposeEditorController.h"
#include "views/FlatButton.h"
#include "views/FlowLayout.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace Larkhaven {

FormatBar::FormatBar(ComposeEditorController& editor, QWidget* parent)
    : QWidget(parent)
{
    setObjectName("formatBar"_L1);
    auto* const layout = new FlowLayout(Style::grid / 2, this);
    layout->setContentsMargins(Style::smallPadding, Style::grid, Style::smallPadding, Style::grid);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);

    ComposeEditorController* const e = &editor;
    add("Fonts", tr("Show Fonts (%1)").arg(u"Ctrl+T"_s), Symbol::textFormat, [e] { e->showFonts(); });
    add("Smaller", tr("Smaller"), Symbol::textSmaller, [e] { e->makeSmaller(); });
    add("Default Size", tr("Default Size (100%)"), Symbol::textSize, [e] { e->makeDefaultSize(); });
    add("Bigger", tr("Bigger"), Symbol::textLarger, [e] { e->makeBigger(); });
    add("Colors", tr("Show Colors"), Symbol::paintPalette, [e] { e->showColors(); });
    addGap();
    addToggle("Bold", tr("Bold (%1)").arg(u"Ctrl+B"_s), Symbol::bold, [e] { e->toggleBold(); },
              [e] { return e->isBold(); });
    addToggle("Italic", tr("Italic (%1)").arg(u"Ctrl+I"_s), Symbol::italic, [e] { e->toggleItalic(); },
              [e] { return e->isItalic(); });
    addToggle("Underline", tr("Underline (%1)").arg(u"Ctrl+U"_s), Symbol::underline,
              [e] { e->toggleUnderline(); }, [e] { return e->isUnderlined(); });
    addToggle("Strikethrough", tr("Strikethrough"), Symbol::strikethrough, [e] { e->toggleStrikethrough(); },
              [e] { return e->isStruckOut(); });
    addGap();
    addToggle("Align Left", tr("Align Left"), Symbol::alignLeft, [e] { e->align(Qt::AlignLeft); },
              [e] { return e->alignment() == Qt::AlignLeft; });
    addToggle("Center", tr("Center"), Symbol::alignCenter, [e] { e->align(Qt::AlignHCenter); },
              [e] { return e->alignment() == Qt::AlignHCenter; });
    addToggle("Align Right", tr("Align Right"), Symbol::alignRight, [e] { e->align(Qt::AlignRight); },
              [e] { return e->alignment() == Qt::AlignRight; });
    addGap();
    addToggle("Bulleted List", tr("Bulleted List"), Symbol::listBullet,
              [e] { e->toggleList(QTextListFormat::ListDisc); },
              [e] { return e->isList(QTextListFormat::ListDisc); });
    addToggle("Numbered List", tr("Numbered List"), Symbol::listNumber,
              [e] { e->toggleList(QTextListFormat::ListDecimal); },
              [e] { return e->isList(QTextListFormat::ListDecimal); });
    connect(&editor, &ComposeEditorController::selectionChanged, this, &FormatBar::updateToggles);
    connect(&Style::shared(), &Style::changed, this, &QWidget::updateGeometry);
    updateToggles();
}

FlatButton& FormatBar::add(const char* label, const QString& help, Symbol symbol,
                           const std::function<void()>& act)
{
    auto* const button = new FlatButton(symbol, help);
    button->setObjectName(QString::fromLatin1(label));
    button->setAccessibleName(tr(label));
    connect(button, &QToolButton::clicked, this, act);
    layout()->addWidget(button);
    return *button;
}

void FormatBar::addToggle(const char* label, const QString& help, Symbol symbol,
                          const std::function<void()>& act, const std::function<bool()>& isOn)
{
    FlatButton& button = add(label, help, symbol, act);
    button.setCheckable(true);
    m_toggles.append({&button, isOn});
}

void FormatBar::addGap()
{
    auto* const gap = new QWidget;
    gap->setFixedSize(Style::smallPadding, 1);
    layout()->addWidget(gap);
}

void FormatBar::updateToggles()
{
    // The commands belong to the text: a click only asks for one, and this tells what came of it.
    for (const Toggle& toggle : m_toggles)
        toggle.button->setChecked(toggle.isOn());
}

void FormatBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), Style::shared().colors().hairline);
}

} // namespace Larkhaven
