# Stands for a product that brings its own library behind the service client interface.
if(KOV_OFFER_PRODUCT_LIBRARY)
    add_library(Product::Client SHARED IMPORTED GLOBAL)
    set_target_properties(Product::Client PROPERTIES IMPORTED_LOCATION /product/libclient.so)
endif()

function(check_choice)
    get_target_property(libraries KovSdkCommunication LINK_LIBRARIES)
    if(NOT "Product::Client" IN_LIST libraries OR "KovSdk" IN_LIST libraries OR TARGET KovSdk)
        message(FATAL_ERROR "the product's library does not stand behind the interface: ${libraries}")
    endif()
    message(STATUS "The product's library stands behind the interface")
endfunction()
cmake_language(DEFER DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} CALL check_choice)
