#include "views/richtext/QuietDocument.h"

#include <QImage>

namespace Larkhaven {

QVariant QuietDocument::loadResource(int type, const QUrl&)
{
    if (type != ImageResource)
        return QString::fromLatin1("");
    QImage nothing(1, 1, QImage::Format_ARGB32_Premultiplied);
    nothing.fill(Qt::transparent);
    return nothing;
}

} // namespace Larkhaven
