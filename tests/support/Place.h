#pragma once

namespace Larkhaven {

/// Where a test calls a helper, for the helper's failures: `const Place& where = Place::current()` as its
/// last parameter. Stands in for std::source_location, which Clang 14 does not have.
struct Place {
    const char* file = "";
    int line = 0;

    static Place current(const char* file = __builtin_FILE(), int line = __builtin_LINE())
    {
        return {file, line};
    }
};

} // namespace Larkhaven
