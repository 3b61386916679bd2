#include "protocols/IMAPArg.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

IMAPArg IMAPArg::quoted(const QString& plain)
{
    const bool isPrintable =
        std::ranges::all_of(plain, [](QChar character) { return character >= u' ' && character <= u'~'; });
    if (!isPrintable)
        return literal(plain.toUtf8());
    QString escaped = plain;
    escaped.replace(u'\\', u"\\\\"_s).replace(u'"', u"\\\""_s);
    return text(u'"' + escaped + u'"');
}

QString uidSet(QList<qint64> uids)
{
    std::ranges::sort(uids);
    uids.erase(std::unique(uids.begin(), uids.end()), uids.end());
    QStringList items;
    for (auto first = uids.cbegin(); first != uids.cend();) {
        auto last = first;
        while (last + 1 != uids.cend() && *(last + 1) == *last + 1)
            ++last;
        items.append(first == last ? QString::number(*first) : u"%1:%2"_s.arg(*first).arg(*last));
        first = last + 1;
    }
    return items.join(u',');
}

} // namespace Larkhaven
