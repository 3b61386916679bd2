#include "safety/LinkText.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/UnitScan.h"

namespace Larkhaven::HTMLSanitizer {
namespace {

/// `decoded` is for where there is something to decode.
QStringView shown(QStringView text, QString& decoded)
{
    if (UnitScan::holds<u'&'>(text)) {
        decodeEntities(text, decoded);
        text = decoded;
    }
    return Text::trimmedSpaceAndLineEnds(text);
}

} // namespace

void LinkText::add(QStringView text, bool isHidden)
{
    if (isHidden)
        tellApart();
    m_text += text;
    if (!m_hasReadings)
        return;
    m_parted += text;
    if (!isHidden)
        m_seen += text;
}

void LinkText::part()
{
    tellApart();
    m_parted += u' ';
    m_seen += u' ';
}

void LinkText::moveTo(LinkRecord& link)
{
    const QStringView text = shown(m_text, m_decoded);
    link.text = text.toString();
    if (m_hasReadings) {
        QString decodedParted;
        QString decodedSeen;
        const QStringView parted = shown(m_parted, decodedParted);
        const QStringView seen = shown(m_seen, decodedSeen);
        if (parted != seen)
            link.readings = {parted.toString(), seen.toString()};
        else if (parted != text)
            link.readings = {parted.toString()};
    }
    m_text.resize(0);
    m_hasReadings = false;
}

void LinkText::tellApart()
{
    if (m_hasReadings)
        return;
    m_hasReadings = true;
    // Not shared: each has its own room, which serves all links.
    m_parted.resize(0);
    m_parted += QStringView(m_text);
    m_seen.resize(0);
    m_seen += QStringView(m_text);
}

} // namespace Larkhaven::HTMLSanitizer
