# The pop-ups at the corner of the screen.
target_sources(KovGui PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CNotificationBox.cpp ${CMAKE_CURRENT_LIST_DIR}/CNotificationBox.h
    ${CMAKE_CURRENT_LIST_DIR}/CNotificationBox.ui
    ${CMAKE_CURRENT_LIST_DIR}/CNotificationBoxGroup.cpp ${CMAKE_CURRENT_LIST_DIR}/CNotificationBoxGroup.h
    ${CMAKE_CURRENT_LIST_DIR}/LabelText.cpp ${CMAKE_CURRENT_LIST_DIR}/LabelText_p.h)
