# One set of compiler rules for every target of the project.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
# An installation may lie anywhere, and be renamed.
set(CMAKE_INSTALL_RPATH $ORIGIN $ORIGIN/../${CMAKE_INSTALL_LIBDIR})
if(WIN32)
    set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endif()

add_compile_options(-Wall -Wextra $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual> -Wformat=2)
if(KOV_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()

add_compile_definitions(
    QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING
    QT_NO_CAST_FROM_BYTEARRAY QT_DISABLE_DEPRECATED_BEFORE=0x050F00
    QT_DEPRECATED_WARNINGS)

# Every library and program is included by its path from the root: #include "gui/messages/CMessageManager.h".
include_directories(${CMAKE_SOURCE_DIR})
