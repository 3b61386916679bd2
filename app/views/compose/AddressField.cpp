#include "views/compose/AddressField.h"

#include "model/DraftGate.h"
#include "views/compose/AddressTokens.h"
#include "views/compose/LineGate.h"
#include "views/compose/SuggestionList.h"
#include "views/style/Style.h"

#include <QKeyEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

AddressField::AddressField(const QString& label, UserDefaults& defaults, ContactsService& contacts,
                           QWidget* parent)
    : AddressField(label, new QLineEdit, defaults, contacts, parent)
{}

AddressField::AddressField(const QString& label, QLineEdit* line, UserDefaults& defaults,
                           ContactsService& contacts, QWidget* parent)
    : ComposeRow(label, line, parent)
    , m_defaults(defaults)
    , m_contacts(contacts)
    , m_line(line)
    , m_gate(new LineGate(DraftGate::mostFieldEffort, line))
{
    line->installEventFilter(this);
    connect(m_gate, &LineGate::refused, this, &AddressField::refused);
    connect(line, &QLineEdit::textChanged, this, [this] {
        m_highlighted = 0;
        refresh();
        Q_EMIT textChanged();
    });
    connect(&contacts, &ContactsService::changed, this, &AddressField::refresh);
}

AddressField::~AddressField()
{
    delete m_list;
}

void AddressField::setText(const QString& text)
{
    m_gate->load(text);
}

bool AddressField::suggestsFromContacts() const
{
    return m_defaults.boolean(DefaultsKey::suggestFromContacts);
}

void AddressField::refresh()
{
    const QString token = AddressTokens::token(text());
    if (token != m_dismissedFor)
        m_dismissedFor.clear();
    const bool isShown = suggestsFromContacts() && m_line->hasFocus() && m_dismissedFor.isEmpty();
    m_suggestions = isShown ? m_contacts.suggest(token, AddressTokens::addresses(text()), mostSuggestions)
                            : QList<ContactSuggestion>();
    if (m_suggestions.isEmpty()) {
        if (m_list)
            m_list->hide();
        return;
    }
    if (!m_list) {
        m_list = new SuggestionList(window());
        connect(m_list, &SuggestionList::taken, this, &AddressField::take);
        connect(m_list, &SuggestionList::currentRowChanged, this,
                [this](int row) { m_highlighted = std::max(row, 0); });
    }
    const int highlighted = std::min(m_highlighted, static_cast<int>(m_suggestions.size()) - 1);
    m_list->setSuggestions(m_suggestions, token);
    m_list->setHighlighted(highlighted);
    place();
    m_list->show();
    m_list->raise();
}

/// Puts the list under the field, within the window.
void AddressField::place()
{
    const QPoint below = m_line->mapTo(window(), QPoint(-Style::smallPadding, m_line->height()));
    const QSize room(window()->width() - below.x() - Style::smallPadding,
                     window()->height() - below.y() - Style::smallPadding);
    m_list->setGeometry(QRect(below, m_list->sizeHint().boundedTo(room)));
}

void AddressField::take(int index)
{
    if (index < 0 || index >= m_suggestions.size())
        return;
    const ContactSuggestion taken = m_suggestions[index];
    m_line->setText(AddressTokens::taking(text(), taken));
    m_line->setFocus();
}

bool AddressField::handleKey(int key)
{
    if (!m_list || !m_list->isVisible())
        return false;
    const int last = static_cast<int>(m_suggestions.size()) - 1;
    switch (key) {
    case Qt::Key_Down:
        m_list->setHighlighted(std::min(m_highlighted + 1, last));
        return true;
    case Qt::Key_Up:
        m_list->setHighlighted(std::max(m_highlighted - 1, 0));
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Tab:
        take(m_highlighted);
        return true;
    case Qt::Key_Escape:
        m_dismissedFor = AddressTokens::token(text());
        refresh();
        return true;
    default:
        return false;
    }
}

bool AddressField::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::KeyPress: {
        const auto* const key = static_cast<QKeyEvent*>(event);
        const bool isPlain = (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
        if (isPlain && handleKey(key->key()))
            return true;
        break;
    }
    case QEvent::FocusIn:
        // Who wants no suggestions has no contacts read.
        if (suggestsFromContacts())
            spawn(m_contacts.requestAccess(), dropFailure);
        refresh();
        Q_EMIT focused();
        break;
    case QEvent::FocusOut:
        // The filter comes before the line knows of it.
        QMetaObject::invokeMethod(this, &AddressField::refresh, Qt::QueuedConnection);
        break;
    default:
        break;
    }
    return ComposeRow::eventFilter(watched, event);
}

void AddressField::hideEvent(QHideEvent* event)
{
    if (m_list)
        m_list->hide();
    ComposeRow::hideEvent(event);
}

} // namespace Larkhaven
