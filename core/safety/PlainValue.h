#pragma once

#include <QByteArrayView>

/// Attribute values that reach the page as they are. Nearly all values of honest mail do: of a newsletter of
/// 100 kB a third is such values, and to decode, filter and encode each of them took two thirds of the time.
/// Pure functions, callable from any thread, linear in the value.
namespace Larkhaven::HTMLSanitizer {

/// Whether the bytes are UTF-8 without character references and without what must be one: whether they are
/// what `escapeHTML` gives of what `decodeEntities` gives of them. False where that isn't sure.
bool isPlainValue(QByteArrayView bytes);

/// Whether the bytes are a plain value of which `safeStyle` takes nothing away. False where that isn't sure.
bool isPlainStyle(QByteArrayView bytes);

} // namespace Larkhaven::HTMLSanitizer
