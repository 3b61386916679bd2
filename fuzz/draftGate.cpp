#include "model/DraftGate.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/VisibleText.h"

#include <QByteArrayView>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Any text may enter a draft, from a message, a stored draft, a paste or a link. The input is a text to be
// repeated, so that short ones reach the bounds.

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

const QString leftOut = u"[left out]"_s;
/// What is said of that which was left out.
constexpr qsizetype spoken = 200;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void checkLines(const QString& text)
{
    const QList<QStringView> lines = QStringView(text).split(u'\n');
    require(lines.size() <= DraftGate::mostLines + 4);
    for (const QStringView line : lines) {
        for (const QStringView run : line.split(u' '))
            require(run.size() <= DraftGate::longestRun + 2);
    }
}

void checkText(const QString& text)
{
    const DraftGate::Passed passed = DraftGate::text(text, leftOut);
    // Line ends aren't among the characters.
    require(passed.text.size() <= DraftGate::mostCharacters + DraftGate::mostLines + spoken);
    require(passed.isCut || passed.isBroken || passed.text.size() <= text.size());
    checkLines(passed.text);
    // What has passed passes again as it is.
    if (passed.isCut)
        return;
    const DraftGate::Passed again = DraftGate::text(passed.text, leftOut);
    require(again.isWhole() && again.text == passed.text);
}

void checkDocument(const QString& html)
{
    const QString document = HTMLSanitizer::sanitize(html, {}).document;
    const DraftGate::Passed passed = DraftGate::html(document, leftOut);
    require(passed.text.size() <= DraftGate::mostHTML + spoken);
    if (passed.isWhole())
        require(DraftGate::html(passed.text, leftOut).isWhole());
    constexpr qsizetype limit = 1'000;
    const QString all = VisibleText::ofSanitized(document, DraftGate::mostCharacters);
    const QString part = VisibleText::ofSanitized(document, limit);
    // White space at its end goes.
    require(all.size() <= limit || part.size() > limit / 2);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    constexpr qsizetype most = 300'000;
    const QByteArrayView bytes(data + 1, static_cast<qsizetype>(size) - 1);
    const QString piece = Text::fromRepairedUTF8(bytes);
    // One in four is repeated: what is long is slow.
    const bool isLong = data[0] % 4 == 0;
    const qsizetype times =
        isLong && !piece.isEmpty() ? std::min<qsizetype>(data[0] * 40, most / piece.size()) : 1;
    checkText(piece.repeated(times));
    checkDocument(piece.repeated(std::min<qsizetype>(times, 200)));
    const DraftGate::Passed line = DraftGate::line(piece, data[0]);
    require(line.text.size() <= data[0] + 1);
    return 0;
}
