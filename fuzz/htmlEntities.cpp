#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"

#include <QByteArrayView>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Decoding takes anything, and undoes what escaping writes.

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = Text::fromRepairedUTF8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QString decoded = HTMLSanitizer::decodeEntities(text);
    require(decoded.size() <= text.size());
    require(decoded.isValidUtf16());
    require(text.contains(u'&') || decoded == text);
    require(HTMLSanitizer::decodeEntities(HTMLSanitizer::escapeHTML(text)) == text);
    return 0;
}
