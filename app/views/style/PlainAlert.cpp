#include "views/style/PlainAlert.h"

#include "platform/Wakeup.h"
#include "views/style/AlertText.h"
#include "views/style/DisplayText.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// A message box whose texts are as wide as ours are. Qt's own takes its width from the screen, and breaks
/// hosts and URLs; its label of the text stays as what it says to others, and isn't shown.
class Alert final : public QMessageBox {
public:
    explicit Alert(QWidget* parent)
        : QMessageBox(parent)
        , m_text(new AlertText(this))
    {
        m_text->hide();
        Style::shared().follow(this, [this] {
            showSymbol();
            // A new sheet lays the buttons out anew, and may leave the keyboard on one that isn't safe.
            if (QPushButton* const safe = defaultButton())
                safe->setFocus();
        });
    }

    void setSymbol(Symbol symbol)
    {
        m_symbol = symbol;
        showSymbol();
    }
    void setIcon(const QIcon& icon)
    {
        m_icon = icon;
        showSymbol();
    }
    void setLines(const QString& text, const QStringList& hosts)
    {
        setInformativeText(text);
        m_text->setLines(text, hosts);
        m_text->setVisible(!text.isEmpty());
        place();
        fit();
    }

protected:
    bool event(QEvent* event) override
    {
        // Whatever Qt's box does to its size, it does at one of these.
        const bool isLayout = event->type() == QEvent::LayoutRequest;
        const bool result = isLayout ? true : QMessageBox::event(event);
        if (isLayout || event->type() == QEvent::Show)
            fit();
        return result;
    }

private:
    static constexpr int symbolSize = 24;
    static constexpr int iconSize = 64;

    QLabel* label(QLatin1StringView name) const { return findChild<QLabel*>(name); }

    void showSymbol()
    {
        const Style& style = Style::shared();
        const int side = style.scaled(static_cast<double>(symbolSize) / Style::standardTextSize);
        const bool warns = m_symbol == Symbol::warning;
        const QColor& color = warns ? style.colors().warningText : style.colors().accent;
        setIconPixmap(m_icon.isNull() ? style.pixmap(m_symbol, side, color, devicePixelRatioF())
                                      : m_icon.pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
        place();
        fit();
    }

    /// Puts our text where Qt's own stands, each time that the box has laid itself out anew.
    void place()
    {
        QLabel* const title = label("qt_msgbox_label"_L1);
        auto* const grid = qobject_cast<QGridLayout*>(layout());
        if (!title || !grid)
            return;
        if (QLabel* const own = label("qt_msgbox_informativelabel"_L1)) {
            own->setTextFormat(Qt::PlainText);
            own->hide();
        }
        int row = 0;
        int column = 0;
        int rows = 0;
        int columns = 0;
        grid->getItemPosition(grid->indexOf(title), &row, &column, &rows, &columns);
        grid->addWidget(m_text, row + 1, column, Qt::AlignTop);
        constexpr int margin = Style::largePadding;
        grid->setContentsMargins(margin, margin, margin, margin);
        grid->setVerticalSpacing(Style::smallPadding);
    }

    void fit()
    {
        QLabel* const title = label("qt_msgbox_label"_L1);
        if (!title || !layout() || !isVisible())
            return;
        const int width = m_text->sizeHint().width();
        title->setWordWrap(true);
        title->setFixedSize(width, title->heightForWidth(width));
        layout()->activate();
        setFixedSize(layout()->totalMinimumSize());
        // What this has changed asks for no other layout.
        QCoreApplication::removePostedEvents(this, QEvent::LayoutRequest);
    }

    Symbol m_symbol = Symbol::warning;
    QIcon m_icon; ///< in place of the symbol, if it is there
    AlertText* m_text;
};

} // namespace

QMessageBox* makePlainAlert(const QString& title, const QString& text, QMessageBox::StandardButton button,
                            QWidget* parent, const QStringList& hosts)
{
    auto* const alert = new Alert(parent);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setTextFormat(Qt::PlainText);
    alert->setText(DisplayText::bounded(title));
    alert->setStandardButtons(button);
    setPlainText(*alert, text, hosts);
    return alert;
}

QPushButton* addDestructiveButton(QMessageBox& alert, const QString& text, QMessageBox::ButtonRole role)
{
    auto* const button = new QPushButton(text);
    setRole(*button, Role::danger);
    alert.addButton(button, role);
    return button;
}

Task<qsizetype> answerTo(QMessageBox* alert, QList<QAbstractButton*> buttons, AlertTurn turn)
{
    const auto answered = std::make_shared<Wakeup>();
    const auto answer = std::make_shared<qsizetype>(-1);
    QObject::connect(alert, &QMessageBox::finished, answered.get(),
                     [alert, buttons, answer] { *answer = buttons.indexOf(alert->clickedButton()); });
    // It goes after each answer, and with its window.
    QObject::connect(alert, &QObject::destroyed, answered.get(), [end = answered.get()] { end->notify(); });
    if (turn == AlertTurn::now)
        alert->open();
    else
        openWhenActive(*alert);
    co_await answered->wait(std::chrono::milliseconds(-1));
    const qsizetype place = *answer;
    co_return place;
}

void setAlertIcon(QMessageBox& alert, const QIcon& icon)
{
    if (auto* const own = dynamic_cast<Alert*>(&alert))
        own->setIcon(icon);
}

void setAlertSymbol(QMessageBox& alert, Symbol symbol)
{
    if (auto* const own = dynamic_cast<Alert*>(&alert))
        own->setSymbol(symbol);
}

void setPlainText(QMessageBox& alert, const QString& text, const QStringList& hosts)
{
    if (auto* const own = dynamic_cast<Alert*>(&alert))
        own->setLines(DisplayText::lines(text), hosts);
}

} // namespace Larkhaven
