#include "format/AddressConstructs.h"

namespace Larkhaven::AddressConstructs {

std::optional<qsizetype> endOfQuotedString(QStringView text, qsizetype start)
{
    for (qsizetype index = start + 1; index < text.size(); ++index) {
        if (text[index] == u'\\')
            ++index;
        else if (text[index] == u'"')
            return index + 1;
    }
    return std::nullopt;
}

std::optional<qsizetype> endOfComment(QStringView text, qsizetype start)
{
    qsizetype depth = 0;
    for (qsizetype index = start; index < text.size(); ++index) {
        if (text[index] == u'\\')
            ++index;
        else if (text[index] == u'(')
            ++depth;
        else if (text[index] == u')' && --depth == 0)
            return index + 1;
    }
    return std::nullopt;
}

QString contentOf(QStringView construct)
{
    const QStringView inner = construct.sliced(1).chopped(1);
    QString content;
    content.reserve(inner.size());
    for (qsizetype index = 0; index < inner.size(); ++index) {
        if (inner[index] == u'\\' && index + 1 < inner.size())
            ++index;
        content += inner[index];
    }
    return content;
}

} // namespace Larkhaven::AddressConstructs
