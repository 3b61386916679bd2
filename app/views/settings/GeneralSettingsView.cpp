#include "views/settings/GeneralSettingsView.h"

#include "domain/Coding.h"
#include "domain/PlatformWords.h"
#include "views/settings/SettingToggle.h"
#include "views/style/DisplayText.h"
#include "views/style/Picker.h"
#include "views/style/PlainAlert.h"
#include "views/style/SegmentedPicker.h"
#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The longest address that a picker shows whole, in UTF-16 units.
constexpr qsizetype longestAddress = 60;
/// How many intervals there are to choose from.
constexpr int intervalCount = 5;

Picker* makePicker(QLatin1StringView name)
{
    auto* const picker = new Picker;
    picker->setObjectName(name);
    picker->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    return picker;
}

} // namespace

GeneralSettingsView::GeneralSettingsView(AppModel& model, QWidget* parent)
    : SettingsForm(parent)
    , m_model(model)
    , m_account(makePicker(DefaultsKey::defaultAccountID))
    , m_interval(makePicker(DefaultsKey::refreshMinutes))
    , m_pageSize(new SegmentedPicker({{u"25"_s, 25}, {u"50"_s, 50}, {u"100"_s, 100}}))
    , m_accent(makePicker(DefaultsKey::accent))
    , m_restartLine(new QWidget)
{
    setObjectName("generalSettings"_L1);
    makeMail();
    makeAppearance();
    connect(&model, &AppModel::accountsChanged, this, &GeneralSettingsView::fillAccounts);
    connect(&model.defaults(), &UserDefaults::changed, this, &GeneralSettingsView::follow);
    fillAccounts();
    showInterval();
    showAccent();
}

void GeneralSettingsView::makeMail()
{
    UserDefaults& defaults = m_model.defaults();
    addGroup(tr("Mail"));
    addRow(tr("Send new messages from:"), m_account);
    connect(m_account, &Picker::activated, this, [this, &defaults] {
        defaults.set(DefaultsKey::defaultAccountID, m_account->currentData().toString());
    });
    for (const auto& [text, minutes] : {std::pair(tr("Every minute"), 1), std::pair(tr("Every 5 minutes"), 5),
                                        std::pair(tr("Every 15 minutes"), 15),
                                        std::pair(tr("Every 30 minutes"), 30), std::pair(tr("Manually"), 0)})
        m_interval->addItem(text, qint64{minutes});
    addRow(tr("Check for new messages:"), m_interval);
    connect(m_interval, &Picker::activated, this, [this, &defaults] {
        defaults.set(DefaultsKey::refreshMinutes, m_interval->currentData().toLongLong());
    });
    m_pageSize->setObjectName(DefaultsKey::pageSize);
    m_pageSize->setValue(m_model.pageSize());
    addRow(tr("Messages per page:"), m_pageSize);
    connect(m_pageSize, &SegmentedPicker::chosen, this,
            [&defaults](const QVariant& rows) { defaults.set(DefaultsKey::pageSize, rows); });
    addControl(new SettingToggle(tr("Show message preview in list"), defaults, DefaultsKey::showPreview));
    addControl(new SettingToggle(tr("Use Gmail keyboard shortcuts"), defaults, DefaultsKey::gmailShortcuts));
    addCaption(PlatformWords::text(PlatformWords::Text::singleKeys));
}

void GeneralSettingsView::makeAppearance()
{
    addGroup(tr("Appearance"));
    for (const AccentChoice choice : allAccentChoices)
        m_accent->addItem(label(choice), static_cast<int>(choice));
    addRow(tr("Accent color:"), m_accent);
    connect(m_accent, &Picker::activated, this,
            [this] { chooseAccent(static_cast<AccentChoice>(m_accent->currentData().toInt())); });
    addCaption(PlatformWords::text(PlatformWords::Text::accentCaption));

    auto* const note = new QLabel(tr("The new accent color is used after Larkhaven restarts."));
    note->setObjectName("accentNote"_L1);
    note->setWordWrap(true);
    auto* const restart = new QPushButton(tr("Restart Now"));
    restart->setObjectName("restartNow"_L1);
    restart->setAutoDefault(false);
    connect(restart, &QPushButton::clicked, &m_model, &AppModel::restart);
    auto* const line = new QHBoxLayout(m_restartLine);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(Style::padding);
    line->addWidget(note, 1);
    line->addWidget(restart, 0, Qt::AlignTop);
    addControl(m_restartLine);
    addControl(new SettingToggle(PlatformWords::text(PlatformWords::Text::showUnreadCount),
                                 m_model.defaults(), DefaultsKey::showDockBadge));
}

void GeneralSettingsView::follow(const QString& key)
{
    if (key == DefaultsKey::defaultAccountID)
        fillAccounts();
    else if (key == DefaultsKey::refreshMinutes)
        showInterval();
    else if (key == DefaultsKey::pageSize)
        m_pageSize->setValue(m_model.pageSize());
    else if (key == DefaultsKey::accent)
        showAccent();
}

void GeneralSettingsView::fillAccounts()
{
    m_account->clear();
    m_account->addItem(tr("Account of selected mailbox"), QString());
    const QUuid chosen(m_model.defaults().text(DefaultsKey::defaultAccountID));
    for (const Account& account : m_model.accounts()) {
        m_account->addItem(DisplayText::bounded(account.email, longestAddress), Coding::fromUuid(account.id));
        if (account.id == chosen)
            m_account->setCurrentIndex(m_account->count() - 1);
    }
}

void GeneralSettingsView::showInterval()
{
    while (m_interval->count() > intervalCount)
        m_interval->removeItem(intervalCount);
    const qint64 minutes = std::max(qint64{0}, m_model.defaults().integer(DefaultsKey::refreshMinutes));
    int place = m_interval->findData(minutes);
    if (place < 0) {
        // Somebody has written another one into the file, and it is in force.
        m_interval->addItem(tr("Every %1 minutes").arg(locale().toString(minutes)), minutes);
        place = intervalCount;
    }
    m_interval->setCurrentIndex(place);
}

// --- The accent

void GeneralSettingsView::showAccent()
{
    const AccentChoice stored = accentChoice(m_model.defaults());
    m_accent->setCurrentIndex(m_accent->findData(static_cast<int>(m_askedAccent.value_or(stored))));
    m_restartLine->setVisible(stored != m_model.accentAtStart());
}

void GeneralSettingsView::chooseAccent(AccentChoice choice)
{
    const auto store = [this, choice] { m_model.defaults().set(DefaultsKey::accent, storedText(choice)); };
    if (choice == accentChoice(m_model.defaults()))
        return;
    // What is in force already needs no restart.
    if (choice == m_model.accentAtStart()) {
        store();
        return;
    }
    m_askedAccent = choice;
    m_question = makePlainAlert(tr("Restart Larkhaven to change the accent color?"),
                                PlatformWords::text(PlatformWords::Text::accentRestart),
                                QMessageBox::NoButton, window());
    m_question->setObjectName("accentQuestion"_L1);
    QPushButton* const restart = m_question->addButton(tr("Restart Now"), QMessageBox::AcceptRole);
    QPushButton* const later = m_question->addButton(tr("Later"), QMessageBox::RejectRole);
    m_question->setDefaultButton(later);
    m_question->setEscapeButton(later);
    connect(m_question, &QMessageBox::finished, this, [this, store, restart, question = m_question.data()] {
        m_askedAccent.reset();
        store();
        showAccent();
        if (question->clickedButton() == restart)
            m_model.restart();
    });
    m_question->open();
}

} // namespace Larkhaven
