#include "app/platform/DesktopFolders.h"

#include "domain/Text.h"
#include "platform/RegularFile.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The folders of a variable, in order; relative ones don't count.
QStringList folders(const char* variable, const QString& otherwise)
{
    const QString value = qEnvironmentVariable(variable);
    QStringList list = (value.isEmpty() ? otherwise : value).split(u':', Qt::SkipEmptyParts);
    list.removeIf([](const QString& folder) { return !QDir::isAbsolutePath(folder); });
    return list;
}

/// What a file holds, up to its bound; nothing of one that is larger, or that isn't there.
QByteArray contents(const QString& path, qint64 largest)
{
    // Many of these are links, as in the profiles of Nix or in the folders of Flatpak.
    QFile file;
    if (!RegularFile::open(file, QFileInfo(path).canonicalFilePath()) || file.size() > largest)
        return {};
    return file.read(largest);
}

/// The entries of a list, without the blanks that someone may have written around them.
QStringList identifiers(const QString& list)
{
    QStringList entries;
    for (const QStringView entry : QStringView(list).split(u';')) {
        if (!entry.trimmed().isEmpty())
            entries.append(entry.trimmed().toString());
    }
    return entries;
}

/// The identifiers that the group of the list names for the type.
QStringList named(const QByteArray& list, const QByteArray& group, const QString& type)
{
    const QByteArray key = type.toUtf8();
    bool isInGroup = false;
    for (const QByteArray& line : list.split('\n')) {
        const QByteArray content = line.trimmed();
        const qsizetype equals = (content + '=').indexOf('=');
        if (content.startsWith('['))
            isInGroup = content == group;
        else if (isInGroup && content.first(equals).trimmed() == key)
            return identifiers(QString::fromUtf8(content.mid(equals + 1)));
    }
    return {};
}

} // namespace

DesktopFolders DesktopFolders::ofEnvironment()
{
    const QString home = QDir::homePath();
    DesktopFolders made;
    made.config = folders("XDG_CONFIG_HOME", home + u"/.config"_s).mid(0, 1) +
                  folders("XDG_CONFIG_DIRS", u"/etc/xdg"_s);
    made.data = folders("XDG_DATA_HOME", home + u"/.local/share"_s).mid(0, 1) +
                folders("XDG_DATA_DIRS", u"/usr/local/share:/usr/share"_s);
    made.desktops =
        Text::asciiLowered(qEnvironmentVariable("XDG_CURRENT_DESKTOP")).split(u':', Qt::SkipEmptyParts);
    made.searchPath = folders("PATH", u"/usr/local/bin:/usr/bin:/bin"_s);
    made.preferredBrowser = qEnvironmentVariable("BROWSER").section(u':', 0, 0);
    return made;
}

QList<DesktopEntry> DesktopFolders::applications(const QString& type) const
{
    QStringList places = config;
    for (const QString& folder : data)
        places.append(folder + u"/applications"_s);
    QStringList ids;
    for (const QString& place : std::as_const(places)) {
        for (const QString& desktop : desktops)
            ids += named(contents(u"%1/%2-mimeapps.list"_s.arg(place, desktop), largestList),
                         "[Default Applications]", type);
        ids += named(contents(place + u"/mimeapps.list"_s, largestList), "[Default Applications]", type);
    }
    const auto installed = [this](const QStringList& named) {
        QList<DesktopEntry> found;
        for (const QString& id : named.first(std::min(named.size(), mostApplications))) {
            if (const std::optional<DesktopEntry> application = entry(id))
                found.append(*application);
        }
        return found;
    };
    QList<DesktopEntry> chosen = installed(ids);
    if (!chosen.isEmpty())
        return chosen;
    QStringList able;
    for (const QString& folder : data)
        able +=
            named(contents(folder + u"/applications/mimeinfo.cache"_s, largestList), "[MIME Cache]", type);
    return installed(able);
}

std::optional<DesktopEntry> DesktopFolders::entry(const QString& id) const
{
    // It names a file within the folders of applications, in which a "-" may stand for a folder of its own.
    if (id.contains(u'/') || !id.endsWith(".desktop"_L1))
        return std::nullopt;
    for (const QString& folder : data) {
        QString name = id;
        for (qsizetype dash = -1;; name[dash] = u'/') {
            const QByteArray bytes =
                contents(u"%1/applications/%2"_s.arg(folder, name), DesktopEntry::largestFile);
            if (!bytes.isEmpty()) {
                // The first file counts: it may say that the application is removed.
                const std::optional<DesktopEntry> found = DesktopEntry::parse(bytes);
                const bool isThere =
                    found && (found->tryExec.isEmpty() || !program(found->tryExec).isEmpty());
                return isThere ? found : std::nullopt;
            }
            dash = name.indexOf(u'-', dash + 1);
            if (dash < 0)
                break;
        }
    }
    return std::nullopt;
}

QString DesktopFolders::program(const QString& name) const
{
    return name.isEmpty() ? QString() : QStandardPaths::findExecutable(name, searchPath);
}

} // namespace Larkhaven
