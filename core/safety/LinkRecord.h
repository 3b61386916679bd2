#pragma once

#include "safety/MailURL.h"

#include <QString>

namespace Larkhaven {

/// One link of a message.
struct LinkRecord {
    MailURL url;  ///< the real destination
    QString text; ///< what the message shows for it

    bool operator==(const LinkRecord&) const = default;
};

} // namespace Larkhaven
