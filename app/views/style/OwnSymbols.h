#pragma once

#include "views/style/Symbols.h"

class QPainter;

/// The drawings for which the icon theme has none, or none that is read at a glance: its archive is a zipped
/// document, its junk an envelope like others, its warning a square, and its arrows of answers differ in
/// weight.
namespace Larkhaven::OwnSymbols {

/// Draws the symbol on a field of 16 by 16; false where the theme's is to be taken.
bool paint(QPainter& painter, Symbol symbol);

} // namespace Larkhaven::OwnSymbols
