# Installs the libraries, their headers by the paths under which they are included, and what find_package(KovGui) reads.
# Component runtime: what a program that uses the library needs beside itself; console: Tessarine Console.
include(CMakePackageConfigHelpers)

install(TARGETS KovSdkTypes KovSdk AbstractTask KovSdkCommunication KovGui KovGuiDeclarative EXPORT KovGuiTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY abstract_task kov_sdk kov_sdk_communication gui
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kovgui
    FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE PATTERN "platform" EXCLUDE)
# The data model's classes are in the build folder.
install(DIRECTORY ${CMAKE_BINARY_DIR}/generated/gui/data_model
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kovgui/gui FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${CMAKE_BINARY_DIR}/docs/data-model DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(EXPORT KovGuiTargets NAMESPACE KovGui:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovGui)

configure_package_config_file(cmake/KovGuiConfig.cmake.in ${CMAKE_BINARY_DIR}/KovGuiConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovGui)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KovGuiConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KovGuiConfig.cmake ${CMAKE_BINARY_DIR}/KovGuiConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovGui)
