#include "AccessibleTree.h"

#include "support/WaitUntil.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {

namespace {

/// What is operated or read; without a name nobody knows what it is.
const QSet<QString> namedRoles{u"alert"_s,         u"button"_s,
                               u"check box"_s,     u"check menu item"_s,
                               u"column header"_s, u"combo box"_s,
                               u"dialog"_s,        u"document frame"_s,
                               u"document web"_s,  u"entry"_s,
                               u"frame"_s,         u"heading"_s,
                               u"icon"_s,          u"image"_s,
                               u"label"_s,         u"link"_s,
                               u"list"_s,          u"list box"_s,
                               u"list item"_s,     u"menu"_s,
                               u"menu item"_s,     u"page tab"_s,
                               u"page tab list"_s, u"password text"_s,
                               u"progress bar"_s,  u"push button"_s,
                               u"radio button"_s,  u"radio menu item"_s,
                               u"scroll bar"_s,    u"slider"_s,
                               u"spin button"_s,   u"static"_s,
                               u"table"_s,         u"table column header"_s,
                               u"text"_s,          u"toggle button"_s,
                               u"tool tip"_s,      u"tree"_s,
                               u"tree item"_s,     u"tree table"_s,
                               u"window"_s};

/// What a user tells apart by name alone.
const QSet<QString> operatedRoles{u"button"_s,      u"check box"_s,     u"combo box"_s,
                                  u"entry"_s,       u"password text"_s, u"push button"_s,
                                  u"spin button"_s, u"text"_s,          u"toggle button"_s};

const QSet<QString> windowRoles{u"alert"_s, u"dialog"_s, u"frame"_s, u"popup menu"_s, u"window"_s};

/// What may be empty: a cell that has nothing to say, and lines between items.
const QSet<QString> silentRoles{u"separator"_s, u"table cell"_s, u"menu bar"_s, u"popup menu"_s};

/// What Qt puts into its own widgets, and nobody can take out: the corner of a table, the area of a text.
bool isOfQt(const AccessibleNode& node, const QString& parentRole)
{
    return (node.role == u"panel" && parentRole == u"table") ||
           (node.role == u"filler" && parentRole == u"text");
}

QString lineOf(const AccessibleNode& node)
{
    QString line = QString(2 * node.depth, u' ') + u'[' + node.role + u"] "_s + node.name;
    if (!node.description.isEmpty())
        line += u" ("_s + node.description + u')';
    if (node.is("focusable"))
        line += u" focusable"_s;
    return line;
}

} // namespace

QList<AccessibleNode> accessibleTree()
{
    QProcess walker;
    walker.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    walker.start(QStringLiteral(LARKHAVEN_PYTHON),
                 {QStringLiteral(ACCESSIBLE_TREE), QString::number(QCoreApplication::applicationPid())});
    constexpr auto patience = 60s;
    if (!waitUntil([&walker] { return walker.state() == QProcess::NotRunning; }, patience) ||
        walker.exitCode() != 0)
        throw std::runtime_error("the accessibility bus gave no answer");
    const QJsonArray objects = QJsonDocument::fromJson(walker.readAllStandardOutput()).array();
    QList<AccessibleNode> tree;
    for (const QJsonValue& value : objects) {
        const QJsonObject object = value.toObject();
        AccessibleNode node;
        node.depth = object[u"depth"].toInt();
        node.role = object[u"role"].toString();
        node.name = object[u"name"].toString();
        node.description = object[u"description"].toString();
        node.children = object[u"children"].toInt();
        for (const QJsonValue& state : object[u"states"].toArray())
            node.states.append(state.toString());
        tree.append(node);
    }
    if (tree.isEmpty())
        throw std::runtime_error("no window is on the accessibility bus");
    return tree;
}

QStringList accessibilityFaults(const QList<AccessibleNode>& tree)
{
    QStringList faults;
    QSet<QString> names;
    QStringList roles; ///< of the node and of those around it
    for (const AccessibleNode& node : tree) {
        if (node.depth == 0) {
            names.clear();
            if (!windowRoles.contains(node.role))
                faults.append(u"a window that says it is none: "_s + lineOf(node));
        }
        roles.resize(node.depth);
        const QString parentRole = roles.value(node.depth - 1);
        roles.append(node.role);
        if (isOfQt(node, parentRole))
            continue;
        const QString name = node.name.trimmed();
        const bool mustSpeak = namedRoles.contains(node.role) || node.is("focusable");
        if (name.isEmpty() && !silentRoles.contains(node.role) && (mustSpeak || node.children == 0))
            faults.append(u"without a name: %1 in [%2]"_s.arg(lineOf(node).trimmed(), parentRole));
        if (!operatedRoles.contains(node.role) || name.isEmpty())
            continue;
        if (name.contains(u"Ctrl+"_s) || name.contains(u"Shift+"_s))
            faults.append(u"a name that holds a chord: "_s + name);
        if (name.endsWith(u':'))
            faults.append(u"a name that ends as a caption: "_s + name);
        const QString key = node.role + u'/' + name;
        if (names.contains(key))
            faults.append(u"twice in a window: "_s + lineOf(node).trimmed());
        names.insert(key);
    }
    return faults;
}

QString described(const QList<AccessibleNode>& tree)
{
    QStringList lines;
    for (const AccessibleNode& node : tree)
        lines.append(lineOf(node));
    return lines.join(u'\n');
}

} // namespace Larkhaven
