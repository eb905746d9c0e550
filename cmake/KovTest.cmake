# kov_add_test(NAME tst_x SOURCES ... LIBS ... LABELS ... [NATIVE] [TIMEOUT s] [ENVIRONMENT A=b ...] [UNIX reason])
#
# A Qt Test program, run without a display unless NATIVE asks for a real window system: then it runs under a
# private Xvfb with a window manager. A warning that the test did not announce with QTest::ignoreMessage fails it.
# UNIX says why it cannot run on Windows.
#
# kov_add_test_run(NAME x TARGET tst_x LABELS ... [NATIVE] [TIMEOUT s] [ENVIRONMENT A=b ...])
#
# One more run of a test program, in another environment.
find_package(Qt5 5.15 REQUIRED COMPONENTS Test)

if(WIN32)
    # As an installation has it: the libraries beside the programs, which know where Qt's plug-ins are.
    file(GLOB libraries $ENV{KOV_SYSROOT}/bin/*.dll)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
    foreach(library ${libraries})
        get_filename_component(name ${library} NAME)
        file(CREATE_LINK ${library} ${CMAKE_BINARY_DIR}/bin/${name} SYMBOLIC)
    endforeach()
    file(WRITE ${CMAKE_BINARY_DIR}/bin/qt.conf "[Paths]\nPrefix=Z:$ENV{KOV_SYSROOT}\n")
    # The platform without a screen knows no usual family and takes the first in the folder.
    set(KOV_FONTS ${CMAKE_BINARY_DIR}/fonts)
    file(MAKE_DIRECTORY ${KOV_FONTS})
    foreach(face DejaVuSans DejaVuSans-Bold DejaVuSansMono)
        file(CREATE_LINK /usr/share/fonts/truetype/dejavu/${face}.ttf ${KOV_FONTS}/${face}.ttf SYMBOLIC)
    endforeach()
endif()

if(WIN32)
    # One display serves them all: ./test --windows.
    set(KOV_UNDER_WINE ${CMAKE_SOURCE_DIR}/tests/support/under-wine ${CMAKE_BINARY_DIR}/wine)
endif()

function(kov_add_test_run)
    cmake_parse_arguments(ARG "NATIVE" "NAME;TARGET;TIMEOUT" "LABELS;ENVIRONMENT" ${ARGN})
    set(platform offscreen)
    set(command $<TARGET_FILE:${ARG_TARGET}>)
    if(ARG_NATIVE)
        set(platform xcb)
        set(command ${CMAKE_SOURCE_DIR}/tests/support/with-display $<TARGET_FILE:${ARG_TARGET}>)
        list(APPEND ARG_LABELS native)
    endif()
    if(WIN32)
        set(command ${KOV_UNDER_WINE} $<TARGET_FILE:${ARG_TARGET}>)
        list(APPEND ARG_ENVIRONMENT "QT_QPA_FONTDIR=Z:${KOV_FONTS}")
        if(ARG_NATIVE)
            set(platform windows)
        endif()
    endif()
    add_test(NAME ${ARG_NAME} COMMAND ${command})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set_tests_properties(${ARG_NAME} PROPERTIES
        LABELS "${ARG_LABELS}"
        TIMEOUT ${ARG_TIMEOUT}
        FAIL_REGULAR_EXPRESSION "QWARN  :;QCRITICAL:;QSYSTEM :"
        ENVIRONMENT "QT_QPA_PLATFORM=${platform};QT_QUICK_BACKEND=software;LANG=C.UTF-8;${ARG_ENVIRONMENT}")
    if(WIN32 AND ARG_NATIVE)
        # Windows of two tests on one display take the focus from one another.
        set_tests_properties(${ARG_NAME} PROPERTIES RESOURCE_LOCK display)
    endif()
endfunction()

function(kov_add_test)
    cmake_parse_arguments(ARG "NATIVE" "NAME;TIMEOUT;UNIX" "SOURCES;LIBS;LABELS;ENVIRONMENT" ${ARGN})
    if(WIN32 AND ARG_UNIX)
        message(STATUS "${ARG_NAME} is not built: ${ARG_UNIX}.")
        add_executable(${ARG_NAME} EXCLUDE_FROM_ALL ${ARG_SOURCES})
        return()
    endif()
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(${ARG_NAME} PRIVATE ${ARG_LIBS} Qt5::Test)
    # Literals are texts in tests.
    target_compile_options(${ARG_NAME} PRIVATE -UQT_NO_CAST_FROM_ASCII)
    if("KovGui" IN_LIST ARG_LIBS)
        target_compile_definitions(${ARG_NAME} PRIVATE KOV_TEST_HAS_LOG)
    endif()
    set(native)
    if(ARG_NATIVE)
        set(native NATIVE)
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    kov_add_test_run(NAME ${ARG_NAME} TARGET ${ARG_NAME} TIMEOUT ${ARG_TIMEOUT} LABELS ${ARG_LABELS}
        ENVIRONMENT ${ARG_ENVIRONMENT} ${native})
endfunction()
