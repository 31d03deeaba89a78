# version.cmake: reads the version of the project from the header that programs see.
set(TONEKIT_VERSION "")
foreach(part MAJOR MINOR PATCH)
    file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../include/tonekit/frame.h line REGEX "define TONEKIT_VERSION_${part} [0-9]+$")
    string(REGEX MATCH "[0-9]+$" number "${line}")
    list(APPEND TONEKIT_VERSION ${number})
endforeach()
list(JOIN TONEKIT_VERSION "." TONEKIT_VERSION)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../include/tonekit/frame.h)
