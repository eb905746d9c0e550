# The next version of the console, for the sample update site: the same objects but for the one that says which version
# the library is. `cmake --build BUILD --target console_installation` lays out
#
#   BUILD/installation/current    this build, as it is installed
#   BUILD/installation/sample     what the sample site publishes: the package of the next version, and a key to sign with
math(EXPR KOV_NEXT_PATCH "${PROJECT_VERSION_PATCH} + 1")
math(EXPR KOV_NEXT_BUILD "${KOV_BUILD_NUMBER} + 201")
set(KOV_NEXT_VERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}.${KOV_NEXT_PATCH}.${KOV_NEXT_BUILD}
    CACHE INTERNAL "The version that the sample site offers")
file(READ ${CMAKE_BINARY_DIR}/generated/gui/KovVersion.h header)
string(REPLACE "KOV_VERSION_PATCH ${PROJECT_VERSION_PATCH}" "KOV_VERSION_PATCH ${KOV_NEXT_PATCH}" header "${header}")
string(REPLACE "KOV_VERSION_BUILD ${KOV_BUILD_NUMBER}" "KOV_VERSION_BUILD ${KOV_NEXT_BUILD}" header "${header}")
string(REPLACE "\"${PROJECT_VERSION}-${KOV_BUILD_NUMBER}\""
    "\"${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}.${KOV_NEXT_PATCH}-${KOV_NEXT_BUILD}\"" header "${header}")
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/generated-next/gui/KovVersion.h CONTENT "${header}" @ONLY)

add_library(NextVersion OBJECT EXCLUDE_FROM_ALL ${CMAKE_SOURCE_DIR}/gui/frame/LibraryVersion.cpp)
target_include_directories(NextVersion PRIVATE ${CMAKE_BINARY_DIR}/generated-next)
target_compile_definitions(NextVersion PRIVATE KovGui_EXPORTS)
target_link_libraries(NextVersion PRIVATE Qt5::Core)
add_library(KovGuiNext SHARED EXCLUDE_FROM_ALL
    $<TARGET_OBJECTS:NextVersion> $<TARGET_OBJECTS:DataModel>
    $<FILTER:$<TARGET_OBJECTS:KovGui>,EXCLUDE,/LibraryVersion\\.cpp>)
target_link_libraries(KovGuiNext PRIVATE $<TARGET_PROPERTY:KovGui,LINK_LIBRARIES>)
set_target_properties(KovGuiNext PROPERTIES
    LINKER_LANGUAGE CXX OUTPUT_NAME KovGui LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/next
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/next ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/next
    BUILD_WITH_INSTALL_RPATH ON)

set(programs console crashing_updater)
if(TARGET sample_report_service)
    list(APPEND programs sample_report_service)
endif()
install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT console)
install(FILES sample/messages.json DESTINATION ${CMAKE_INSTALL_BINDIR} RENAME console_messages.json COMPONENT console)

set(library ${CMAKE_INSTALL_LIBDIR}/libKovGui.so)
set(updater $<TARGET_FILE:updater>)
if(WIN32)
    # What no user's computer has.
    file(GLOB libraries $ENV{KOV_SYSROOT}/bin/*.dll)
    install(FILES ${libraries} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT console)
    install(DIRECTORY $ENV{KOV_SYSROOT}/plugins $ENV{KOV_SYSROOT}/qml DESTINATION . COMPONENT console)
    install(FILES windows/qt.conf DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT console)
    set(library ${CMAKE_INSTALL_BINDIR}/libKovGui.dll)
    set(updater ${CMAKE_SOURCE_DIR}/tests/support/under-wine ${CMAKE_BINARY_DIR}/wine $<TARGET_FILE:updater>)
endif()

set(root ${CMAKE_BINARY_DIR}/installation)
add_custom_command(OUTPUT ${root}/made
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/make-installation ${CMAKE_BINARY_DIR} ${root}
            ${PROJECT_VERSION}.${KOV_BUILD_NUMBER} ${KOV_NEXT_VERSION} ${library} ${updater}
    DEPENDS make-installation ${programs} updater download_utility KovGui KovGuiNext
            sample/messages.json ${CMAKE_SOURCE_DIR}/programs/updater/sample-keys/first.key
    COMMENT "Installing this version and packing the next one"
    VERBATIM)
if(WIN32)
    add_custom_target(console_installation DEPENDS ${root}/made)
else()
    add_custom_target(console_installation ALL DEPENDS ${root}/made)
endif()

if(WIN32)
    # All that somebody needs who wants to try it: unpack it, and start "Tessarine Console.cmd".
    set(zip ${CMAKE_BINARY_DIR}/Tessarine-Console-${PROJECT_VERSION}.${KOV_BUILD_NUMBER}.zip)
    add_custom_command(OUTPUT ${zip}
        COMMAND ${CMAKE_COMMAND} -E copy "${CMAKE_CURRENT_SOURCE_DIR}/windows/Tessarine Console.cmd" ${root}
        COMMAND ${CMAKE_COMMAND} -E tar cf ${zip} --format=zip current sample "Tessarine Console.cmd"
        WORKING_DIRECTORY ${root}
        DEPENDS ${root}/made "${CMAKE_CURRENT_SOURCE_DIR}/windows/Tessarine Console.cmd"
        VERBATIM)
    add_custom_target(console_zip DEPENDS ${zip})
endif()
