#include "views/style/StyleSheet.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven::StyleSheet {

namespace {

/// Names of colours and sizes, each with @ before it, stand for what is filled in. A tooltip adds to its
/// padding what Qt gives every one.
const QString rules = uR"(
        QToolTip { color: @text; background: @surface; border: 1px solid @hairline; padding: 0 3px; }
        QToolButton[flat="true"] { border: 2px solid transparent; border-radius: 6px; background: transparent; color: @text; padding: 0 4px; }
        QToolButton[flat="true"]:hover { background: @hover; }
        QToolButton[flat="true"]:pressed, QToolButton[flat="true"]:checked { background: @selected; }
        QToolButton[flat="true"]:disabled { color: @disabled; }
        QToolButton[flat="true"][small="true"] { padding: 0; }
        QToolButton[flat="true"][primary="true"] { background: @accent; color: @onAccent; padding: 0 10px; }
        QToolButton[flat="true"][primary="true"]:hover { background: @pressed; }
        QToolButton[flat="true"][primary="true"]:disabled { background: @selected; color: @disabled; }
        QToolButton[flat="true"]:focus { border-color: @accent; }
        QToolButton[flat="true"][primary="true"]:focus { border-color: @text; }
        QToolButton[flat="true"]::menu-indicator { image: none; }
        QPushButton { border: 1px solid @hairline; border-radius: 6px; background: @surface; color: @text; padding: 5px 14px; }
        QPushButton:hover { background: @hover; }
        QPushButton:default { background: @accent; color: @onAccent; border-color: @accent; }
        QPushButton:focus { border: 2px solid @accent; padding: 4px 13px; }
        QPushButton:default:focus { border-color: @text; }
        QPushButton[role="quiet"] { border: 1px solid transparent; background: transparent; color: @accent; padding: 1px 8px;
                                    font-size: @captionSize; font-weight: 600; }
        QPushButton[role="quiet"]:hover { background: @hover; }
        QPushButton[role="quiet"]:focus { border: 2px solid @accent; padding: 0 7px; }
        QPushButton[role="danger"] { color: @danger; border-color: @danger; }
        QPushButton:disabled { color: @secondary; border-color: @hairline; background: transparent; }
        QLineEdit { border: 1px solid @hairline; border-radius: 6px; background: @surface; padding: 4px 8px;
                    selection-background-color: @accent; selection-color: @onAccent; }
        QLineEdit:focus { border: 2px solid @accent; padding: 3px 7px; }
        QToolButton[disclosure="true"], QToolButton[disclosure="true"]:checked { background: transparent; padding: 0; }
        QSpinBox, QDoubleSpinBox { border: 1px solid @hairline; border-radius: 6px; background: @surface; color: @text;
                              padding: 4px 8px; selection-background-color: @accent; selection-color: @onAccent; }
        QSpinBox:focus, QDoubleSpinBox:focus { border: 2px solid @accent; padding: 3px 7px; }
        QLabel[role="title"] { font-size: @titleSize; font-weight: 600; }
        QLabel[role="subhead"] { font-size: @subheadSize; font-weight: 600; }
        QLabel[role="strong"] { font-weight: 600; }
        QLabel[role="secondary"] { color: @secondary; }
        QLabel[role="caption"] { color: @secondary; font-size: @captionSize; }
        QLabel[role="danger"] { color: @danger; }
        QLineEdit[role="value"] { border: 1px solid transparent; background: transparent; padding: 4px 0; }
        QLineEdit[role="value"]:focus { border: 2px solid @accent; padding: 3px 0; }
        QLineEdit[role="dangerValue"] { border: 1px solid transparent; background: transparent; padding: 4px 0; color: @danger; }
        QLineEdit[role="dangerValue"]:focus { border: 2px solid @accent; padding: 3px 0; }
        QLineEdit[role="row"], QLineEdit[role="row"]:focus { border: none; background: transparent; padding: 0; }
        QPlainTextEdit[role="field"], QListView[role="field"] { border: 1px solid @hairline; border-radius: 6px;
            background: @surface; color: @text; selection-background-color: @accent; selection-color: @onAccent; }
        QPlainTextEdit[role="field"] { padding: 4px; }
        QPlainTextEdit[role="field"]:focus, QListView[role="field"]:focus { border: 2px solid @accent; }
        QPlainTextEdit[role="field"]:focus { padding: 3px; }
        QTextEdit, QPlainTextEdit { background: @surface; color: @text; selection-background-color: @accent; selection-color: @onAccent; }
        QPlainTextEdit[role="code"] { border: none; font-family: @fixedFamily; font-size: @bodySize; }
        QFrame[role="warning"] { background: @warningBackground; border: 1px solid @warningEdge; border-radius: 10px; }
        QLabel[role="notice"] { background: @warningBackground; color: @warningText; padding: 8px 16px; }
        QFrame[role="warning"] QLabel { color: @warningText; }
        QFrame[role="warning"] QPushButton { background: transparent; color: @warningText; border: 1px solid @warningText; }
        QFrame[role="warning"] QPushButton:hover { background: @warningText; color: @warningBackground; }
        QFrame[role="warning"] QPushButton:focus { border: 2px solid @warningText; padding: 4px 13px; }
        QProgressBar { border: none; border-radius: 2px; background: @selected; }
        QProgressBar::chunk { border-radius: 2px; background: @accent; }
        QRadioButton[segment] { border: 1px solid @edge; background: @surface; color: @text; padding: 4px 12px; spacing: 0; }
        QRadioButton[segment]::indicator { width: 0; height: 0; border: none; background: transparent; image: none; }
        QRadioButton[segment="first"] { border-top-left-radius: 6px; border-bottom-left-radius: 6px; }
        QRadioButton[segment="last"] { border-top-right-radius: 6px; border-bottom-right-radius: 6px; }
        QRadioButton[segment="middle"], QRadioButton[segment="last"] { border-left: none; }
        QRadioButton[segment]:hover { background: @hover; }
        QRadioButton[segment]:checked { background: @accent; color: @onAccent; border-color: @accent; }
        QRadioButton[segment]:disabled { color: @disabled; }
        QRadioButton[segment]:checked:disabled { background: @selected; border-color: @selected; }
        QRadioButton[segment]:focus { border: 2px solid @text; padding: 3px 11px; }
        QTabBar[role="panes"]::tab { background: transparent; color: @secondary; border: none;
            border-bottom: 2px solid transparent; padding: 8px 16px; }
        QTabBar[role="panes"]::tab:hover { background: @hover; }
        QTabBar[role="panes"]::tab:selected { color: @text; border-bottom-color: @accent; }
        QTabBar[role="panes"]::tab:selected:focus { background: @selected; }
        QComboBox QAbstractItemView { background: @surface; color: @text; border: 1px solid @hairline;
                                      selection-background-color: @accent; selection-color: @onAccent; }
        QListView[role="suggestions"] { background: @surface; color: @text; border: 1px solid @hairline; padding: 2px; }
        QMenu { background: @surface; color: @text; border: 1px solid @hairline; padding: 4px; }
        QMenu::item { padding: 5px 24px 5px 12px; border-radius: 4px; }
        QMenu::item:selected { background: @accent; color: @onAccent; }
        QMenu::item:disabled { color: @secondary; }
        QMenu::separator { height: 1px; background: @hairline; margin: 4px 8px; }
        QScrollBar:vertical { background: transparent; width: 8px; margin: 0; }
        QScrollBar:horizontal { background: transparent; height: 8px; margin: 0; }
        QScrollBar::handle { background: @scroll; border-radius: 4px; }
        QScrollBar::handle:vertical { min-height: 32px; }
        QScrollBar::handle:horizontal { min-width: 32px; }
        QScrollBar::handle:hover { background: @secondary; }
        QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
        QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
        QSplitter::handle { background: @hairline; }
        QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }
        QMessageBox #qt_msgbox_label { font-weight: 600; }
        QMenuBar { background: @window; color: @text; }
        QMenuBar::item { background: transparent; padding: 4px 8px; border-radius: 4px; }
        QMenuBar::item:selected { background: @hover; }
    )"_s;

} // namespace

QString text(const StyleColors& colors, const Fonts& fonts)
{
    const QColor faint = StyleColors::disabled(colors.text);
    // Where the ground of a card doesn't tell it apart, a line does.
    const QColor warningEdge =
        colors.warningBackground == colors.window ? colors.warningText : colors.warningBackground;
    // No name stands before another that it begins.
    const std::initializer_list<std::pair<QLatin1StringView, QColor>> named{
        {"@onAccent"_L1, colors.onAccent},
        {"@surface"_L1, colors.surface},
        {"@secondary"_L1, colors.secondary},
        {"@selected"_L1, colors.selected},
        {"@hairline"_L1, colors.hairline},
        {"@window"_L1, colors.window},
        {"@accent"_L1, colors.accent},
        {"@danger"_L1, colors.danger},
        {"@hover"_L1, colors.hover},
        {"@disabled"_L1, faint},
        {"@pressed"_L1, colors.pressedAccent},
        {"@edge"_L1, colors.edge},
        {"@scroll"_L1, colors.scrollBar},
        {"@warningBackground"_L1, colors.warningBackground},
        {"@warningText"_L1, colors.warningText},
        {"@warningEdge"_L1, warningEdge},
        {"@text"_L1, colors.text}};
    const std::initializer_list<std::pair<QLatin1StringView, int>> sizes{{"@captionSize"_L1, fonts.caption},
                                                                         {"@bodySize"_L1, fonts.body},
                                                                         {"@subheadSize"_L1, fonts.subhead},
                                                                         {"@titleSize"_L1, fonts.title}};
    QString sheet = rules;
    for (const auto& [name, color] : named)
        sheet.replace(name, color.name(QColor::HexArgb));
    for (const auto& [name, size] : sizes)
        sheet.replace(name, u"%1px"_s.arg(size));
    return sheet.replace("@fixedFamily"_L1, u"\"%1\""_s.arg(fonts.fixedFamily));
}

QPalette palette(const StyleColors& colors)
{
    QPalette palette;
    palette.setColor(QPalette::Window, colors.window);
    palette.setColor(QPalette::WindowText, colors.text);
    palette.setColor(QPalette::Base, colors.surface);
    palette.setColor(QPalette::AlternateBase, colors.window);
    palette.setColor(QPalette::Text, colors.text);
    palette.setColor(QPalette::Button, colors.window);
    palette.setColor(QPalette::ButtonText, colors.text);
    palette.setColor(QPalette::BrightText, colors.danger);
    palette.setColor(QPalette::Highlight, colors.accent);
    palette.setColor(QPalette::HighlightedText, colors.onAccent);
    palette.setColor(QPalette::Link, colors.accent);
    palette.setColor(QPalette::PlaceholderText, colors.secondary);
    palette.setColor(QPalette::ToolTipBase, colors.surface);
    palette.setColor(QPalette::ToolTipText, colors.text);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, StyleColors::disabled(colors.text));
    return palette;
}

} // namespace Larkhaven::StyleSheet
