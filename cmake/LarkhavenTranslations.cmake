# The texts of other languages, compiled into the program.
find_program(LRELEASE lrelease HINTS ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS} /usr/lib/qt6/bin REQUIRED)

# larkhaven_translations(<variable> <file.ts>...)
#
# Compiles the files and gives the sources of a resource, "Translations", that holds them below ":/translations".
function(larkhaven_translations variable)
    set(entries "")
    set(compiled "")
    foreach(source IN LISTS ARGN)
        cmake_path(GET source STEM name)
        set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}.qm)
        add_custom_command(OUTPUT ${output}
            COMMAND ${LRELEASE} -silent ${source} -qm ${output}
            DEPENDS ${source} VERBATIM)
        list(APPEND compiled ${output})
        string(APPEND entries "        <file alias=\"${name}.qm\">${output}</file>\n")
    endforeach()
    set(list ${CMAKE_CURRENT_BINARY_DIR}/Translations.qrc)
    file(CONFIGURE OUTPUT ${list} @ONLY CONTENT
         "<RCC>\n    <qresource prefix=\"/translations\">\n@entries@    </qresource>\n</RCC>\n")
    qt_add_resources(resource ${list})
    set_source_files_properties(${resource} PROPERTIES OBJECT_DEPENDS "${compiled}")
    set(${variable} ${resource} PARENT_SCOPE)
endfunction()
