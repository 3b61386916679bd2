#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <array>
#include <optional>

namespace Larkhaven {

/// The words of one language around a text that is forwarded: a line that says so, then the fields of the
/// message, a line each, and an empty line. Who writes a forward and who sets one apart take them from here.
///
/// Pure, from any thread.
struct ForwardWords {
    enum class Field { from, date, subject, to, cc };
    static constexpr int fieldCount = 5;

    QString line; ///< without its end
    std::array<QString, fieldCount> labels;

    /// In the language of the user.
    static ForwardWords ofUser();
    /// The user's first, then those of the other languages that the program writes: what one of them wrote is
    /// read in another.
    static QList<ForwardWords> known();

    /// A field as a line, without its end. The value is one line.
    QString written(Field field, const QString& value) const;

    struct Read {
        Field field;
        QStringView value; ///< of the line, trimmed
    };
    /// The field that a line is; nothing where it is none.
    std::optional<Read> read(QStringView text) const;
};

} // namespace Larkhaven
