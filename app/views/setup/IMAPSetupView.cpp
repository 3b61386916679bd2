#include "views/setup/IMAPSetupView.h"

#include "domain/MailError.h"
#include "domain/Text.h"
#include "views/setup/DisclosureButton.h"
#include "views/setup/ServerFields.h"
#include "views/style/DisplayText.h"
#include "views/style/PlainAlert.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

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

/// What the user reads of a failure below a title that says that the sign-in failed, and whether the password
/// is to blame.
std::pair<QString, bool> wordsOf(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        const bool isRefusal = error.kind() == MailError::Kind::authFailed;
        return {isRefusal ? error.text() : error.localizedText(), isRefusal};
    } catch (...) {
        return {localizedText(failure), false};
    }
}

constexpr int margin = Style::largePadding + Style::grid;

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
    , m_scroll(new QScrollArea)
    , m_disclosure(new DisclosureButton(tr("Server Settings")))
    , m_servers(new QWidget)
    , m_username(makeField("setupUsername"))
    , m_progress(new QWidget)
    , m_progressText(new QLabel)
    , m_cancel(new QPushButton(tr("Cancel")))
    , m_signIn(new QPushButton(tr("Sign In")))
{
    setObjectName("imap-setup"_L1);
    setWindowTitle(tr("Account Setup"));
    setRole(*m_title, Role::title);
    setRole(*m_hint, Role::caption);
    setRole(*m_progressText, Role::caption);
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhNoPredictiveText | Qt::ImhSensitiveData);
    m_email->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    makeLayout();
    showSettings(ServerSettings::preset(QString()));
    m_servers->hide();
    makeConnections();
    Style::shared().follow(this, [this] { measure(); });
    updateButton();
}

void IMAPSetupView::makeConnections()
{
    connect(m_email, &QLineEdit::textChanged, this, &IMAPSetupView::prefill);
    connect(m_username, &QLineEdit::textChanged, this, &IMAPSetupView::noteServerEdit);
    for (const ServerFields* const fields : {m_imap, m_smtp})
        connect(fields, &ServerFields::edited, this, &IMAPSetupView::noteServerEdit);
    connect(m_password, &QLineEdit::textChanged, this, &IMAPSetupView::updateButton);
    connect(&m_model, &AppModel::signingInChanged, this, &IMAPSetupView::updateButton);
    connect(&m_model, &AppModel::imapSetupAccountIDChanged, this, [this] {
        if (isVisible())
            fillFromAccount();
    });
    connect(m_disclosure, &DisclosureButton::expandedChanged, m_servers, &QWidget::setVisible);
    connect(m_signIn, &QPushButton::clicked, this, &IMAPSetupView::signIn);
    connect(m_cancel, &QPushButton::clicked, this, &QWidget::close);
    connect(qApp, &QApplication::focusChanged, &m_focusWatch,
            [this](QWidget*, QWidget* focused) { keepFocusInSight(focused); });
}

// --- Layout

QWidget* IMAPSetupView::makeFields()
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
    m_name->setAccessibleName(tr("Name"));
    m_email->setAccessibleName(tr("Email Address"));
    m_password->setAccessibleName(tr("Password"));
    m_username->setAccessibleName(tr("User Name"));

    m_disclosure->setObjectName("setupDisclosure"_L1);
    QFormLayout* const servers = makeForm(m_servers);
    servers->addRow(tr("User Name:"), m_username);
    m_imap = new ServerFields(*servers,
                              {tr("Incoming (IMAP):"), tr("Incoming Server"),
                               tr("Port of the Incoming Server"), tr("Security of the Incoming Server")},
                              {993, 143}, u"imap"_s, this);
    m_smtp = new ServerFields(*servers,
                              {tr("Outgoing (SMTP):"), tr("Outgoing Server"),
                               tr("Port of the Outgoing Server"), tr("Security of the Outgoing Server")},
                              {465, 587}, u"smtp"_s, this);

    auto* const fields = new QWidget;
    auto* const layout = new QVBoxLayout(fields);
    layout->setContentsMargins(margin, margin, margin, Style::padding);
    layout->setSpacing(Style::padding);
    layout->addWidget(m_title);
    layout->addLayout(identity);
    layout->addWidget(m_disclosure, 0, Qt::AlignLeft);
    layout->addWidget(m_servers);
    layout->addStretch();
    return fields;
}

QWidget* IMAPSetupView::makeFoot()
{
    auto* const bar = new QProgressBar;
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    bar->setFixedHeight(Style::grid);
    bar->setAccessibleName(tr("Signing in"));
    m_progressText->setObjectName("setupProgress"_L1);
    auto* const progress = new QVBoxLayout(m_progress);
    progress->setContentsMargins(0, 0, 0, 0);
    progress->setSpacing(Style::grid);
    progress->addWidget(m_progressText);
    progress->addWidget(bar);
    QSizePolicy keepsPlace = m_progress->sizePolicy();
    keepsPlace.setRetainSizeWhenHidden(true);
    m_progress->setSizePolicy(keepsPlace);
    m_signIn->setObjectName("setupSignIn"_L1);
    m_signIn->setDefault(true);
    m_cancel->setObjectName("setupCancel"_L1);
    auto* const foot = new QWidget;
    auto* const buttons = new QHBoxLayout(foot);
    buttons->setContentsMargins(margin, Style::padding, margin, margin);
    buttons->setSpacing(Style::smallPadding);
    buttons->addWidget(m_progress, 1);
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_signIn);
    return foot;
}

void IMAPSetupView::makeLayout()
{
    m_scroll->setWidget(makeFields());
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    // The ground is the window's.
    m_scroll->viewport()->setAutoFillBackground(false);
    m_scroll->widget()->setAutoFillBackground(false);
    m_scroll->widget()->installEventFilter(this);
    m_foot = makeFoot();
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_scroll, 1);
    layout->addWidget(m_foot);
}

bool IMAPSetupView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::LayoutRequest)
        fitToScreen();
    return QWidget::eventFilter(watched, event);
}

void IMAPSetupView::fitToScreen()
{
    QWidget& fields = *m_scroll->widget();
    const QSize wanted = fields.sizeHint();
    const QSize foot = m_foot->sizeHint();
    const QScreen* const place = screen();
    const int titleBar = std::max(frameGeometry().height() - height(), 0);
    const int room = place ? place->availableGeometry().height() - titleBar : wanted.height() + foot.height();
    const int height = std::min(wanted.height() + foot.height(), room);
    const bool scrolls = height < wanted.height() + foot.height();
    const int scrollBar = scrolls ? m_scroll->verticalScrollBar()->sizeHint().width() : 0;
    setFixedSize(std::max(wanted.width() + scrollBar, foot.width()), height);
    if (place && isVisible()) {
        const QRect screenRoom = place->availableGeometry();
        const QRect frame = frameGeometry();
        move(std::max(screenRoom.left(), std::min(frame.left(), screenRoom.right() + 1 - frame.width())),
             std::max(screenRoom.top(), std::min(frame.top(), screenRoom.bottom() + 1 - frame.height())));
    }
}

void IMAPSetupView::keepFocusInSight(QWidget* focused)
{
    const QWidget* const fields = m_scroll->widget();
    if (!focused || !fields->isAncestorOf(focused))
        return;
    // All of the field: ensureWidgetVisible contents itself with the caret.
    const QRect place(focused->mapTo(fields, QPoint()), focused->size());
    m_scroll->ensureVisible(place.left(), place.bottom(), 0, Style::padding);
    m_scroll->ensureVisible(place.left(), place.top(), 0, Style::padding);
}

void IMAPSetupView::measure()
{
    const Style& style = Style::shared();
    // Large text on a small screen leaves less than it asks for.
    const int labels =
        alignLabels() + Style::padding + 2 * margin + m_scroll->verticalScrollBar()->sizeHint().width();
    const int room = screen() ? screen()->availableGeometry().width() - labels : QWIDGETSIZE_MAX;
    const int fieldWidth = std::min(style.scaled(24), room);
    for (QLineEdit* const field : {m_name, m_email, m_password, m_username})
        field->setFixedWidth(fieldWidth);
    m_hint->setFixedWidth(fieldWidth);
    for (ServerFields* const fields : {m_imap, m_smtp})
        fields->setFieldWidth(fieldWidth);
    fitToScreen();
}

int IMAPSetupView::alignLabels()
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
    return width;
}

// --- Filling

void IMAPSetupView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    fillFromAccount();
    (m_email->text().isEmpty() ? m_name : m_password)->setFocus();
    fitToScreen();
    if (const QScreen* const place = screen()) {
        const QRect room = place->availableGeometry();
        move(std::max(room.left(), room.center().x() - rect().center().x()),
             std::max(room.top(), room.center().y() - rect().center().y()));
    }
}

void IMAPSetupView::fillFromAccount()
{
    const std::optional<QUuid>& accountID = m_model.imapSetupAccountID();
    m_title->setText(accountID ? tr("Sign In Again") : tr("Add IMAP Account"));
    if (accountID == m_loadedID && !m_email->text().isEmpty())
        return;
    // What is asked for another account must not close the form of this one, nor store anything.
    m_attempt.request_stop();
    closeAlert();
    showProgress(std::nullopt);
    m_loadedID = accountID;
    const auto account = std::ranges::find_if(
        m_model.accounts(), [&accountID](const Account& known) { return known.id == accountID; });
    if (account != m_model.accounts().end()) {
        m_serversEdited = true;
        m_loadedName = account->displayName.value_or(QString());
        m_name->setText(DisplayText::bounded(m_loadedName));
        m_email->setText(DisplayText::bounded(account->email));
        showSettings(account->server.value_or(ServerSettings::preset(account->email)));
        m_disclosure->setExpanded(true);
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
    m_imap->show({settings.imapHost, settings.imapPort, settings.imapSecurity});
    m_smtp->show({settings.smtpHost, settings.smtpPort, settings.smtpSecurity});
    m_isShowingSettings = false;
    updateButton();
}

ServerSettings IMAPSetupView::settings() const
{
    const ServerFields::Values imap = m_imap->values();
    const ServerFields::Values smtp = m_smtp->values();
    ServerSettings settings;
    settings.username = trimmed(m_username->text());
    settings.imapHost = imap.host;
    settings.imapPort = imap.port;
    settings.imapSecurity = imap.security;
    settings.smtpHost = smtp.host;
    settings.smtpPort = smtp.port;
    settings.smtpSecurity = smtp.security;
    return settings;
}

void IMAPSetupView::noteServerEdit()
{
    if (!m_isShowingSettings)
        m_serversEdited = true;
    updateButton();
}

void IMAPSetupView::updateButton()
{
    const ServerSettings entered = settings();
    m_signIn->setEnabled(m_email->text().contains(u'@') && !m_password->text().isEmpty() &&
                         !entered.imapHost.isEmpty() && !entered.smtpHost.isEmpty() &&
                         !entered.username.isEmpty() && !m_model.isSigningIn());
    m_progress->setVisible(m_model.isSigningIn());
}

void IMAPSetupView::showProgress(AskedServer server)
{
    m_progressText->setText(!server ? QString()
                            : *server == ConnectionTrial::Server::incoming
                                ? tr("Checking the incoming server…")
                                : tr("Checking the outgoing server…"));
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
    // What is shown of a stored name may be less than it is.
    const bool isNameKept = m_name->text() == DisplayText::bounded(m_loadedName);
    const QString name = isNameKept ? m_loadedName : trimmed(m_name->text());
    const QString email = trimmed(m_email->text());
    // The fields may be edited while the servers are asked.
    const auto asked = std::make_shared<Asked>(Asked{email, settings(), std::nullopt});
    const QString password = m_password->text();
    m_attempt = std::stop_source();
    const std::stop_token stop = m_attempt.get_token();
    const std::optional<QUuid> repaired = m_loadedID;
    const ConnectionTrial::Progress progress = [self, asked, stop](AskedServer server) {
        asked->server = server;
        if (self && !stop.stop_requested())
            self->showProgress(server);
    };
    std::exception_ptr failure;
    try {
        co_await m_model.saveIMAPAccount(name, email, asked->settings, password, stop, progress);
    } catch (...) {
        failure = std::current_exception();
    }
    // A repair that has been stored ends as the account to repair, which stops the attempt like another one.
    const bool isStored = self && !failure && (m_loadedID == repaired || !m_loadedID);
    if (!self || (stop.stop_requested() && !isStored))
        co_return;
    showProgress(std::nullopt);
    if (failure)
        showFailure(failure, *asked);
    else
        close();
}

QString IMAPSetupView::nameOf(const Asked& asked) const
{
    const bool isIncoming = asked.server == ConnectionTrial::Server::incoming;
    const QString& asHost = isIncoming ? asked.settings.imapHost : asked.settings.smtpHost;
    const ServerSettings guess = ServerSettings::preset(asked.email);
    const bool isGuess = !m_loadedID && !ServerSettings::isKnown(asked.email) &&
                         asHost == (isIncoming ? guess.imapHost : guess.smtpHost);
    const QString host = DisplayText::bounded(asHost);
    const QString port = QString::number(isIncoming ? asked.settings.imapPort : asked.settings.smtpPort);
    QString name = isIncoming ? tr("Incoming server: %1, port %2.").arg(host, port)
                              : tr("Outgoing server: %1, port %2.").arg(host, port);
    if (isGuess)
        name += u' ' +
                tr("Its name was only guessed from your email address; your provider knows the right one.");
    return name;
}

void IMAPSetupView::showFailure(const std::exception_ptr& failure, const Asked& asked)
{
    closeAlert();
    if (!isVisible())
        return;
    const auto [text, isRefusal] = wordsOf(failure);
    // The alert gives the focus back to it.
    if (isRefusal) {
        m_password->setFocus();
        m_password->selectAll();
    } else if (asked.server) {
        m_disclosure->setExpanded(true);
        (*asked.server == ConnectionTrial::Server::incoming ? m_imap : m_smtp)->focus();
    }
    const QString whole = asked.server ? text + u"\n\n"_s + nameOf(asked) : text;
    m_alert = makePlainAlert(tr("Couldn’t Sign In"), whole, QMessageBox::Ok, this,
                             {asked.settings.imapHost, asked.settings.smtpHost});
    m_alert->setObjectName("setupAlert"_L1);
    openWhenActive(*m_alert);
}

/// It may still wait for the form to get the keyboard.
void IMAPSetupView::closeAlert()
{
    delete m_alert;
}

void IMAPSetupView::leave()
{
    // Whoever gives up while the servers are asked has nothing stored.
    m_attempt.request_stop();
    closeAlert();
    m_password->clear();
    m_model.setImapSetupAccountID(std::nullopt);
    // The next account begins with an empty form.
    m_loadedID.reset();
    m_serversEdited = false;
    m_loadedName.clear();
    m_name->clear();
    m_email->clear();
    m_disclosure->setExpanded(false);
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
        takeReturn();
    else
        QWidget::keyPressEvent(event);
}

void IMAPSetupView::takeReturn()
{
    // Buttons leave the key to dialogs, and this is none.
    if (auto* const button = qobject_cast<QAbstractButton*>(focusWidget()))
        button->click();
    else
        signIn();
}

} // namespace Larkhaven
