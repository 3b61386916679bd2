#include "views/main/SearchField.h"

#include "views/style/Style.h"

#include <QAction>
#include <QKeyEvent>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SearchField::SearchField(AppModel& model, QWidget* parent)
    : QLineEdit(parent)
    , m_model(model)
    , m_magnifier(addAction(Symbols::icon(Symbol::magnifier, Tone::secondary), LeadingPosition))
    , m_clear(addAction(Symbols::icon(Symbol::clear, Tone::secondary), TrailingPosition))
{
    setObjectName("searchField"_L1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setPlaceholderText(tr("Search"));
    setAccessibleName(tr("Search"));
    // Its buttons have their names for assistive technology from these.
    m_magnifier->setText(tr("Start Searching"));
    m_clear->setText(tr("Clear"));
    m_clear->setToolTip(tr("Clear"));
    connect(m_magnifier, &QAction::triggered, this, [this] { m_model.start(m_model.applySearch()); });
    connect(m_clear, &QAction::triggered, this, &QLineEdit::clear);
    connect(this, &QLineEdit::textChanged, this, &SearchField::takeText);
    connect(this, &QLineEdit::returnPressed, this, [this] { m_model.start(m_model.applySearch()); });
    connect(&model, &AppModel::searchTextChanged, this, [this] {
        if (text() != m_model.searchText()) {
            const QSignalBlocker blocker(this);
            setText(m_model.searchText());
            m_clear->setVisible(!text().isEmpty());
        }
    });
    setText(model.searchText());
    m_clear->setVisible(!text().isEmpty());
    Style::shared().follow(this, [this] { measure(); });
}

void SearchField::takeText()
{
    const bool becameEmpty = text().isEmpty() && !m_model.searchText().isEmpty();
    m_model.setSearchText(text());
    m_clear->setVisible(!text().isEmpty());
    if (becameEmpty)
        m_model.start(m_model.applySearch());
}

bool SearchField::event(QEvent* event)
{
    // These delete a word here, and a message everywhere else. Qt leaves them to shortcuts.
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* const key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::DeleteStartOfWord) || key->matches(QKeySequence::DeleteEndOfWord)) {
            event->accept();
            return true;
        }
    }
    return QLineEdit::event(event);
}

int SearchField::idealWidth()
{
    return Style::shared().scaled(260.0 / Style::standardTextSize);
}

QSize SearchField::sizeHint() const
{
    return {idealWidth(), QLineEdit::sizeHint().height()};
}

void SearchField::measure()
{
    const Style& style = Style::shared();
    setMinimumWidth(style.scaled(8));
    setMaximumWidth(idealWidth());
    updateGeometry();
    setFixedHeight(style.scaled(2.3));
}

} // namespace Larkhaven
