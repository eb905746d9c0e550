# No session bus: the key for passwords is then a file in the test's own folder, never in the desktop's key store.
set(without_key_store DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent)
kov_add_test(NAME tst_proxy_challenge SOURCES tst_proxy_challenge.cpp ProxyFixture.h LIBS KovGui LABELS tasks
    ENVIRONMENT ${without_key_store})
