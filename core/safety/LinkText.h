#pragma once

#include "safety/LinkRecord.h"

#include <QString>
#include <QStringView>

namespace Larkhaven::HTMLSanitizer {

/// The text of a link, and how else it may be read.
class LinkText {
public:
    void add(QStringView text, bool isHidden);

    /// A block begins or ends here.
    void part();

    /// Gives the link its text and readings, and begins again without text.
    void moveTo(LinkRecord& link);

private:
    void tellApart();

    QString m_text;
    QString m_decoded;
    QString m_parted;           ///< with blanks between blocks
    QString m_seen;             ///< likewise, and without what is hidden
    bool m_hasReadings = false; ///< whether the two may be another text
};

} // namespace Larkhaven::HTMLSanitizer
