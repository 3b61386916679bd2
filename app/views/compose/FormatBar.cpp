#include "views/compose/FormatBar.h"

#include "views/compose/ComposeEditorController.h"
#include "views/style/FlatButton.h"
#include "views/style/FlowLayout.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace Larkhaven {

FormatBar::FormatBar(ComposeEditorController& editor, QWidget* parent)
    : QWidget(parent)
    , m_buttons(new QWidget)
{
    setObjectName("formatBar"_L1);
    new FlowLayout(0, m_buttons);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::grid, Style::grid, Style::grid, Style::grid + 1);
    layout->addWidget(m_buttons);

    ComposeEditorController* const e = &editor;
    add("fonts"_L1, tr("Fonts"), tr("Show Fonts (%1)").arg(u"Ctrl+T"_s), Symbol::textFormat,
        [e] { e->showFonts(); });
    add("smaller"_L1, tr("Smaller"), tr("Smaller"), Symbol::textSmaller, [e] { e->makeSmaller(); });
    add("defaultSize"_L1, tr("Default Size"), tr("Default Size (100%)"), Symbol::textSize,
        [e] { e->makeDefaultSize(); });
    add("bigger"_L1, tr("Bigger"), tr("Bigger"), Symbol::textLarger, [e] { e->makeBigger(); });
    add("colors"_L1, tr("Colors"), tr("Show Colors"), Symbol::paintPalette, [e] { e->showColors(); });
    addGap();
    addToggle(
        "bold"_L1, tr("Bold"), tr("Bold (%1)").arg(u"Ctrl+B"_s), Symbol::bold, [e] { e->toggleBold(); },
        [e] { return e->isBold(); });
    addToggle(
        "italic"_L1, tr("Italic"), tr("Italic (%1)").arg(u"Ctrl+I"_s), Symbol::italic,
        [e] { e->toggleItalic(); }, [e] { return e->isItalic(); });
    addToggle(
        "underline"_L1, tr("Underline"), tr("Underline (%1)").arg(u"Ctrl+U"_s), Symbol::underline,
        [e] { e->toggleUnderline(); }, [e] { return e->isUnderlined(); });
    addToggle(
        "strikethrough"_L1, tr("Strikethrough"), tr("Strikethrough"), Symbol::strikethrough,
        [e] { e->toggleStrikethrough(); }, [e] { return e->isStruckOut(); });
    addGap();
    addToggle(
        "alignLeft"_L1, tr("Align Left"), tr("Align Left"), Symbol::alignLeft,
        [e] { e->align(Qt::AlignLeft); }, [e] { return e->alignment() == Qt::AlignLeft; });
    addToggle(
        "center"_L1, tr("Center"), tr("Center"), Symbol::alignCenter, [e] { e->align(Qt::AlignHCenter); },
        [e] { return e->alignment() == Qt::AlignHCenter; });
    addToggle(
        "alignRight"_L1, tr("Align Right"), tr("Align Right"), Symbol::alignRight,
        [e] { e->align(Qt::AlignRight); }, [e] { return e->alignment() == Qt::AlignRight; });
    addGap();
    addToggle(
        "bulletedList"_L1, tr("Bulleted List"), tr("Bulleted List"), Symbol::listBullet,
        [e] { e->toggleList(QTextListFormat::ListDisc); },
        [e] { return e->isList(QTextListFormat::ListDisc); });
    addToggle(
        "numberedList"_L1, tr("Numbered List"), tr("Numbered List"), Symbol::listNumber,
        [e] { e->toggleList(QTextListFormat::ListDecimal); },
        [e] { return e->isList(QTextListFormat::ListDecimal); });
    connect(&editor, &ComposeEditorController::selectionChanged, this, &FormatBar::updateToggles);
    updateToggles();
    setCurrent(0);
}

FlatButton& FormatBar::add(QLatin1StringView name, const QString& label, const QString& help, Symbol symbol,
                           const std::function<void()>& act)
{
    auto* const button = new FlatButton(symbol, help);
    button->setObjectName(name);
    button->setAccessibleName(label);
    connect(button, &QToolButton::clicked, this, act);
    m_buttons->layout()->addWidget(button);
    m_commands.append(button);
    button->installEventFilter(this);
    return *button;
}

void FormatBar::addToggle(QLatin1StringView name, const QString& label, const QString& help, Symbol symbol,
                          const std::function<void()>& act, const std::function<bool()>& isOn)
{
    FlatButton& button = add(name, label, help, symbol, act);
    button.setCheckable(true);
    m_toggles.append({&button, isOn});
}

void FormatBar::addGap()
{
    auto* const gap = new QWidget;
    gap->setFixedSize(Style::padding, 1);
    m_buttons->layout()->addWidget(gap);
}

void FormatBar::updateToggles()
{
    // The commands belong to the text: a click only asks for one, and this tells what came of it.
    for (const Toggle& toggle : m_toggles)
        toggle.button->setChecked(toggle.isOn());
}

// --- The keyboard

void FormatBar::setCurrent(qsizetype index)
{
    m_current = index;
    for (qsizetype place = 0; place < m_commands.size(); ++place)
        m_commands[place]->setFocusPolicy(place == index ? Qt::TabFocus : Qt::NoFocus);
}

void FormatBar::takeFocus(Qt::FocusReason reason)
{
    m_commands[m_current]->setFocus(reason);
}

bool FormatBar::move(int key)
{
    const qsizetype last = m_commands.size() - 1;
    const int forward = isRightToLeft() ? Qt::Key_Left : Qt::Key_Right;
    const int backward = isRightToLeft() ? Qt::Key_Right : Qt::Key_Left;
    if (key == forward)
        setCurrent(m_current == last ? 0 : m_current + 1);
    else if (key == backward)
        setCurrent(m_current == 0 ? last : m_current - 1);
    else if (key == Qt::Key_Home)
        setCurrent(0);
    else if (key == Qt::Key_End)
        setCurrent(last);
    else
        return false;
    takeFocus(Qt::OtherFocusReason);
    return true;
}

bool FormatBar::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto* const key = static_cast<QKeyEvent*>(event);
        if ((key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier && move(key->key()))
            return true;
    }
    return QWidget::eventFilter(watched, event);
}

void FormatBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), Style::shared().colors().hairline);
}

} // namespace Larkhaven
