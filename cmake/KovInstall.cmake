# Installs the libraries, their headers by the paths under which they are included, and what find_package(KovGui) reads.
include(CMakePackageConfigHelpers)

install(TARGETS KovSdkTypes KovSdk AbstractTask KovSdkCommunication KovGui EXPORT KovGuiTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY abstract_task kov_sdk kov_sdk_communication gui
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kovgui
    FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE PATTERN "platform" EXCLUDE)
install(EXPORT KovGuiTargets NAMESPACE KovGui:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovGui)

configure_package_config_file(cmake/KovGuiConfig.cmake.in ${CMAKE_BINARY_DIR}/KovGuiConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovGui)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KovGuiConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KovGuiConfig.cmake ${CMAKE_BINARY_DIR}/KovGuiConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovGui)
if(TARGET updater)
    install(TARGETS updater RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
