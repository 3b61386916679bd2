#include "safety/DocumentWriter.h"

#include "safety/DocumentShell.h"
#include "safety/UnitScan.h"

#include <utility>

namespace Larkhaven::HTMLSanitizer {

void DocumentWriter::writeEscaped(QStringView text)
{
    for (qsizetype written = 0; written < text.size();) {
        const qsizetype mark = UnitScan::firstOf<u'&', u'<', u'>', u'"', u'\''>(text, written);
        write(text.sliced(written, mark - written));
        if (mark < text.size())
            write(referenceFor(text[mark].unicode()));
        written = mark + 1;
    }
}

QString DocumentWriter::taken()
{
    m_text.truncate(size());
    m_at = nullptr;
    m_end = nullptr;
    return std::exchange(m_text, QString());
}

void DocumentWriter::resize(qsizetype size)
{
    const qsizetype written = this->size();
    m_text.resize(size);
    m_end = reinterpret_cast<char16_t*>(m_text.data()) + size;
    m_at = begin() + written;
}

} // namespace Larkhaven::HTMLSanitizer
