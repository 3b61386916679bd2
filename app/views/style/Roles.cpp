#include "views/style/Roles.h"

#include <QPalette>
#include <QStyle>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// As the sheet spells it.
QString nameOf(Role role)
{
    switch (role) {
    case Role::secondary:
        return u"secondary"_s;
    case Role::caption:
        return u"caption"_s;
    case Role::strong:
        return u"strong"_s;
    case Role::subhead:
        return u"subhead"_s;
    case Role::title:
        return u"title"_s;
    case Role::code:
        return u"code"_s;
    case Role::surface:
        return u"surface"_s;
    case Role::warning:
        return u"warning"_s;
    case Role::notice:
        return u"notice"_s;
    case Role::danger:
        return u"danger"_s;
    case Role::quiet:
        return u"quiet"_s;
    case Role::field:
        return u"field"_s;
    case Role::value:
        return u"value"_s;
    case Role::dangerValue:
        return u"dangerValue"_s;
    case Role::row:
        return u"row"_s;
    case Role::panes:
        return u"panes"_s;
    case Role::suggestions:
        return u"suggestions"_s;
    }
    Q_UNREACHABLE();
}

} // namespace

void setRole(QWidget& widget, Role role)
{
    constexpr const char* property = "role";
    const QString name = nameOf(role);
    if (widget.property(property) == name)
        return;
    widget.setProperty(property, name);
    if (role == Role::surface) {
        // A sheet would paint over what a widget of our own paints.
        widget.setBackgroundRole(QPalette::Base);
        widget.setAutoFillBackground(true);
    }
    // Once a sheet has been read for a widget, it isn't read again by itself.
    if (widget.testAttribute(Qt::WA_WState_Polished)) {
        widget.style()->unpolish(&widget);
        widget.style()->polish(&widget);
    }
}

} // namespace Larkhaven
