#include "app/platform/BrowserCommand.h"

#include "domain/Text.h"
#include "platform/RegularFile.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

using Family = BrowserCommand::Family;

struct Known {
    QLatin1StringView name; ///< of the program, or what stands before a "-" in it
    Family family;
};
constexpr std::array knownBrowsers{
    Known{"firefox"_L1, Family::firefox},
    Known{"librewolf"_L1, Family::firefox},
    Known{"waterfox"_L1, Family::firefox},
    Known{"icecat"_L1, Family::firefox},
    Known{"iceweasel"_L1, Family::firefox},
    Known{"floorp"_L1, Family::firefox},
    Known{"abrowser"_L1, Family::firefox},
    Known{"chromium"_L1, Family::chromium},
    Known{"ungoogled-chromium"_L1, Family::chromium},
    Known{"google-chrome"_L1, Family::chromium},
    Known{"chrome"_L1, Family::chromium},
    Known{"brave"_L1, Family::chromium},
    Known{"vivaldi"_L1, Family::chromium},
    Known{"microsoft-edge"_L1, Family::edge},
};

/// Stands where an address will be put in, and in no command line.
const QString& urlMark()
{
    static const QString mark(QChar(u'\uFDD0'));
    return mark;
}

Family familyOf(const QString& program)
{
    const QString name = QFileInfo(program).fileName();
    for (const Known& known : knownBrowsers) {
        if (name == known.name || name.startsWith(known.name + u'-'))
            return known.family;
    }
    return Family::other;
}

/// Whether the file is a script that starts a program behind walls, as some systems have in place of
/// browsers.
bool isScriptForWalls(const QString& path)
{
    constexpr qint64 longestScript = 65'536;
    QFile file;
    if (!RegularFile::open(file, path))
        return false;
    const QByteArray start = file.read(longestScript);
    return start.startsWith("#!") && (start.contains("/snap/") || start.contains("flatpak run"));
}

/// Whether the program only starts another one behind walls, where our folders aren't.
bool isBehindWalls(const QString& program)
{
    const QFileInfo file(program);
    const QString real = file.canonicalFilePath();
    const QString name = QFileInfo(real).fileName();
    return isScriptForWalls(real) || name == "snap"_L1 || name == "flatpak"_L1 ||
           file.fileName() == "flatpak"_L1 ||
           std::ranges::any_of(QStringList{file.absoluteFilePath(), real}, [](const QString& path) {
               return path.startsWith("/snap/"_L1) || path.startsWith("/var/lib/snapd/"_L1) ||
                      path.contains("/flatpak/exports/"_L1);
           });
}

/// How many arguments stand up to the program itself and with it: "env" and what it sets may come before.
qsizetype programEnd(const QStringList& line)
{
    qsizetype place = 0;
    if (QFileInfo(line.first()).fileName() == "env"_L1) {
        ++place;
        while (place < line.size() && line[place].contains(u'='))
            ++place;
    }
    return place + 1;
}

/// Whether the name of an action means a private window, in the words of any browser.
bool isPrivateWindow(const QString& action)
{
    const QString name = Text::asciiLowered(action);
    const bool isPrivate =
        std::ranges::any_of(std::array{"private"_L1, "incognito"_L1},
                            [&name](QLatin1StringView word) { return name.contains(word); });
    // Onion routing is another thing, which sign-in pages refuse.
    return isPrivate && !name.endsWith("tor"_L1);
}

std::optional<BrowserCommand> byAction(const DesktopEntry& application, const DesktopFolders& folders)
{
    for (const DesktopEntry::Action& action : application.actions) {
        if (!isPrivateWindow(action.id))
            continue;
        std::optional<QStringList> line = DesktopEntry::commandLine(action.exec, urlMark());
        if (!line || folders.program(line->first()).isEmpty())
            continue;
        // An action that is made for an empty window takes an address all the same.
        if (!DesktopEntry::takesURL(action.exec))
            line->append(urlMark());
        return BrowserCommand{Family::other, *line};
    }
    return std::nullopt;
}

} // namespace

std::optional<BrowserCommand> BrowserCommand::of(const DesktopEntry& application,
                                                 const DesktopFolders& folders)
{
    const std::optional<QStringList> line = DesktopEntry::commandLine(application.exec, QString());
    if (!line)
        return std::nullopt;
    const QStringList start = line->first(std::min(programEnd(*line), line->size()));
    const QString program = folders.program(start.last());
    const Family family = familyOf(start.last());
    if (family == Family::other || program.isEmpty() || isBehindWalls(program))
        return byAction(application, folders);
    return BrowserCommand{family, start};
}

std::optional<BrowserCommand> BrowserCommand::ofDefaultBrowser(const DesktopFolders& folders)
{
    QList<DesktopEntry> candidates = folders.applications(u"x-scheme-handler/https"_s);
    if (candidates.isEmpty()) {
        // "x-www-browser" is a link that leads to the browser, whose own name tells the family.
        const QString alternative = QFileInfo(folders.program(u"x-www-browser"_s)).canonicalFilePath();
        for (const QString& name : {folders.preferredBrowser, alternative}) {
            if (!name.isEmpty())
                candidates.append(DesktopEntry{name, {}, {}});
        }
    }
    for (const DesktopEntry& candidate : std::as_const(candidates)) {
        if (const std::optional<BrowserCommand> command = of(candidate, folders))
            return command;
    }
    return std::nullopt;
}

QStringList BrowserCommand::line(const QString& url, const QString& profile) const
{
    QStringList line = start;
    switch (family) {
    case Family::firefox:
        return line << u"--no-remote"_s << u"--profile"_s << profile << u"--private-window"_s << url;
    case Family::chromium:
    case Family::edge:
        return line << u"--user-data-dir="_s + profile
                    << (family == Family::edge ? u"--inprivate"_s : u"--incognito"_s) << u"--no-first-run"_s
                    << u"--no-default-browser-check"_s
                    // The keyring is asked for nothing by a browser that is thrown away.
                    << u"--password-store=basic"_s << url;
    case Family::other:
        break;
    }
    return line.replaceInStrings(urlMark(), url);
}

} // namespace Larkhaven
