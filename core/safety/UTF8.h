#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <optional>

/// Text to bytes and back for the readers of hostile HTML and URLs. Pure functions, callable from any thread.
namespace Larkhaven::UTF8 {

/// The text in UTF-8; a lone surrogate gives U+FFFD. (Qt 6.4 would write a question mark, which in a URL
/// starts the query.) At most 715,827,882 code units, or the result is empty.
QByteArray encoded(QStringView text);

/// Whether the unit is one of the ASCII digits of base 16.
bool isHexDigit(char16_t unit);

/// The value of a digit of base 16.
unsigned hexValue(char16_t digit);

/// Whether a "%" with two digits behind it stands at the position, which is in the text.
bool isPercentEncodedAt(QStringView text, qsizetype position);

/// The text with each %XX decoded (RFC 3986, 2.1); absent where a "%" has no two digits behind it or the
/// bytes are no UTF-8.
std::optional<QString> percentDecoded(QStringView text);

} // namespace Larkhaven::UTF8
