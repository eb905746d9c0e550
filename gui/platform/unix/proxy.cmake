# The system's proxy settings come from libproxy, the key for stored passwords from the desktop's key store.
find_package(PkgConfig REQUIRED)
pkg_check_modules(libproxy QUIET IMPORTED_TARGET libproxy-1.0)
if(NOT libproxy_FOUND)
    message(FATAL_ERROR "libproxy is missing: run ./setup, or install libproxy-dev and libproxy1-plugin-webkit.")
endif()
find_package(Qt5Keychain QUIET)
if(NOT Qt5Keychain_FOUND)
    message(FATAL_ERROR "QtKeychain is missing: run ./setup, or install qtkeychain-qt5-dev.")
endif()
# The library is linked in the folder above.
set_target_properties(qt5keychain PROPERTIES IMPORTED_GLOBAL TRUE)
target_link_libraries(KovGui PRIVATE qt5keychain ${CMAKE_DL_LIBS})

add_executable(kovgui-find-proxy unix/FindProxy.cpp ProxyList.cpp)
target_link_libraries(kovgui-find-proxy PRIVATE PkgConfig::libproxy)
add_dependencies(KovGui kovgui-find-proxy)
install(TARGETS kovgui-find-proxy DESTINATION ${CMAKE_INSTALL_LIBEXECDIR} COMPONENT runtime)
file(RELATIVE_PATH installed ${CMAKE_INSTALL_FULL_LIBDIR} ${CMAKE_INSTALL_FULL_LIBEXECDIR}/kovgui-find-proxy)
set_source_files_properties(unix/SystemProxy.cpp TARGET_DIRECTORY KovGui PROPERTIES
    COMPILE_DEFINITIONS "KOV_FIND_PROXY_INSTALLED=\"${installed}\"")
