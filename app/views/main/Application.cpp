#include "views/main/Application.h"

#include "app/platform/LoaderPages.h"
#include "app/platform/PrivateBrowser.h"
#include "app/platform/ProcessPrivacy.h"
#include "app/signin/Redirects.h"
#include "platform/Tasks.h"
#include "views/compose/ComposeWindows.h"
#include "views/reader/SecureMessageView.h"
#include "views/style/ApplicationIcon.h"
#include "views/style/Style.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QStandardPaths>
#include <QTextStream>
#include <QTimer>

#include <chrono>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Light or dark as the desktop wants it; as its palette looks where it doesn't say.
Style::Scheme schemeOf(const DesktopAppearance& appearance, bool isPaletteDark)
{
    switch (appearance.scheme()) {
    case DesktopAppearance::Scheme::dark:
        return Style::Scheme::dark;
    case DesktopAppearance::Scheme::light:
        return Style::Scheme::light;
    case DesktopAppearance::Scheme::noPreference:
        break;
    }
    return isPaletteDark ? Style::Scheme::dark : Style::Scheme::light;
}

/// The accent in place of our own: the desktop's, where the user wants it.
std::optional<QColor> accentOf(const DesktopAppearance& appearance, AccentChoice choice)
{
    if (choice != AccentChoice::system)
        return std::nullopt;
    const std::optional<DesktopAppearance::Color>& color = appearance.accent();
    if (!color)
        return Style::desktopBlue;
    const auto channel = [&color](size_t index) { return static_cast<float>(color->at(index)); };
    return QColor::fromRgbF(channel(0), channel(1), channel(2));
}

/// Started by the session bus, which says what for only then.
const QString& busOption()
{
    static const QString option = u"--dbus-service"_s;
    return option;
}

/// How long a program that the bus has started waits for what it was started for.
constexpr std::chrono::seconds busPatience{10};

Task<std::shared_ptr<BrowserSession>> openBrowser(QByteArray url, std::stop_token stop)
{
    return PrivateBrowser::open(url, PrivateBrowser::systemSetting(), stop);
}

} // namespace

Application::Preparation::Preparation(int argc, char** argv)
{
    ProcessPrivacy::begin();
    for (const auto place : {QStandardPaths::GenericConfigLocation, QStandardPaths::GenericDataLocation,
                             QStandardPaths::GenericCacheLocation})
        ProcessPrivacy::close(QStandardPaths::writableLocation(place) + u"/larkhaven"_s);
    ProcessPrivacy::close(UserDefaults::defaultFile());
    SecureMessageView::prepareEngine();
    noGraphicsDriver.emplace();
    QApplication::setApplicationName(u"Larkhaven"_s);
    QApplication::setDesktopFileName(AppModel::bundleIdentifier());
    redirects = Redirects::takeFrom(argc, argv, Info::ofProgram());
}

Application::Application(int& argc, char** argv)
    : m_preparation(argc, argv)
    , m_application(argc, argv)
    , m_instance(QFileInfo(UserDefaults::defaultFile()).path())
    , m_role(m_instance.enter(arguments()))
    , m_authenticator(openBrowser)
{
    m_preparation.noGraphicsDriver.reset();
    // Nobody here waits for them, and they hold codes.
    const bool isForRedirects = !m_preparation.redirects.isEmpty() && arguments() == m_preparation.redirects;
    if (m_role != SingleInstance::Role::first || isForRedirects)
        return;
    m_preparation.redirects.clear();
    QApplication::setWindowIcon(applicationIcon());
    m_model = std::make_unique<AppModel>(AppModel::systemServices(
        [this](const QByteArray& url, const QString& scheme, const std::stop_token& stop) {
            return m_authenticator.authenticate(url, scheme, stop);
        }));
    // A font that isn't there any more counts as none.
    m_model->defaults().registerRule(DefaultsKey::composeFontFamily, [](const QVariant& family) {
        // Aliases such as "Serif" are listed only.
        return family.toString().isEmpty() || QFontDatabase::families().contains(family.toString());
    });
    m_textSizes = std::make_unique<TextSizeCommands>(m_model->defaults());
    // The looks come first: widgets take their icons from them.
    followAppearance();
    m_window = std::make_unique<ContentView>(*m_model);
    spawn(PrivateBrowser::removeLeftovers(PrivateBrowser::systemSetting()), dropFailure);
    LoaderPages::release();
}

QStringList Application::arguments() const
{
    QStringList arguments = QApplication::arguments().mid(1);
    // Where a redirect stood, nothing stands any more.
    arguments.removeAll(QString());
    arguments.removeAll(busOption());
    return arguments + m_preparation.redirects;
}

void Application::followAppearance()
{
    Style& style = Style::shared();
    m_appearance.takeAnswers();
    // Without a portal the palette of the start decides for good: ours lies over it from then on, and Qt
    // tells of no other.
    const QPalette desktop = QApplication::palette();
    const bool isPaletteDark =
        desktop.color(QPalette::Window).lightness() < desktop.color(QPalette::WindowText).lightness();
    const auto take = [this, &style, isPaletteDark] {
        style.setScheme(schemeOf(m_appearance, isPaletteDark));
        style.setHighContrast(m_appearance.wantsHighContrast());
        style.setAccent(accentOf(m_appearance, m_model->accentAtStart()));
    };
    take();
    style.setTextSize(m_model->defaults().real(DefaultsKey::textSize));
    style.applyToApplication();
    QObject::connect(&m_appearance, &DesktopAppearance::changed, &style, take);
    QObject::connect(&m_model->defaults(), &UserDefaults::changed, &style,
                     [this, &style](const QString& key) {
                         if (key == DefaultsKey::textSize)
                             style.setTextSize(m_model->defaults().real(DefaultsKey::textSize));
                     });
}

bool Application::take(QStringList arguments)
{
    const QList<MailtoURL> messages = MailtoURL::takeFrom(arguments);
    bool areOpen = !messages.isEmpty();
    // A start for an address alone has the main window as well, which opens the keyring and keeps the program
    // running; the compose window is in front of it.
    if (areOpen)
        m_window->show();
    for (const MailtoURL& message : messages)
        areOpen = m_model->newMessageFor(message) && areOpen;
    // Without an account there is none.
    if (areOpen && arguments.isEmpty())
        return false;
    return Redirects::deliver(arguments, Info::ofProgram(), m_authenticator);
}

void Application::raiseWindow()
{
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void Application::restart()
{
    // As with quitting, the user is asked about what is being written, and may stay.
    m_window->composeWindows().confirmQuit(m_window.get(), [this] {
        m_relaunch = Relaunch::ofProgram();
        m_window->quit();
    });
}

int Application::run()
{
    if (m_role == SingleInstance::Role::refused)
        QTextStream(stderr) << "Larkhaven is running already, and doesn't answer." << Qt::endl;
    if (!isFirst())
        return m_role == SingleInstance::Role::refused ? 1 : 0;
    QObject::connect(&m_instance, &SingleInstance::activated, m_window.get(),
                     [this](const QStringList& arguments) {
                         if (take(arguments))
                             raiseWindow();
                     });
    QObject::connect(m_window.get(), &ContentView::quitApproved, &m_application, &QApplication::quit,
                     Qt::QueuedConnection);
    QObject::connect(m_model.get(), &AppModel::restartWanted, m_window.get(), [this] { restart(); });
    if (QApplication::arguments().contains(busOption())) {
        QTimer::singleShot(busPatience, m_window.get(), [this] {
            if (!m_window->isVisible())
                QApplication::quit();
        });
    } else {
        m_window->show();
        take(arguments());
    }
    return QApplication::exec();
}

} // namespace Larkhaven
