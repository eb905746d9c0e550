kov_add_test(NAME tst_download_task SOURCES tst_download_task.cpp DownloadFixture.h TaskFixture.h
    LIBS KovGui MisbehavingProgram TestSystem LABELS tasks)
kov_add_test(NAME tst_md5_calculator SOURCES tst_md5_calculator.cpp LIBS KovGui TestSystem LABELS tasks)

# With the real utility and real servers.
if(KOV_BUILD_PROGRAMS)
    kov_add_test(NAME tst_interactive_download SOURCES tst_interactive_download.cpp DownloadFixture.h TaskFixture.h
        ${CMAKE_SOURCE_DIR}/tests/support/AnsweringProvider.h
        LIBS KovGui NginxServer TestServer LABELS tasks servers)
    target_compile_definitions(tst_interactive_download PRIVATE DOWNLOAD_UTILITY="$<TARGET_FILE:download_utility>"
        MESSAGES="${CMAKE_SOURCE_DIR}/kov_sdk/messages.json")
    add_dependencies(tst_interactive_download download_utility)
endif()
