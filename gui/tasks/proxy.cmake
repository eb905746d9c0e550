# Finding a proxy, answering its challenges, and the passwords that are kept for it.
find_package(PkgConfig REQUIRED)
pkg_check_modules(libsodium QUIET IMPORTED_TARGET GLOBAL libsodium)
if(NOT libsodium_FOUND)
    message(FATAL_ERROR "libsodium is missing: run ./setup, or install libsodium-dev.")
endif()
target_link_libraries(KovGui PRIVATE PkgConfig::libsodium)
target_sources(KovGui PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CInitAutoProxyThread.cpp ${CMAKE_CURRENT_LIST_DIR}/CInitAutoProxyThread.h
    ${CMAKE_CURRENT_LIST_DIR}/CProxyAuthenticator.cpp ${CMAKE_CURRENT_LIST_DIR}/CProxyAuthenticator.h
    ${CMAKE_CURRENT_LIST_DIR}/CTaskGetProxyInfo.cpp ${CMAKE_CURRENT_LIST_DIR}/CTaskGetProxyInfo.h
    ${CMAKE_CURRENT_LIST_DIR}/CUserAuthDialog.cpp ${CMAKE_CURRENT_LIST_DIR}/CUserAuthDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/CUserAuthDialog.ui
    ${CMAKE_CURRENT_LIST_DIR}/PasswordStore.cpp ${CMAKE_CURRENT_LIST_DIR}/PasswordStore.h
    ${CMAKE_CURRENT_LIST_DIR}/Pixmaps.qrc
    ${CMAKE_CURRENT_LIST_DIR}/ProxyAuthUtils.cpp ${CMAKE_CURRENT_LIST_DIR}/ProxyAuthUtils.h
    ${CMAKE_CURRENT_LIST_DIR}/ProxyPreferences.cpp ${CMAKE_CURRENT_LIST_DIR}/ProxyPreferences.h)
