#include "format/QuotedString.h"

namespace Larkhaven {

QString unquoted(QStringView text)
{
    if (text.size() < 2 || !text.startsWith(u'"') || !text.endsWith(u'"'))
        return text.toString();
    const QStringView content = text.sliced(1, text.size() - 2);
    if (!content.contains(u'\\'))
        return content.toString();
    QString result;
    result.reserve(content.size());
    for (qsizetype index = 0; index < content.size(); ++index) {
        const bool isEscape =
            content[index] == u'\\' && index + 1 < content.size() && content[index + 1] == u'"';
        if (isEscape)
            ++index;
        result += content[index];
    }
    return result;
}

} // namespace Larkhaven
