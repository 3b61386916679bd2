#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace Larkhaven {

/// An application as its desktop entry describes it (Desktop Entry Specification 1.5): what is needed to
/// start it. A value; its functions are pure, and linear in what they read.
struct DesktopEntry {
    /// Something else that the application can be started for.
    struct Action {
        QString id;
        QString exec;

        bool operator==(const Action&) const = default;
    };

    /// The largest file that is taken for an entry, in bytes. Those of browsers with all languages have 40
    /// kB.
    static constexpr qint64 largestFile = 1'048'576;

    QString exec;          ///< the command line, with quotes and field codes
    QString tryExec;       ///< what must be there for the application to be; empty where nothing must
    QList<Action> actions; ///< those that can be started, in the order of the entry

    /// Absent where the bytes describe no application, one that is marked as removed, or one without a
    /// command.
    static std::optional<DesktopEntry> parse(const QByteArray& bytes);

    /// The program and its arguments. `url` stands where the field codes for files and addresses stand, and
    /// nothing in the place of the other codes. Absent where the command can't be read, or names no program.
    static std::optional<QStringList> commandLine(const QString& exec, const QString& url);
    /// Whether `commandLine` has a place for the address.
    static bool takesURL(const QString& exec);

    bool operator==(const DesktopEntry&) const = default;
};

} // namespace Larkhaven
