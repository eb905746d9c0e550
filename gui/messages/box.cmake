# The message windows.
target_sources(KovGui PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CMessageBoxWndBase.cpp ${CMAKE_CURRENT_LIST_DIR}/CMessageBoxWndBase.h)
