# Downloads by the download utility, and digests. libcrypto's MD5 is faster than md5sum, Qt's is slower.
find_package(OpenSSL 3 COMPONENTS Crypto QUIET)
if(NOT OpenSSL_FOUND)
    message(FATAL_ERROR "OpenSSL 3 is missing: run ./setup, or install libssl-dev.")
endif()
# KovGui belongs to the folder above, which would not see it.
set_target_properties(OpenSSL::Crypto PROPERTIES IMPORTED_GLOBAL TRUE)
target_link_libraries(KovGui PRIVATE OpenSSL::Crypto)
target_sources(KovGui PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CDownloadProcessor.cpp ${CMAKE_CURRENT_LIST_DIR}/CDownloadProcessor.h
    ${CMAKE_CURRENT_LIST_DIR}/CDownloadThread.cpp ${CMAKE_CURRENT_LIST_DIR}/CDownloadThread.h
    ${CMAKE_CURRENT_LIST_DIR}/ChildErrorLog.cpp ${CMAKE_CURRENT_LIST_DIR}/ChildErrorLog.h
    ${CMAKE_CURRENT_LIST_DIR}/CMd5Calculator.cpp ${CMAKE_CURRENT_LIST_DIR}/CMd5Calculator.h
    ${CMAKE_CURRENT_LIST_DIR}/CTaskDownloadFile.cpp ${CMAKE_CURRENT_LIST_DIR}/CTaskDownloadFile.h
    ${CMAKE_CURRENT_LIST_DIR}/CTaskInteractiveDownload.cpp ${CMAKE_CURRENT_LIST_DIR}/CTaskInteractiveDownload.h
    ${CMAKE_CURRENT_LIST_DIR}/CTaskInteractiveDownload_p.h ${CMAKE_CURRENT_LIST_DIR}/InteractiveDownloadSteps.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CDownloadProgressDialog.cpp ${CMAKE_CURRENT_LIST_DIR}/CDownloadProgressDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/CDownloadProgressDialog.ui
    ${CMAKE_CURRENT_LIST_DIR}/DownloadChecks.cpp ${CMAKE_CURRENT_LIST_DIR}/DownloadChecks_p.h
    ${CMAKE_CURRENT_LIST_DIR}/DownloadOutput.cpp ${CMAKE_CURRENT_LIST_DIR}/DownloadOutput_p.h
    ${CMAKE_CURRENT_LIST_DIR}/DownloadProgressData.h)
