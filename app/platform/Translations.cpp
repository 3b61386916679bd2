#include "app/platform/Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>

using namespace Qt::StringLiterals;

/// Linked in by name: nothing else refers to a resource of a static library. (Qt wants it outside
/// namespaces.)
static void initializeTranslations()
{
    Q_INIT_RESOURCE(Translations);
}

namespace Larkhaven {

Translations::Translations(const QLocale& locale)
{
    initializeTranslations();
    const QString folder = u":/translations"_s;
    if (!m_own.load(locale, u"larkhaven"_s, u"_"_s, folder))
        (void)m_own.load(u"larkhaven_en"_s, folder);
    QCoreApplication::installTranslator(&m_own);
    if (m_ofQt.load(u"qtbase_"_s + language(), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&m_ofQt);
}

} // namespace Larkhaven
