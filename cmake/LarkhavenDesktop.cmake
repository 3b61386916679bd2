# How a desktop finds the program and brings redirects of sign-ins back to it.
include(${CMAKE_CURRENT_LIST_DIR}/LarkhavenSecrets.cmake)

# larkhaven_write_desktop_files(<secrets> <program> <folder>)
#
# Writes the desktop entry and the D-Bus service of the program at its installed place. The entry takes the redirects of
# Microsoft's sign-in, and of Google's where the secrets hold a client id: its pieces in reverse order are the scheme.
function(larkhaven_write_desktop_files secrets program folder)
    set(schemes "x-scheme-handler/msauth.com.tundra42.larkhaven;")
    larkhaven_read_secret("${secrets}" GOOGLE_CLIENT_ID google)
    string(TOLOWER "${google}" google)
    # A variable that nobody filled in is no scheme (RFC 3986, 3.1).
    if(google MATCHES "^[a-z0-9.+-]+$")
        string(REGEX MATCHALL "[^.]+" pieces "${google}")
        list(REVERSE pieces)
        list(JOIN pieces "." scheme)
        set(schemes "x-scheme-handler/${scheme};${schemes}")
    endif()
    get_filename_component(packaging "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../packaging" ABSOLUTE)
    foreach(name IN ITEMS com.tundra42.larkhaven.desktop com.tundra42.larkhaven.service)
        configure_file("${packaging}/${name}.in" "${folder}/${name}" @ONLY)
    endforeach()
endfunction()

# As a script: cmake -DSECRETS=FILE -DPROGRAM=FILE -DFOLDER=FOLDER -P LarkhavenDesktop.cmake
if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
    larkhaven_write_desktop_files("${SECRETS}" "${PROGRAM}" "${FOLDER}")
endif()
