#include "safety/StyleVariables.h"

#include "safety/CSSValues.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

using CSSValues::endBefore;

/// Where the next `var(` or `env(` stands, and its bracket; -1 for none.
std::pair<qsizetype, qsizetype> nextReference(QStringView value)
{
    for (qsizetype bracket = value.indexOf(u'('); bracket >= 0; bracket = value.indexOf(u'(', bracket + 1)) {
        constexpr qsizetype length = 3;
        const QStringView name = bracket < length ? QStringView() : value.sliced(bracket - length, length);
        if (name.compare("var"_L1, Qt::CaseInsensitive) == 0 ||
            name.compare("env"_L1, Qt::CaseInsensitive) == 0)
            return {bracket - length, bracket};
    }
    return {-1, -1};
}

bool isSame(QStringView value, QLatin1StringView word)
{
    return value.trimmed().compare(word, Qt::CaseInsensitive) == 0;
}

bool isForAll(QStringView value)
{
    constexpr std::array words{"inherit"_L1, "initial"_L1, "unset"_L1, "revert"_L1};
    return std::ranges::any_of(words, [value](QLatin1StringView word) { return isSame(value, word); });
}

/// Resolves the references of values, within the bounds of one element.
class References {
public:
    References(const QHash<QString, QString>& own, const QHash<QString, QString>& around)
        : m_own(own)
        , m_around(around)
    {}

    std::optional<QString> resolved(QStringView value, int depth = 0)
    {
        if (depth > mostDepth)
            return std::nullopt;
        QString result;
        for (;;) {
            const auto [start, bracket] = nextReference(value);
            if (start < 0) {
                result += value;
                return result.size() <= StyleVariables::longestValue ? std::optional(result) : std::nullopt;
            }
            result += value.first(start);
            const bool isVariable = value.sliced(start).startsWith("var"_L1, Qt::CaseInsensitive);
            const QStringView behind = value.sliced(bracket + 1);
            const qsizetype end = endBefore(behind, 0, u")");
            const std::optional<QString> found = target(behind.first(end), isVariable, depth);
            if (!found || result.size() + found->size() > StyleVariables::longestValue)
                return std::nullopt;
            result += *found;
            value = behind.sliced(std::min(end + 1, behind.size()));
        }
    }

private:
    static constexpr int mostDepth = 16;

    std::optional<QString> target(QStringView reference, bool isVariable, int depth)
    {
        if (++m_count > StyleVariables::mostReferences)
            return std::nullopt;
        const qsizetype comma = endBefore(reference, 0, u",");
        const QString name = reference.first(comma).trimmed().toString();
        if (isVariable) {
            if (const auto own = m_own.constFind(name); own != m_own.cend()) {
                if (const std::optional<QString> value = resolved(*own, depth + 1))
                    return value;
            } else if (const auto around = m_around.constFind(name); around != m_around.cend()) {
                return *around;
            }
        }
        return comma < reference.size() ? resolved(reference.sliced(comma + 1), depth + 1) : std::nullopt;
    }

    const QHash<QString, QString>& m_own;
    const QHash<QString, QString>& m_around;
    int m_count = 0;
};

} // namespace

bool StyleVariables::hasReference(QStringView value)
{
    return nextReference(value).first >= 0;
}

std::optional<QString> StyleVariables::resolved(QStringView value) const
{
    const QHash<QString, QString> none;
    return References(none, m_values).resolved(value);
}

StyleVariables StyleVariables::within(const QHash<QString, QString>& declared) const
{
    if (declared.isEmpty())
        return *this;
    StyleVariables inner = *this;
    References references(declared, m_values);
    for (auto one = declared.cbegin(); one != declared.cend(); ++one) {
        const std::optional<QString> value = isForAll(*one) ? std::nullopt : references.resolved(*one);
        if (value && (inner.m_values.size() < mostVariables || inner.m_values.contains(one.key())))
            inner.m_values.insert(one.key(), *value);
        else if (isSame(*one, "initial"_L1) || !isForAll(*one))
            inner.m_values.remove(one.key());
    }
    return inner;
}

} // namespace Larkhaven
