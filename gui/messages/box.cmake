# The message windows.
target_sources(KovGui PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CDetailsDialog.cpp ${CMAKE_CURRENT_LIST_DIR}/CDetailsDialog.h
    ${CMAKE_CURRENT_LIST_DIR}/CMessageBox.cpp ${CMAKE_CURRENT_LIST_DIR}/CMessageBox.h
    ${CMAKE_CURRENT_LIST_DIR}/CMessageBox.ui
    ${CMAKE_CURRENT_LIST_DIR}/CMessageBoxBuilder.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CMessageBoxWndBase.cpp ${CMAKE_CURRENT_LIST_DIR}/CMessageBoxWndBase.h
    ${CMAKE_CURRENT_LIST_DIR}/CMoreOptionsLabel.cpp ${CMAKE_CURRENT_LIST_DIR}/CMoreOptionsLabel.h
    ${CMAKE_CURRENT_LIST_DIR}/MessageCountdown.cpp ${CMAKE_CURRENT_LIST_DIR}/MessageCountdown_p.h
    ${CMAKE_CURRENT_LIST_DIR}/SafeTextView.cpp ${CMAKE_CURRENT_LIST_DIR}/SafeTextView_p.h)
