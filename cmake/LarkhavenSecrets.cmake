# larkhaven_read_secret(<file> <KEY> <variable>)
#
# The value of KEY in a file of "KEY = value" lines with "//" comments; the last line counts. Empty where there is no file or no
# such line.
function(larkhaven_read_secret file key variable)
    set(value "")
    if(EXISTS "${file}")
        file(READ "${file}" text)
        # The longest start is that of the last line.
        if("\n${text}" MATCHES "(.*\n)[ \t]*${key}[ \t]*=([^\r\n]*)")
            string(REGEX REPLACE "//.*$" "" value "${CMAKE_MATCH_2}")
            string(STRIP "${value}" value)
        endif()
    endif()
    set(${variable} "${value}" PARENT_SCOPE)
endfunction()

# larkhaven_write_info(<secrets> <output>)
#
# Writes what the program knows of its own build as JSON.
function(larkhaven_write_info secrets output)
    larkhaven_read_secret("${secrets}" GOOGLE_CLIENT_ID google)
    larkhaven_read_secret("${secrets}" MICROSOFT_CLIENT_ID microsoft)
    set(info "{}")
    foreach(item IN ITEMS "LHBundleIdentifier=com.tundra42.larkhaven" "LHGoogleClientID=${google}"
                          "LHMicrosoftClientID=${microsoft}")
        string(REGEX MATCH "^([^=]*)=(.*)$" item "${item}")
        set(name "${CMAKE_MATCH_1}")
        string(REPLACE "\\" "\\\\" value "${CMAKE_MATCH_2}")
        string(REPLACE "\"" "\\\"" value "${value}")
        string(JSON info SET "${info}" "${name}" "\"${value}\"")
    endforeach()
    # What stays the same isn't built again.
    set(before "")
    if(EXISTS "${output}")
        file(READ "${output}" before)
    endif()
    if(NOT before STREQUAL "${info}\n")
        file(WRITE "${output}" "${info}\n")
    endif()
endfunction()

# As a script: cmake -DSECRETS=FILE -DOUTPUT=FILE -P LarkhavenSecrets.cmake
if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
    larkhaven_write_info("${SECRETS}" "${OUTPUT}")
endif()
