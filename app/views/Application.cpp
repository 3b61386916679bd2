#include "views/Application.h"

#include "views/SecureMessageView.h"
#include "views/Style.h"

#include <QFileInfo>
#include <QTextStream>

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

} // namespace

Application::Preparation::Preparation()
{
    SecureMessageView::registerScheme();
    QApplication::setApplicationName(u"Larkhaven"_s);
    QApplication::setDesktopFileName(AppModel::bundleIdentifier());
}

Application::Application(int& argc, char** argv)
    : m_application(argc, argv)
    , m_instance(QFileInfo(UserDefaults::defaultFile()).path())
    , m_role(m_instance.enter(QApplication::arguments().mid(1)))
{
    if (!isFirst())
        return;
    m_model = std::make_unique<AppModel>(AppModel::systemServices());
    // The looks come first: widgets take their icons from them.
    followAppearance();
    m_window = std::make_unique<ContentView>(*m_model);
}

void Application::followAppearance()
{
    Style& style = Style::shared();
    const QPalette desktop = QApplication::palette();
    const bool isPaletteDark =
        desktop.color(QPalette::Window).lightness() < desktop.color(QPalette::WindowText).lightness();
    const auto take = [this, &style, isPaletteDark] {
        style.setScheme(schemeOf(m_appearance, isPaletteDark));
        style.setHighContrast(m_appearance.wantsHighContrast());
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

void Application::raiseWindow()
{
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

int Application::run()
{
    if (m_role == SingleInstance::Role::refused)
        QTextStream(stderr) << "Larkhaven is running already, and doesn't answer." << Qt::endl;
    if (!isFirst())
        return m_role == SingleInstance::Role::later ? 0 : 1;
    QObject::connect(&m_instance, &SingleInstance::activated, m_window.get(), [this] { raiseWindow(); });
    QObject::connect(m_window.get(), &ContentView::quitApproved, &m_application, &QApplication::quit,
                     Qt::QueuedConnection);
    m_window->show();
    return QApplication::exec();
}

} // namespace Larkhaven
