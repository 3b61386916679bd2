#include "support/FieldMask.h"

#include <QJsonArray>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace Larkhaven {

class FieldMask::Reader {
public:
    explicit Reader(const QString& text)
        : m_text(text)
    {}

    /// list = field *("," field)
    bool readList(FieldMask& mask)
    {
        do {
            if (!readField(mask))
                return false;
        } while (take(u','));
        return true;
    }

    bool isAtEnd() const { return m_at == m_text.size(); }

private:
    /// field = name ["/" field / "(" list ")"]
    bool readField(FieldMask& mask)
    {
        const qsizetype start = m_at;
        while (m_at < m_text.size() && (m_text[m_at].isLetterOrNumber() || m_text[m_at] == u'*'))
            ++m_at;
        if (m_at == start)
            return false;
        FieldMask& child = mask.m_children[m_text.sliced(start, m_at - start)];
        if (take(u'/'))
            return readField(child);
        return !take(u'(') || (readList(child) && take(u')'));
    }

    bool take(QChar unit)
    {
        if (isAtEnd() || m_text[m_at] != unit)
            return false;
        ++m_at;
        return true;
    }

    const QString& m_text;
    qsizetype m_at = 0;
};

std::optional<FieldMask> FieldMask::parse(const QString& text)
{
    FieldMask mask;
    Reader reader(text);
    if (!reader.readList(mask) || !reader.isAtEnd())
        return std::nullopt;
    return mask;
}

QJsonValue FieldMask::applied(const QJsonValue& value) const
{
    if (m_children.isEmpty() || m_children.contains(u"*"_s))
        return value;
    if (value.isArray()) {
        QJsonArray kept;
        for (const QJsonValue& entry : value.toArray())
            kept.append(applied(entry));
        return kept;
    }
    QJsonObject kept;
    const QJsonObject object = value.toObject();
    for (const auto& [name, child] : m_children.asKeyValueRange()) {
        if (object.contains(name))
            kept.insert(name, child.applied(object.value(name)));
    }
    return kept;
}

} // namespace Larkhaven
