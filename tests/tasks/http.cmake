# HTTP requests, progress and time, geolocation.
kov_add_test(NAME tst_http_operation SOURCES tst_http_operation.cpp HttpFixture.h LIBS KovGui NginxServer TestServer
    LABELS tasks servers)
kov_add_test(NAME tst_send_http_request SOURCES tst_send_http_request.cpp HttpFixture.h TaskFixture.h LIBS KovGui TestServer LABELS tasks)
kov_add_test(NAME tst_progress SOURCES tst_progress.cpp LIBS KovGui LABELS tasks)
kov_add_test(NAME tst_geolocation SOURCES tst_geolocation.cpp HttpFixture.h TaskFixture.h LIBS KovGui NginxServer TestServer LABELS tasks servers)
