#pragma once

/// What the sanitizers find in libraries that aren't ours, and only that. Included by the one file of a
/// program that has its `main`.

#if defined(__SANITIZE_ADDRESS__)

extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    // The web engine frees some objects by the size of their base.
    return "new_delete_type_mismatch=0";
}

extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    // No library that is in every stack may stand here: no leak at all would be found.
    return "leak:libQt6WebEngineCore.so\nleak:libfontconfig.so\nleak:libudev.so\nleak:libgallium\n"
           "leak:_dri.so\nleak:libGLX\nleak:libLLVM\n";
}

// Leaks are looked for at the end. Those of a driver that has been unloaded by then could be anybody's.
extern "C" int dlclose(void*) noexcept;
extern "C" int dlclose(void*) noexcept
{
    return 0;
}

#endif
