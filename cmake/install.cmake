# What is installed: libraries, headers, the CMake package, the pkg-config files, licence and documents.
# (The variants install themselves, see variants.cmake.) Nothing installed holds an absolute path.

include(CMakePackageConfigHelpers)

set(TARNM_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tarnm)

# install_libraries(<shared|static> <target>...)
#     The libraries of one kind, and the file of the CMake package that knows them.
function(install_libraries kind)
    install(TARGETS ${ARGN} EXPORT tarnm-${kind}-targets)
    install(EXPORT tarnm-${kind}-targets NAMESPACE tarnm:: DESTINATION ${TARNM_CMAKE_DIR})
endfunction()

set(installed tarncore)
if(TARGET tarnm)
    list(APPEND installed tarnm)
endif()
if(BUILD_SHARED_LIBS)
    install_libraries(shared ${installed})
    if(TARNM_BUILD_STATIC)
        list(TRANSFORM installed APPEND _static)
        install_libraries(static ${installed})
    endif()
else()
    install_libraries(static ${installed})
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/tarnm-config.cmake.in
    ${PROJECT_BINARY_DIR}/tarnm-config.cmake INSTALL_DESTINATION ${TARNM_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tarnm-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tarnm-config.cmake ${PROJECT_BINARY_DIR}/tarnm-config-version.cmake
    DESTINATION ${TARNM_CMAKE_DIR})

# ${pcfiledir} is where pkg-config found the file, so the prefix follows when the folder is moved.
set(TARNM_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH TARNM_PREFIX_FROM_PKGCONFIG /prefix/${TARNM_PKGCONFIG_DIR} /prefix)
string(REGEX REPLACE "/$" "" TARNM_PREFIX_FROM_PKGCONFIG "${TARNM_PREFIX_FROM_PKGCONFIG}")
foreach(name tarnm tarncore)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${TARNM_PKGCONFIG_DIR})
endforeach()

install(FILES README.md LICENSE CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
