# HTTP requests, progress and time, geolocation.
target_sources(KovGui PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CAbstractFileParser.cpp ${CMAKE_CURRENT_LIST_DIR}/CAbstractFileParser.h
    ${CMAKE_CURRENT_LIST_DIR}/CAbstractProgressOperation.cpp ${CMAKE_CURRENT_LIST_DIR}/CAbstractProgressOperation.h
    ${CMAKE_CURRENT_LIST_DIR}/CCountryListModel.cpp ${CMAKE_CURRENT_LIST_DIR}/CCountryListModel.h
    ${CMAKE_CURRENT_LIST_DIR}/CHttpResponseParser.cpp ${CMAKE_CURRENT_LIST_DIR}/CHttpResponseParser.h
    ${CMAKE_CURRENT_LIST_DIR}/CIpGeoLocator.cpp ${CMAKE_CURRENT_LIST_DIR}/CIpGeoLocator.h
    ${CMAKE_CURRENT_LIST_DIR}/CTaskHttpOperation.cpp ${CMAKE_CURRENT_LIST_DIR}/CTaskHttpOperation.h
    ${CMAKE_CURRENT_LIST_DIR}/CTaskSendHttpRequest.cpp ${CMAKE_CURRENT_LIST_DIR}/CTaskSendHttpRequest.h
    ${CMAKE_CURRENT_LIST_DIR}/CTimeEstimator.cpp ${CMAKE_CURRENT_LIST_DIR}/CTimeEstimator.h
    ${CMAKE_CURRENT_LIST_DIR}/FormatUtils.cpp ${CMAKE_CURRENT_LIST_DIR}/FormatUtils.h
    ${CMAKE_CURRENT_LIST_DIR}/HttpManager_p.h
    ${CMAKE_CURRENT_LIST_DIR}/HttpResponse.cpp ${CMAKE_CURRENT_LIST_DIR}/HttpResponse_p.h
    ${CMAKE_CURRENT_LIST_DIR}/ProxyResult.h
    ${CMAKE_CURRENT_LIST_DIR}/SslRule.cpp ${CMAKE_CURRENT_LIST_DIR}/SslRule_p.h
    ${CMAKE_CURRENT_LIST_DIR}/TranslationFile.cpp ${CMAKE_CURRENT_LIST_DIR}/TranslationFile_p.h
    ${CMAKE_CURRENT_LIST_DIR}/UserInfo.cpp ${CMAKE_CURRENT_LIST_DIR}/UserInfo.h
    ${CMAKE_CURRENT_LIST_DIR}/WebUtils.cpp ${CMAKE_CURRENT_LIST_DIR}/WebUtils.h)

set(KOV_MAKER_DOMAIN_SUFFIX ".tessarine.example" CACHE STRING
    "The maker's domain, with its leading dot: certificates issued to it are accepted for every host in it")
set(KOV_GEOLOCATION_URL "https://www.tessarine.example/geoip/generic" CACHE STRING
    "Service that tells the country of the caller's public address. A host can set it at run time.")
set_source_files_properties(SslRule.cpp TARGET_DIRECTORY KovGui PROPERTIES
    COMPILE_DEFINITIONS "KOV_MAKER_DOMAIN_SUFFIX=\"${KOV_MAKER_DOMAIN_SUFFIX}\"")
set_source_files_properties(CIpGeoLocator.cpp TARGET_DIRECTORY KovGui PROPERTIES
    COMPILE_DEFINITIONS "KOV_GEOLOCATION_URL=\"${KOV_GEOLOCATION_URL}\"")
