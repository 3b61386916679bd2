#include "safety/Bodies.h"
#include "safety/DocumentShell.h"
#include "safety/HTMLSanitizer.h"
#include "safety/LinkCleaner.h"

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

/// The scanner below finds what this pattern finds, ASCII letters in any case, in linear time:
///
///     (https?://[^\s<>"']+[^\s<>"'.,;:!?)\]])|(mailto:[^\s<>"']+)
class LinkScanner {
public:
    explicit LinkScanner(QStringView text)
        : m_text(text)
    {}

    /// The next link of the text, which is not empty; absent where there is none.
    std::optional<QStringView> next()
    {
        for (; m_position < m_text.size(); ++m_position) {
            const qsizetype end = endOfLink();
            if (end == m_position)
                continue;
            const QStringView link = m_text.sliced(m_position, end - m_position);
            m_position = end;
            return link;
        }
        return std::nullopt;
    }

private:
    static bool endsRun(QChar character)
    {
        return character.isSpace() || character == u'<' || character == u'>' || character == u'"' ||
               character == u'\'';
    }

    static bool isPunctuation(QChar character) { return ".,;:!?)]"_L1.contains(character); }

    bool hasWord(qsizetype position, QLatin1StringView word) const
    {
        if (position + word.size() > m_text.size())
            return false;
        return std::equal(
            word.begin(), word.end(), m_text.begin() + position, [](char letter, QChar character) {
                const char16_t unit = character.unicode();
                return static_cast<uchar>(letter) == (unit >= u'A' && unit <= u'Z' ? unit + 0x20 : unit);
            });
    }

    qsizetype endOfRun(qsizetype position) const
    {
        while (position < m_text.size() && !endsRun(m_text[position]))
            ++position;
        return position;
    }

    /// The end of the link that begins at the position; the position itself where none does.
    qsizetype endOfLink() const
    {
        const QChar first = m_text[m_position];
        if (first == u'm' || first == u'M')
            return endOfMailLink();
        return first == u'h' || first == u'H' ? endOfWebLink() : m_position;
    }

    qsizetype endOfMailLink() const
    {
        constexpr auto prefix = "mailto:"_L1;
        if (!hasWord(m_position, prefix))
            return m_position;
        const qsizetype start = m_position + prefix.size();
        const qsizetype end = endOfRun(start);
        return end > start ? end : m_position;
    }

    qsizetype endOfWebLink() const
    {
        qsizetype start = m_position;
        for (const QLatin1StringView prefix : {"https://"_L1, "http://"_L1}) {
            if (hasWord(m_position, prefix)) {
                start = m_position + prefix.size();
                break;
            }
        }
        if (start == m_position)
            return m_position;
        // A run that fails holds no letter behind its first character, and so no start of another link: it is
        // read once.
        const qsizetype runEnd = endOfRun(start);
        if (runEnd == start)
            return m_position;
        const bool beginsWithPair =
            m_text[start].isHighSurrogate() && start + 1 < runEnd && m_text[start + 1].isLowSurrogate();
        const qsizetype shortestEnd = start + (beginsWithPair ? 2 : 1);
        qsizetype end = runEnd;
        while (end > shortestEnd && isPunctuation(m_text[end - 1]))
            --end;
        return end > shortestEnd ? end : m_position;
    }

    QStringView m_text;
    qsizetype m_position = 0;
};

void addLink(QStringView shown, const MailURL& url, Bodies::Sum& sum)
{
    DocumentWriter& page = sum.page;
    page.write(u"<a href=\"");
    page.write(linkPrefix + QString::number(sum.result.links.size()));
    page.write(u"\" title=\"");
    page.writeEscaped(LinkCleaner::clean(url).absoluteString());
    page.write(u"\">");
    page.writeEscaped(shown);
    page.write(u"</a>");
    sum.result.links.append({url, shown.toString()});
}

} // namespace

void Bodies::addText(QStringView text, Sum& sum)
{
    sum.page.write(u"<div class=\"lh-plain\">");
    LinkScanner scanner(text);
    qsizetype written = 0;
    while (const std::optional<QStringView> link = scanner.next()) {
        const std::optional<MailURL> url = MailURL::parse(*link);
        if (!url)
            continue;
        const qsizetype start = link->data() - text.data();
        sum.page.writeEscaped(text.sliced(written, start - written));
        addLink(*link, *url, sum);
        written = start + link->size();
    }
    sum.page.writeEscaped(text.sliced(written));
    sum.page.write(u"</div>");
}

SanitizedHTML plainText(const QString& text)
{
    Bodies::Sum sum;
    sum.page.write(documentHead(false));
    Bodies::addText(text, sum);
    sum.page.write(documentEnd);
    sum.result.document = sum.page.taken();
    return std::move(sum.result);
}

} // namespace Larkhaven::HTMLSanitizer
