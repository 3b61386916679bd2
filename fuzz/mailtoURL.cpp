#include "format/MailtoURL.h"

#include "domain/ShownText.h"
#include "domain/Text.h"

#include <QByteArrayView>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Any program of the desktop, and any page of a browser, may hand over such a URL.

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// What would end the line of a header, or hide what stands in it.
void requireLine(const QString& text)
{
    require(std::ranges::none_of(
        text, [](QChar character) { return character.unicode() < 0x20 || character.unicode() == 0x7F; }));
    require(ShownText::line(text, MailtoURL::maxLength) == text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const QString text = QString::fromUtf8(bytes);
    for (const QString& url : {text, QStringLiteral("mailto:") + text}) {
        const std::optional<MailtoURL> read = MailtoURL::parse(url);
        if (!read)
            continue;
        for (const QString& line : {read->to, read->cc, read->bcc, read->subject})
            requireLine(line);
        for (const QString& line : read->body.split(u'\n'))
            requireLine(line);
        // Each decoded character had at least one of the URL, and what joins the fields had its "&".
        require(read->to.size() + read->cc.size() + read->bcc.size() + read->subject.size() +
                    read->body.size() <=
                2 * url.size());
    }
    return 0;
}
