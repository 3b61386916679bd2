#include "views/settings/PrivacySettingsView.h"

#include "domain/PlatformWords.h"
#include "platform/Tasks.h"
#include "views/settings/SettingToggle.h"
#include "views/style/PlainAlert.h"
#include "views/style/RowText.h"

#include <QLabel>
#include <QPushButton>
#include <QShowEvent>

using namespace Qt::StringLiterals;

namespace Larkhaven {

PrivacySettingsView::PrivacySettingsView(AppModel& model, QWidget* parent)
    : SettingsForm(parent)
    , m_model(model)
    , m_size(new QLabel)
    , m_delete(new QPushButton(tr("Delete Downloaded Messages…")))
{
    setObjectName("privacySettings"_L1);
    UserDefaults& defaults = model.defaults();
    addGroup();
    addControl(
        new SettingToggle(tr("Load remote content in messages"), defaults, DefaultsKey::loadRemoteContent));
    addCaption(tr("Remote images can reveal when you open a message and your approximate location. When off, "
                  "use “Load Remote Content” in a message to load it once."));
    addControl(new SettingToggle(tr("Remove tracking parameters from links"), defaults,
                                 DefaultsKey::stripTrackingParams));
    addControl(new SettingToggle(tr("Warn before opening suspicious links"), defaults,
                                 DefaultsKey::warnSuspiciousLinks));

    addGroup(tr("Always On"));
    addFact(tr("Tracking pixels"), tr("Blocked"));
    addFact(tr("Cookies"), tr("Never stored"));
    addFact(tr("Scripts in messages"), tr("Disabled"));

    addGroup(PlatformWords::text(PlatformWords::Text::onThisComputer));
    m_size->setObjectName("cacheSize"_L1);
    addRow(tr("Downloaded messages"), m_size);
    m_delete->setObjectName("deleteDownloads"_L1);
    m_delete->setAutoDefault(false);
    m_delete->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    connect(m_delete, &QPushButton::clicked, this, &PrivacySettingsView::askToDelete);
    addControl(m_delete);
    addCaption(PlatformWords::text(PlatformWords::Text::downloadedMessages));
}

void PrivacySettingsView::addFact(const QString& what, const QString& value)
{
    auto* const fact = new QLabel(value);
    addRow(what, fact)->setBuddy(nullptr);
    // What is read out is the text itself.
    fact->setAccessibleName(u"%1: %2"_s.arg(what, value));
}

void PrivacySettingsView::showEvent(QShowEvent* event)
{
    SettingsForm::showEvent(event);
    if (!event->spontaneous())
        measure();
}

void PrivacySettingsView::measure()
{
    m_size->setText(u"…"_s);
    m_size->setAccessibleName(tr("Downloaded messages"));
    m_model.start(showSize(++m_asked));
}

Task<> PrivacySettingsView::showSize(int asked)
{
    const QPointer<PrivacySettingsView> self(this);
    const qint64 bytes = co_await m_model.cacheSize();
    if (!self || asked != m_asked)
        co_return;
    m_size->setText(RowText::size(bytes));
    m_size->setAccessibleName(u"%1: %2"_s.arg(tr("Downloaded messages"), m_size->text()));
}

void PrivacySettingsView::askToDelete()
{
    m_question = makePlainAlert(tr("Delete downloaded messages?"), tr("Mail on the server isn't affected."),
                                QMessageBox::Cancel, window());
    m_question->setObjectName("deleteQuestion"_L1);
    QPushButton* const confirm =
        addDestructiveButton(*m_question, tr("Delete"), QMessageBox::DestructiveRole);
    confirm->setObjectName("confirmDelete"_L1);
    m_question->setDefaultButton(QMessageBox::Cancel);
    connect(m_question, &QMessageBox::finished, this, [this, confirm, question = m_question.data()] {
        if (question->clickedButton() == confirm)
            m_model.start(deleteMessages());
    });
    m_question->open();
}

Task<> PrivacySettingsView::deleteMessages()
{
    const QPointer<PrivacySettingsView> self(this);
    m_delete->setEnabled(false);
    // An answer that is still under way is about what goes now.
    ++m_asked;
    m_size->setText(u"…"_s);
    const Outcome<void> outcome = co_await settled(m_model.clearCaches());
    if (!self)
        co_return;
    m_delete->setEnabled(true);
    measure();
    if (outcome.failure)
        m_model.report(outcome.failure, std::nullopt, window());
}

} // namespace Larkhaven
