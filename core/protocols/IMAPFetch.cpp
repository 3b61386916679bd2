#include "protocols/IMAPFetch.h"

#include "domain/Text.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QList<QString> texts(const QList<IMAPValue>* list)
{
    QList<QString> result;
    for (const IMAPValue& value : list ? *list : QList<IMAPValue>()) {
        if (const std::optional<QString> text = value.text())
            result.append(*text);
    }
    return result;
}

} // namespace

IMAPFetch::IMAPFetch(const QList<IMAPValue>& list)
{
    bool hasBody = false;
    for (qsizetype index = 0; index + 1 < list.size(); index += 2) {
        const QString name = Text::asciiUppered(list[index].text().value_or(QString()));
        const IMAPValue& value = list[index + 1];
        if (name == "UID"_L1) {
            uid = value.integer();
        } else if (name == "FLAGS"_L1) {
            flags = texts(value.list());
            hasFlags = true;
        } else if (name == "INTERNALDATE"_L1) {
            internalDate = value.text();
        } else {
            items.insert(name, value);
            if (!hasBody && name.startsWith("BODY["_L1)) {
                hasBody = true;
                body = value.data();
            }
        }
    }
}

} // namespace Larkhaven
