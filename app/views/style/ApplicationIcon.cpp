#include "views/style/ApplicationIcon.h"

using namespace Qt::StringLiterals;

/// Linked in by name: nothing else refers to a resource of a static library. (Qt wants it outside
/// namespaces.)
static void initializeApplicationIcon()
{
    Q_INIT_RESOURCE(ApplicationIcon);
}

namespace Larkhaven {

QIcon applicationIcon()
{
    initializeApplicationIcon();
    return QIcon(u":/larkhaven/icon.svg"_s);
}

} // namespace Larkhaven
