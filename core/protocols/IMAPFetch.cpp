#include "protocols/IMAPFetch.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr QLatin1StringView uidName("UID");
constexpr QLatin1StringView flagsName("FLAGS");
constexpr QLatin1StringView dateName("INTERNALDATE");

QList<QString> textsOf(const std::optional<IMAPValues>& list)
{
    QList<QString> result;
    for (const IMAPValue& value : list.value_or(IMAPValues())) {
        if (const std::optional<QString> text = value.text())
            result.append(*text);
    }
    return result;
}

bool isItem(const IMAPValue& name)
{
    return !name.isKeyword(uidName) && !name.isKeyword(flagsName) && !name.isKeyword(dateName);
}

/// A list and NIL have the empty name.
bool isNamed(const IMAPValue& value, QLatin1StringView name)
{
    return value.isKeyword(name) || (name.isEmpty() && (value.isList() || value.isNil()));
}

} // namespace

std::optional<IMAPValue> IMAPFetchItems::value(QLatin1StringView name) const
{
    for (qsizetype index = m_pairs.size() / 2 * 2 - 2; index >= 0; index -= 2) {
        if (isNamed(m_pairs[index], name) && isItem(m_pairs[index]))
            return m_pairs[index + 1];
    }
    return std::nullopt;
}

bool IMAPFetchItems::isEmpty() const
{
    for (qsizetype index = 0; index + 1 < m_pairs.size(); index += 2) {
        if (isItem(m_pairs[index]))
            return false;
    }
    return true;
}

IMAPFetch::IMAPFetch(const IMAPValues& list)
    : items(list)
{
    bool hasBody = false;
    for (qsizetype index = 0; index + 1 < list.size(); index += 2) {
        const IMAPValue name = list[index];
        if (name.isKeyword(uidName)) {
            uid = list[index + 1].integer();
        } else if (name.isKeyword(flagsName)) {
            flags = textsOf(list[index + 1].list());
            hasFlags = true;
        } else if (name.isKeyword(dateName)) {
            internalDate = list[index + 1].text();
        } else if (!hasBody && name.startsWithKeyword("BODY["_L1)) {
            hasBody = true;
            m_body = list[index + 1];
        }
    }
}

} // namespace Larkhaven
