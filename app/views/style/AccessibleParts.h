#pragma once

namespace Larkhaven {

/// Gives assistive technology what Qt leaves out of the parts that it makes itself: a name to scroll bars,
/// the role of a window to windows, and that of a group to cards. What only decorates, a symbol beside its
/// text or the divider of a splitter, is left out of the tree. To be called once, before the first window.
void installAccessibleParts();

} // namespace Larkhaven
