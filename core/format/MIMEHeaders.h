#pragma once

#include "domain/Message.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

namespace Larkhaven {

/// The header fields of a message or of a MIME entity (RFC 5322, 2.2), in their order. A name may occur more
/// than once.
struct MIMEHeaders {
    struct Field {
        QString name;  ///< as written
        QString value; ///< unfolded, encoded words as they stand

        bool operator==(const Field&) const = default;
    };
    QList<Field> fields;

    /// The raw value of the first field of that name, in whatever case; absent if there is none.
    std::optional<QString> value(QStringView name) const;
    /// The raw values of all fields of that name.
    QList<QString> values(QStringView name) const;
    /// `value` with its encoded words decoded.
    std::optional<QString> decoded(QStringView name) const;

    /// Decoded; empty if there is none.
    QString subject() const;
    /// The addresses of the field; empty if there is none.
    ///
    /// NB: encoded words are decoded before the list is cut, so a comma that comes out of one cuts too. Whom
    /// a message is really from, `SenderReader` reads.
    QList<EmailAddress> from() const;
    QList<EmailAddress> to() const;
    QList<EmailAddress> cc() const;
    QList<EmailAddress> replyTo() const;
    /// In UTC; absent if there is none that can be read.
    std::optional<QDateTime> date() const;
    /// With its angle brackets.
    std::optional<QString> messageID() const;
    /// The message identifiers of References, with their angle brackets, at most the first `maxReferences`.
    QList<QString> references() const;

    static constexpr qsizetype maxReferences = 1'000'000;

    bool operator==(const MIMEHeaders&) const = default;
};

} // namespace Larkhaven
