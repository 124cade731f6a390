# tarnm_add_static(<target>)
#     Where <target> is a shared library, <target>_static is a static one of the same objects (they are position-independent),
#     under the same file name and, once installed, the same CMake name. Static libraries are the baseline: there is no loader
#     that could choose a variant.

function(tarnm_add_static target)
    if(NOT BUILD_SHARED_LIBS OR NOT TARNM_BUILD_STATIC)
        return()
    endif()
    add_library(${target}_static STATIC $<TARGET_OBJECTS:${target}>)
    get_target_property(name ${target} EXPORT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    set_target_properties(${target}_static PROPERTIES OUTPUT_NAME ${target} EXPORT_NAME ${name} LINKER_LANGUAGE CXX)
    target_include_directories(${target}_static INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${target}_static PRIVATE OpenMP::OpenMP_CXX)
    if(NOT target STREQUAL "tarncore")
        target_link_libraries(${target}_static PRIVATE tarncore_static)
    endif()
endfunction()
