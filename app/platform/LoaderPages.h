#pragma once

namespace Larkhaven::LoaderPages {

/// Unmaps the lists of relocations of all libraries that are loaded, which the loader read once: the list of
/// the web engine's library alone is 12 MiB. What is read of them again comes from the file, which stays in
/// the system's cache for the next start. Does nothing where the system isn't Linux. Any thread.
void release();

} // namespace Larkhaven::LoaderPages
