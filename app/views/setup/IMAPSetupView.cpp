#include "views/setup/IMAPSetupView.h"

#include "domain/LocalizedError.h"
#include "domain/Text.h"
#include "views/style/Picker.h"
#include "views/style/PlainAlert.h"
#include "views/style/Style.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QString trimmed(const QString& text)
{
    return Text::trimmedSpace(text).toString();
}

QLineEdit* makeField(const char* name, const QString& prompt = {})
{
    auto* const field = new QLineEdit;
    field->setObjectName(QLatin1StringView(name));
    field->setPlaceholderText(prompt);
    return field;
}

} // namespace

IMAPSetupView::IMAPSetupView(AppModel& model, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_model(model)
    , m_title(new QLabel)
    , m_name(makeField("setupName", tr("Optional")))
    , m_email(makeField("setupEmail", u"name@example.com"_s))
    , m_password(makeField("setupPassword"))
    , m_hint(new QLabel(tr("iCloud, Yahoo and Gmail need an app-specific password, created in your account's "
                           "security settings.")))
    , m_disclosure(new QToolButton)
    , m_servers(new QWidget)
    , m_username(makeField("setupUsername"))
    , m_progress(new QWidget)
    , m_cancel(new QPushButton(tr("Cancel")))
    , m_signIn(new QPushButton(tr("Sign In")))
{
    setObjectName("imap-setup"_L1);
    setWindowTitle(tr("Account Setup"));
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhNoPredictiveText | Qt::ImhSensitiveData);
    m_email->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    makeLayout();
    showSettings(ServerSettings::preset(QString()));
    setServersShown(false);

    connect(m_email, &QLineEdit::textChanged, this, &IMAPSetupView::prefill);
    for (QLineEdit* const field : {m_username, m_imap.host, m_smtp.host})
        connect(field, &QLineEdit::textChanged, this, &IMAPSetupView::noteServerEdit);
    for (QSpinBox* const field : {m_imap.port, m_smtp.port})
        connect(field, &QSpinBox::valueChanged, this, &IMAPSetupView::noteServerEdit);
    for (QComboBox* const field : {m_imap.security, m_smtp.security})
        connect(field, &QComboBox::currentIndexChanged, this, &IMAPSetupView::noteServerEdit);
    connect(m_password, &QLineEdit::textChanged, this, &IMAPSetupView::updateButton);
    connect(&model, &AppModel::signingInChanged, this, &IMAPSetupView::updateButton);
    connect(&model, &AppModel::imapSetupAccountIDChanged, this, [this] {
        if (isVisible())
            fillFromAccount();
    });
    connect(m_disclosure, &QToolButton::toggled, this, &IMAPSetupView::setServersShown);
    connect(m_signIn, &QPushButton::clicked, this, &IMAPSetupView::signIn);
    connect(m_cancel, &QPushButton::clicked, this, &QWidget::close);
    connect(&Style::shared(), &Style::changed, this, &IMAPSetupView::applyStyle);
    applyStyle();
    updateButton();
}

IMAPSetupView::ServerFields IMAPSetupView::addServer(QFormLayout& form, const QString& title,
                                                     const char* name)
{
    constexpr int largestPort = 65535;
    const QString prefix = QString::fromLatin1(name);
    const ServerFields fields{new QLineEdit, new QSpinBox, new Picker};
    fields.host->setObjectName(prefix + u"Host"_s);
    fields.host->setPlaceholderText(tr("Server"));
    fields.host->setAccessibleName(title + u' ' + tr("Server"));
    fields.port->setObjectName(prefix + u"Port"_s);
    fields.port->setAccessibleName(title + u' ' + tr("Port"));
    fields.port->setRange(1, largestPort);
    fields.port->setButtonSymbols(QSpinBox::NoButtons);
    fields.port->setGroupSeparatorShown(false);
    fields.security->setObjectName(prefix + u"Security"_s);
    fields.security->setAccessibleName(title + u' ' + tr("Security"));
    for (const ConnectionSecurity security : allConnectionSecurities)
        fields.security->addItem(label(security), QVariant::fromValue(static_cast<int>(security)));
    auto* const line = new QHBoxLayout;
    line->setSpacing(Style::smallPadding);
    line->addWidget(new QLabel(tr("Port")));
    line->addWidget(fields.port);
    line->addSpacing(Style::smallPadding);
    line->addWidget(new QLabel(tr("Security")));
    line->addWidget(fields.security, 1);
    form.addRow(title, fields.host);
    form.addRow(QString(), line);
    return fields;
}

void IMAPSetupView::makeLayout()
{
    const auto makeForm = [](QWidget* owner) {
        auto* const form = owner ? new QFormLayout(owner) : new QFormLayout;
        form->setContentsMargins(0, 0, 0, 0);
        form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
        form->setHorizontalSpacing(Style::padding);
        form->setVerticalSpacing(Style::smallPadding);
        form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
        return form;
    };
    m_hint->setWordWrap(true);
    QFormLayout* const identity = makeForm(nullptr);
    identity->addRow(tr("Name:"), m_name);
    identity->addRow(tr("Email Address:"), m_email);
    identity->addRow(tr("Password:"), m_password);
    identity->addRow(QString(), m_hint);

    m_disclosure->setObjectName("setupDisclosure"_L1);
    m_disclosure->setProperty("flat", true);
    m_disclosure->setProperty("disclosure", true);
    m_disclosure->setText(tr("Server Settings"));
    m_disclosure->setCheckable(true);
    m_disclosure->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    QFormLayout* const servers = makeForm(m_servers);
    servers->addRow(tr("User Name:"), m_username);
    m_imap = addServer(*servers, tr("Incoming (IMAP):"), "imap");
    m_smtp = addServer(*servers, tr("Outgoing (SMTP):"), "smtp");

    auto* const bar = new QProgressBar;
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    bar->setFixedHeight(Style::grid);
    auto* const progressLine = new QHBoxLayout(m_progress);
    progressLine->setContentsMargins(0, 0, 0, 0);
    progressLine->addWidget(bar);
    QSizePolicy keepsPlace = m_progress->sizePolicy();
    keepsPlace.setRetainSizeWhenHidden(true);
    m_progress->setSizePolicy(keepsPlace);
    m_progress->setAccessibleName(tr("Signing in"));
    m_signIn->setObjectName("setupSignIn"_L1);
    m_signIn->setDefault(true);
    m_cancel->setObjectName("setupCancel"_L1);
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(Style::smallPadding);
    buttons->addWidget(m_progress, 1);
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_signIn);

    auto* const layout = new QVBoxLayout(this);
    constexpr int margin = Style::largePadding + Style::grid;
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(Style::padding);
    // Its size follows what it shows.
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_title);
    layout->addLayout(identity);
    layout->addWidget(m_disclosure, 0, Qt::AlignLeft);
    layout->addWidget(m_servers);
    layout->addSpacing(Style::grid);
    layout->addLayout(buttons);
}

void IMAPSetupView::applyStyle()
{
    const Style& style = Style::shared();
    m_title->setFont(style.font(Style::Type::title));
    m_hint->setFont(style.font(Style::Type::caption));
    QPalette quiet = m_hint->palette();
    quiet.setColor(QPalette::WindowText, style.colors().secondary);
    m_hint->setPalette(quiet);
    const int fieldWidth = style.scaled(24);
    for (QLineEdit* const field : {m_name, m_email, m_password, m_username, m_imap.host, m_smtp.host})
        field->setFixedWidth(fieldWidth);
    m_hint->setFixedWidth(fieldWidth);
    for (QSpinBox* const field : {m_imap.port, m_smtp.port})
        field->setFixedWidth(style.scaled(5));
    const int icon = style.scaled(1);
    m_disclosure->setIconSize({icon, icon});
    m_disclosure->setIcon(style.icon(m_disclosure->isChecked() ? Symbol::chevronDown : Symbol::chevronRight,
                                     style.colors().secondary));
    m_progress->setFixedWidth(style.scaled(10));
    alignLabels();
}

void IMAPSetupView::alignLabels()
{
    // Two forms, one column.
    const QList<QFormLayout*> forms = findChildren<QFormLayout*>();
    QList<QLabel*> labels;
    int width = 0;
    for (const QFormLayout* const form : forms) {
        for (int row = 0; row < form->rowCount(); ++row) {
            const QLayoutItem* const item = form->itemAt(row, QFormLayout::LabelRole);
            auto* const text = item ? qobject_cast<QLabel*>(item->widget()) : nullptr;
            if (!text)
                continue;
            labels.append(text);
            width = std::max(width, text->fontMetrics().horizontalAdvance(text->text()));
        }
    }
    for (QLabel* const text : std::as_const(labels)) {
        text->setMinimumWidth(width);
        text->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
}

// --- Filling

void IMAPSetupView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    fillFromAccount();
    (m_email->text().isEmpty() ? m_name : m_password)->setFocus();
    adjustSize();
    if (const QScreen* const place = screen())
        move(place->availableGeometry().center() - rect().center());
}

void IMAPSetupView::fillFromAccount()
{
    const std::optional<QUuid>& accountID = m_model.imapSetupAccountID();
    m_title->setText(accountID ? tr("Sign In Again") : tr("Add IMAP Account"));
    if (accountID == m_loadedID && !m_email->text().isEmpty())
        return;
    m_loadedID = accountID;
    const auto account = std::ranges::find_if(
        m_model.accounts(), [&accountID](const Account& known) { return known.id == accountID; });
    if (account != m_model.accounts().end()) {
        m_serversEdited = true;
        m_name->setText(account->displayName.value_or(QString()));
        m_email->setText(account->email);
        showSettings(account->server.value_or(ServerSettings::preset(account->email)));
        m_disclosure->setChecked(true);
    }
    m_password->clear();
    updateButton();
}

void IMAPSetupView::prefill()
{
    if (!m_serversEdited)
        showSettings(ServerSettings::preset(trimmed(m_email->text())));
    updateButton();
}

void IMAPSetupView::showSettings(const ServerSettings& settings)
{
    m_isShowingSettings = true;
    m_username->setText(settings.username);
    m_imap.host->setText(settings.imapHost);
    m_imap.port->setValue(settings.imapPort);
    m_imap.security->setCurrentIndex(static_cast<int>(settings.imapSecurity));
    m_smtp.host->setText(settings.smtpHost);
    m_smtp.port->setValue(settings.smtpPort);
    m_smtp.security->setCurrentIndex(static_cast<int>(settings.smtpSecurity));
    m_isShowingSettings = false;
    updateButton();
}

ServerSettings IMAPSetupView::settings() const
{
    const auto security = [](const QComboBox& picker) {
        return static_cast<ConnectionSecurity>(picker.currentData().toInt());
    };
    ServerSettings settings;
    settings.username = trimmed(m_username->text());
    settings.imapHost = trimmed(m_imap.host->text());
    settings.imapPort = m_imap.port->value();
    settings.imapSecurity = security(*m_imap.security);
    settings.smtpHost = trimmed(m_smtp.host->text());
    settings.smtpPort = m_smtp.port->value();
    settings.smtpSecurity = security(*m_smtp.security);
    return settings;
}

void IMAPSetupView::noteServerEdit()
{
    if (!m_isShowingSettings)
        m_serversEdited = true;
    updateButton();
}

void IMAPSetupView::setServersShown(bool isShown)
{
    m_servers->setVisible(isShown);
    m_disclosure->setChecked(isShown);
    applyStyle();
}

void IMAPSetupView::updateButton()
{
    const ServerSettings entered = settings();
    m_signIn->setEnabled(m_email->text().contains(u'@') && !m_password->text().isEmpty() &&
                         !entered.imapHost.isEmpty() && !entered.smtpHost.isEmpty() &&
                         !entered.username.isEmpty() && !m_model.isSigningIn());
    m_progress->setVisible(m_model.isSigningIn());
}

// --- Leaving

void IMAPSetupView::signIn()
{
    if (m_signIn->isEnabled())
        m_model.start(save());
}

Task<> IMAPSetupView::save()
{
    const QPointer<IMAPSetupView> self(this);
    const QString name = trimmed(m_name->text());
    const QString email = trimmed(m_email->text());
    const ServerSettings entered = settings();
    const QString password = m_password->text();
    m_attempt = std::stop_source();
    const std::stop_token stop = m_attempt.get_token();
    std::exception_ptr failure;
    try {
        co_await m_model.saveIMAPAccount(name, email, entered, password, stop);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || stop.stop_requested())
        co_return;
    if (failure)
        setError(localizedText(failure));
    else
        close();
}

void IMAPSetupView::setError(const std::optional<QString>& text)
{
    if (m_alert)
        m_alert->close();
    if (!text || !isVisible())
        return;
    m_alert = makePlainAlert(tr("Couldn’t Sign In"), *text, QMessageBox::Ok, this);
    m_alert->setObjectName("setupAlert"_L1);
    m_alert->open();
}

void IMAPSetupView::leave()
{
    // Whoever gives up while the servers are asked has nothing stored.
    m_attempt.request_stop();
    m_password->clear();
    m_model.setImapSetupAccountID(std::nullopt);
    // The next account begins with an empty form.
    m_loadedID.reset();
    m_serversEdited = false;
    m_name->clear();
    m_email->clear();
    m_disclosure->setChecked(false);
}

void IMAPSetupView::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    leave();
}

void IMAPSetupView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        signIn();
    else
        QWidget::keyPressEvent(event);
}

} // namespace Larkhaven
