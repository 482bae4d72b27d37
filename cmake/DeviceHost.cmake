# The device's host library, which defines the operations that host/*.h declare.
set(KESTREL_HOST_LIBRARY "" CACHE FILEPATH "The device's host library")
if(NOT EXISTS "${KESTREL_HOST_LIBRARY}")
    message(FATAL_ERROR "KESTREL_HOST_LIBRARY must name the device's host library.")
endif()
add_library(kestrel_host SHARED IMPORTED)
set_target_properties(kestrel_host PROPERTIES IMPORTED_LOCATION ${KESTREL_HOST_LIBRARY})
target_link_libraries(kestrel_host INTERFACE kestrel_options android_log)
