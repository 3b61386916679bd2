#pragma once

#include "format/MIMEHeaders.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace Larkhaven {

/// Writes the fields of recipients of one draft, within the bounds of `DraftGate`, and notes whom it leaves
/// out and why.
class RecipientFields {
public:
    /// The addresses for a field that the user edits. One that would not be the same address when it is read
    /// again is left out, and named in `notices`.
    QString written(const QList<EmailAddress>& addresses);
    /// The text of a header field of a stored draft for the field, in the order of the header: what can't be
    /// read stays as it stands. `unread` is what the draft keeps beside that.
    QString resumed(const QString& header, const QString& unread);
    /// The text that a link or a command brings, as it stands but for what is beyond the bounds.
    QString given(const QString& text);

    /// What the window is to say.
    QStringList notices() const;
    /// Whether nobody and nothing was left out.
    bool isWhole() const { return m_refused.isEmpty() && m_tooMany == 0 && !m_hasCutNames; }

    /// The addresses of a field of a received message, all of them, however long its list is: those that it
    /// holds before anything is decoded.
    static QList<EmailAddress> addresses(const MIMEHeaders& headers, QStringView name);

private:
    /// Whether there is room for one more piece; notes where there isn't.
    bool takesRoom(const QString& piece);
    QString addressText(const EmailAddress& address);

    QStringList m_refused;
    qsizetype m_refusedBeyond = 0; ///< those that aren't named
    qsizetype m_tooMany = 0;
    qsizetype m_count = 0;
    qsizetype m_effort = 0;
    bool m_hasCutNames = false;
};

} // namespace Larkhaven
