# tarnm_add_variant(<level> <flag>...)
#     Builds the sources of the target tarnm a second time with other processor flags, under the same file name and SONAME,
#     into glibc-hwcaps/<level> beside the baseline. The dynamic loader takes the highest level that the processor has;
#     the library itself holds no dispatch. Needs glibc 2.33 or newer at run time, and falls back to the baseline without.

function(tarnm_add_variant level)
    string(REPLACE "x86-64-" "" suffix ${level})
    set(target tarnm_${suffix})
    set(subfolder glibc-hwcaps/${level})

    get_target_property(sources tarnm SOURCES)
    add_library(${target} SHARED ${sources})
    tarnm_configure_library(${target} ARCH ${ARGN})

    get_target_property(folder tarnm LIBRARY_OUTPUT_DIRECTORY)
    if(NOT folder)
        get_target_property(folder tarnm BINARY_DIR)
    endif()
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME tarnm
        LIBRARY_OUTPUT_DIRECTORY ${folder}/${subfolder}
        INSTALL_RPATH "$ORIGIN/../..")
    install(TARGETS ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${subfolder} NAMELINK_SKIP)
endfunction()
