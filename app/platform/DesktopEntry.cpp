#include "app/platform/DesktopEntry.h"

#include "domain/Text.h"

#include <QMap>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

using Group = QMap<QString, QString>;

/// A value without the escapes that every value may have.
QString unescaped(QStringView value)
{
    QString text;
    text.reserve(value.size());
    for (qsizetype place = 0; place < value.size(); ++place) {
        if (value[place] != u'\\' || place + 1 == value.size()) {
            text += value[place];
            continue;
        }
        constexpr QStringView marks(u"sntr\\");
        constexpr QStringView meanings(u" \n\t\r\\");
        const QChar next = value[++place];
        const qsizetype mark = marks.indexOf(next);
        if (mark >= 0)
            text += meanings[mark];
        else
            (text += u'\\') += next;
    }
    return text;
}

/// The keys of each group. The first line of a key counts; those in other languages aren't needed.
QMap<QString, Group> groups(const QByteArray& bytes)
{
    QMap<QString, Group> all;
    Group* group = nullptr;
    const QString text = Text::fromRepairedUTF8(bytes);
    for (const QStringView line : QStringView(text).split(u'\n')) {
        const QStringView content = Text::trimmedSpaceAndLineEnds(line);
        if (content.startsWith(u'[') && content.endsWith(u']')) {
            group = &all[content.sliced(1, content.size() - 2).toString()];
            continue;
        }
        const qsizetype equals = content.indexOf(u'=');
        if (!group || equals < 1 || content.startsWith(u'#'))
            continue;
        const QString key = Text::trimmedSpace(content.first(equals)).toString();
        if (!group->contains(key))
            group->insert(key, unescaped(Text::trimmedSpace(content.sliced(equals + 1))));
    }
    return all;
}

/// The arguments of a command line, with quotes taken off. Absent where a quote isn't closed.
std::optional<QStringList> split(QStringView exec)
{
    QStringList arguments;
    qsizetype place = 0;
    while (place < exec.size()) {
        if (exec[place] == u' ') {
            ++place;
            continue;
        }
        QString argument;
        const bool isQuoted = exec[place] == u'"';
        const QChar end = isQuoted ? u'"' : u' ';
        for (place += isQuoted ? 1 : 0; place < exec.size() && exec[place] != end; ++place) {
            if (isQuoted && exec[place] == u'\\' && place + 1 < exec.size())
                ++place;
            argument += exec[place];
        }
        if (isQuoted && place == exec.size())
            return std::nullopt;
        place += isQuoted ? 1 : 0;
        arguments.append(argument);
    }
    return arguments;
}

bool isURLCode(QChar code)
{
    return QStringView(u"uUfF").contains(code);
}

/// The argument with its field codes replaced; absent where nothing but codes without a meaning stood there.
std::optional<QString> expanded(const QString& argument, const QString& url)
{
    QString text;
    bool isCode = false;
    for (qsizetype place = 0; place < argument.size(); ++place) {
        if (argument[place] != u'%' || place + 1 == argument.size()) {
            text += argument[place];
            continue;
        }
        const QChar code = argument[++place];
        if (isURLCode(code))
            text += url;
        else if (code == u'%')
            text += u'%';
        else
            isCode = true;
    }
    return isCode && text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray& bytes)
{
    const QMap<QString, Group> all = groups(bytes);
    const Group entry = all.value(u"Desktop Entry"_s);
    if (entry.value(u"Type"_s) != "Application"_L1 || entry.value(u"Hidden"_s) == "true"_L1 ||
        entry.value(u"Exec"_s).isEmpty())
        return std::nullopt;
    DesktopEntry made{entry.value(u"Exec"_s), entry.value(u"TryExec"_s), {}};
    const QStringList names = entry.value(u"Actions"_s).split(u';', Qt::SkipEmptyParts);
    for (const QString& name : names) {
        const QString exec = all.value(u"Desktop Action %1"_s.arg(name)).value(u"Exec"_s);
        if (!exec.isEmpty())
            made.actions.append({name, exec});
    }
    return made;
}

std::optional<QStringList> DesktopEntry::commandLine(const QString& exec, const QString& url)
{
    const std::optional<QStringList> arguments = split(exec);
    if (!arguments)
        return std::nullopt;
    QStringList line;
    for (const QString& argument : *arguments) {
        if (const std::optional<QString> text = expanded(argument, url))
            line.append(*text);
    }
    if (line.isEmpty() || line.first().isEmpty())
        return std::nullopt;
    return line;
}

bool DesktopEntry::takesURL(const QString& exec)
{
    // Whatever the address is, it stands in the one line and not in the other.
    return commandLine(exec, u"a"_s) != commandLine(exec, u"b"_s);
}

} // namespace Larkhaven
