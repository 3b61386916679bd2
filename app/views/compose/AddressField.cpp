#include "views/compose/AddressField.h"

#include "model/DraftGate.h"
#include "views/compose/AddressTokens.h"
#include "views/compose/LineGate.h"
#include "views/compose/SuggestionList.h"
#include "views/compose/SuggestionsModel.h"
#include "views/style/Style.h"

#include <QAccessible>
#include <QCompleter>
#include <QKeyEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The list takes the focus events of a popup with it, and the keyboard stays with its field.
bool isOfPopup(const QEvent& event)
{
    return static_cast<const QFocusEvent&>(event).reason() == Qt::PopupFocusReason;
}

} // namespace

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
    , m_model(new SuggestionsModel(this))
    , m_completer(new QCompleter(m_model, this))
    , m_list(new SuggestionList)
{
    connect(m_gate, &LineGate::refused, this, &AddressField::refused);
    connect(line, &QLineEdit::textChanged, this, [this] {
        m_highlighted = 0;
        refresh();
        Q_EMIT textChanged();
    });
    connect(&contacts, &ContactsService::changed, this, &AddressField::refresh);
    // The model holds what is offered for the token; the completer shows it and finds nothing by itself.
    m_completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    m_completer->setWrapAround(false);
    m_completer->setMaxVisibleItems(mostSuggestions);
    m_completer->setWidget(line);
    m_completer->setPopup(m_list);
    m_list->drawRows();
    // Before the completer's own filters: some keys mean more here, and it would keep a line from hearing
    // that it has lost the focus.
    line->installEventFilter(this);
    m_list->installEventFilter(this);
    connect(m_completer, qOverload<const QModelIndex&>(&QCompleter::activated), this,
            [this](const QModelIndex& index) { take(index.row()); });
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& index) {
                if (index.isValid())
                    m_highlighted = index.row();
                announce(index.data(Qt::AccessibleTextRole).toString());
            });
}

AddressField::~AddressField()
{
    // With its list, whose end still reports to this field.
    delete m_completer;
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
    m_model->setSuggestions(isShown
                                ? m_contacts.suggest(token, AddressTokens::addresses(text()), mostSuggestions)
                                : QList<ContactSuggestion>(),
                            token);
    if (suggestions().isEmpty()) {
        hideSuggestions();
        return;
    }
    const int highlighted = std::min(m_highlighted, static_cast<int>(suggestions().size()) - 1);
    m_completer->complete(place());
    highlight(highlighted);
}

void AddressField::hideSuggestions()
{
    m_list->hide();
    m_model->setSuggestions({}, {});
    announce({});
}

const QList<ContactSuggestion>& AddressField::suggestions() const
{
    return m_model->suggestions();
}

void AddressField::highlight(int index)
{
    m_list->setCurrentIndex(m_list->model()->index(index, 0));
}

/// A list that never has the keyboard says nothing by itself: what it highlights becomes the description of
/// the field that has it.
void AddressField::announce(const QString& text)
{
    if (m_line->accessibleDescription() == text)
        return;
    m_line->setAccessibleDescription(text);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    if (!text.isEmpty()) {
        QAccessibleAnnouncementEvent event(m_line, text);
        QAccessible::updateAccessibility(&event);
    }
#endif
}

/// Under the field, within the width of the window; in coordinates of the line.
QRect AddressField::place() const
{
    const int left = m_line->mapTo(window(), QPoint(0, 0)).x() - Style::smallPadding;
    const int room = window()->width() - left - Style::smallPadding;
    return {-Style::smallPadding, 0, std::min(SuggestionList::preferredWidth(), room), m_line->height()};
}

void AddressField::take(int index)
{
    if (index < 0 || index >= suggestions().size())
        return;
    const ContactSuggestion taken = suggestions()[index];
    m_line->setText(AddressTokens::taking(text(), taken));
    m_line->setFocus();
}

bool AddressField::handleKey(int key)
{
    if (!m_list->isVisible())
        return false;
    const int last = static_cast<int>(suggestions().size()) - 1;
    switch (key) {
    case Qt::Key_Down:
        highlight(std::min(m_highlighted + 1, last));
        return true;
    case Qt::Key_Up:
        highlight(std::max(m_highlighted - 1, 0));
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
    const bool isOfLine = watched == m_line;
    switch (isOfLine || event->type() == QEvent::KeyPress ? event->type() : QEvent::None) {
    case QEvent::KeyPress: {
        const auto* const key = static_cast<QKeyEvent*>(event);
        const bool isPlain = (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
        if (isPlain && handleKey(key->key()))
            return true;
        break;
    }
    case QEvent::FocusIn:
        if (isOfPopup(*event))
            break;
        // Who wants no suggestions has no contacts read.
        if (suggestsFromContacts())
            spawn(m_contacts.requestAccess(), dropFailure);
        refresh();
        Q_EMIT focused();
        break;
    case QEvent::FocusOut:
        if (!isOfPopup(*event))
            hideSuggestions();
        break;
    default:
        break;
    }
    return ComposeRow::eventFilter(watched, event);
}

void AddressField::hideEvent(QHideEvent* event)
{
    hideSuggestions();
    ComposeRow::hideEvent(event);
}

} // namespace Larkhaven
