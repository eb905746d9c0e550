# No session bus: the key for passwords is then a file in the test's own folder, never in the desktop's key store.
set(without_key_store DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent)
kov_add_test(NAME tst_proxy_challenge SOURCES tst_proxy_challenge.cpp ProxyFixture.h LIBS KovGui TestServer LABELS tasks
    ENVIRONMENT ${without_key_store})
kov_add_test(NAME tst_proxy_detection SOURCES tst_proxy_detection.cpp ProxyFixture.h LIBS KovGui TestServer LABELS tasks
    ENVIRONMENT ${without_key_store} UNIX "the system reads the scripts there, and tools/check-windows-proxy asks it")
kov_add_test(NAME tst_proxy_settings
    SOURCES tst_proxy_settings.cpp ProxyFixture.h ${CMAKE_SOURCE_DIR}/gui/platform/ProxyList.cpp
    LIBS KovGui TestServer LABELS tasks ENVIRONMENT ${without_key_store})
kov_add_test(NAME tst_key_file
    SOURCES tst_key_file.cpp ${CMAKE_SOURCE_DIR}/gui/platform/unix/KnownFolders.cpp
        ${CMAKE_SOURCE_DIR}/gui/platform/unix/Module.cpp ${CMAKE_SOURCE_DIR}/gui/platform/unix/SecretKey.cpp
    LIBS Qt5::Widgets ${CMAKE_DL_LIBS} LABELS tasks ENVIRONMENT ${without_key_store}
    UNIX "tools/check-windows-proxy looks at the key there")
kov_add_test(NAME tst_proxy_squid SOURCES tst_proxy_squid.cpp ProxyFixture.h LIBS KovGui NginxServer TestServer
    LABELS tasks servers ENVIRONMENT ${without_key_store})
