#include "views/settings/ComposingSettingsView.h"

#include "domain/PlatformWords.h"
#include "views/settings/PointSizeField.h"
#include "views/settings/SettingToggle.h"
#include "views/settings/SignatureEdit.h"
#include "views/style/Picker.h"
#include "views/style/SegmentedPicker.h"
#include "views/style/Style.h"

#include <QFontDatabase>
#include <QLabel>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ComposingSettingsView::ComposingSettingsView(AppModel& model, QWidget* parent)
    : SettingsForm(parent)
    , m_model(model)
    , m_format(new SegmentedPicker({{tr("Rich Text (HTML)"), true}, {tr("Plain Text"), false}}))
    , m_family(new Picker)
    , m_size(new PointSizeField(smallestComposeFontSize, largestComposeFontSize))
    , m_sample(new QLabel(tr("The quick brown fox jumps over the lazy dog.")))
    , m_signature(new SignatureEdit)
{
    setObjectName("composingSettings"_L1);
    makeFormat();
    makeSignature();
    addGroup();
    addControl(new SettingToggle(tr("Suggest addresses from Contacts"), model.defaults(),
                                 DefaultsKey::suggestFromContacts));
    addCaption(PlatformWords::text(PlatformWords::Text::contactsCaption));
    connect(&model.defaults(), &UserDefaults::changed, this, &ComposingSettingsView::follow);
    follow(DefaultsKey::composeRichText);
    follow(DefaultsKey::signature);
    Style::shared().follow(this, [this] {
        m_signature->setFixedHeight(Style::shared().scaled(8));
        showFont();
    });
}

void ComposingSettingsView::makeFormat()
{
    UserDefaults& defaults = m_model.defaults();
    addGroup();
    m_format->setObjectName(DefaultsKey::composeRichText);
    addRow(tr("Message format:"), m_format);
    connect(m_format, &SegmentedPicker::chosen, this,
            [&defaults](const QVariant& isRich) { defaults.set(DefaultsKey::composeRichText, isRich); });
    addCaption(tr("Rich text is sent as HTML together with a plain-text copy. You can switch format for each "
                  "message in the New Message window."));
    addGroup();
    m_family->setObjectName(DefaultsKey::composeFontFamily);
    m_family->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    m_family->setMaxVisibleItems(20);
    m_family->addItem(tr("System Font"), QString());
    const QStringList families = QFontDatabase::families();
    for (const QString& family : families) {
        if (!QFontDatabase::isPrivateFamily(family))
            m_family->addItem(family, family);
    }
    addRow(tr("Font:"), m_family);
    connect(m_family, &Picker::activated, this, [this, &defaults] {
        defaults.set(DefaultsKey::composeFontFamily, m_family->currentData().toString());
    });
    m_size->setObjectName(DefaultsKey::composeFontSize);
    m_size->setSpokenName(tr("Size"));
    addRow(tr("Size:"), m_size);
    connect(m_size, &PointSizeField::chosen, this,
            [&defaults](double size) { defaults.set(DefaultsKey::composeFontSize, size); });
    m_sample->setObjectName("composeSample"_L1);
    m_sample->setWordWrap(true);
    addControl(m_sample);
}

void ComposingSettingsView::makeSignature()
{
    addGroup(tr("Signature"));
    m_signature->setObjectName(DefaultsKey::signature);
    m_signature->setAccessibleName(tr("Signature"));
    addControl(m_signature);
    connect(m_signature, &SignatureEdit::edited, this,
            [this](const QString& text) { m_model.defaults().set(DefaultsKey::signature, text); });
    addCaption(tr("Added to new messages, replies and forwards (above quoted text). Leave empty for no "
                  "signature."));
}

void ComposingSettingsView::follow(const QString& key)
{
    const UserDefaults& defaults = m_model.defaults();
    if (key == DefaultsKey::composeRichText)
        m_format->setValue(defaults.boolean(DefaultsKey::composeRichText));
    else if (key == DefaultsKey::composeFontFamily || key == DefaultsKey::composeFontSize)
        showFont();
    else if (key == DefaultsKey::signature)
        m_signature->setSignature(defaults.text(DefaultsKey::signature));
}

void ComposingSettingsView::showFont()
{
    const UserDefaults& defaults = m_model.defaults();
    const double size = defaults.real(DefaultsKey::composeFontSize);
    // A font that isn't there any more is no choice.
    m_family->setCurrentIndex(std::max(0, m_family->findData(defaults.text(DefaultsKey::composeFontFamily))));
    m_size->setSize(size);
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    const QString family = m_family->currentData().toString();
    if (!family.isEmpty())
        font.setFamilies({family});
    // As it is in the window in which messages are written.
    const double scale = static_cast<double>(Style::shared().textSize()) / Style::standardTextSize;
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(size * scale))));
    m_sample->setFont(font);
}

} // namespace Larkhaven
