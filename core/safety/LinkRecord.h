#pragma once

#include "safety/MailURL.h"

#include <QString>
#include <QStringList>

namespace Larkhaven {

/// One link of a message.
struct LinkRecord {
    MailURL url;  ///< the real destination
    QString text; ///< what the message shows for it, as it stands in the source

    /// How the text may be read on the page: with blanks where blocks part it, with what seems hidden and
    /// without. Empty where that is the text as it stands.
    QStringList readings = {};

    bool operator==(const LinkRecord&) const = default;
};

} // namespace Larkhaven

Q_DECLARE_TYPEINFO(Larkhaven::LinkRecord, Q_RELOCATABLE_TYPE);
