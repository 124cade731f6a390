# Every compiler flag of the project, in one place.
#
# tarnm_compile_options(<target> [ARCH <flag>...])
#     Gives a target of this project the language level, the rules of arithmetic, the warnings and the processor.
#     ARCH replaces the baseline processor; only the variants of the library use it.

set(TARNM_IS_X86 OFF)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86|x86)$")
    set(TARNM_IS_X86 ON)
endif()

# Results must not depend on compiler, variant or processor: no contraction to fused operations, no reassociation.
# Without errno and traps a square root of a whole vector is one instruction; neither changes a result.
set(TARNM_ARITHMETIC_OPTIONS -ffp-contract=off -fno-math-errno -fno-trapping-math)

# g++ at -O2 leaves loops of unknown length scalar unless told to weigh them; -O3 more than doubles code and compile time.
set(TARNM_OPTIMIZATION_OPTIONS -O2 $<$<CXX_COMPILER_ID:GNU>:-fvect-cost-model=dynamic>)

# Vector types wider than a register pass between inlined functions only, so the note on their ABI is noise.
set(TARNM_WARNING_OPTIONS -Wall -Wextra -Wno-psabi)

# 256-bit vectors without AVX2 and FMA: every processor since 2011.
set(TARNM_BASELINE_OPTIONS "")
if(TARNM_IS_X86)
    set(TARNM_BASELINE_OPTIONS -mavx)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        # The x87 unit would keep intermediate results wider than the element type.
        list(APPEND TARNM_BASELINE_OPTIONS -mfpmath=sse)
    endif()
endif()

function(tarnm_compile_options target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "ARCH")
    if(NOT arg_ARCH)
        set(arg_ARCH ${TARNM_BASELINE_OPTIONS})
    endif()
    target_compile_features(${target} PRIVATE cxx_std_20 c_std_99)
    target_compile_options(${target} PRIVATE
        ${TARNM_ARITHMETIC_OPTIONS} ${TARNM_WARNING_OPTIONS} ${arg_ARCH}
        "$<$<CONFIG:Release,RelWithDebInfo>:${TARNM_OPTIMIZATION_OPTIONS}>")
    if(TARNM_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        C_EXTENSIONS OFF
        POSITION_INDEPENDENT_CODE ON
        C_VISIBILITY_PRESET hidden
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    if(TARNM_SANITIZE)
        target_compile_options(${target} PRIVATE
            -O1 -g -fno-omit-frame-pointer -fsanitize=${TARNM_SANITIZE} -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${TARNM_SANITIZE})
    endif()
endfunction()

# tarnm_library_options(<target> <export map>)
#     What a shared library of the project needs besides: SONAME, the export map, no unresolved symbols.
function(tarnm_library_options target exports)
    set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    if(NOT BUILD_SHARED_LIBS)
        return()
    endif()
    if(EXISTS ${exports})
        target_link_options(${target} PRIVATE -Wl,--version-script=${exports})
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${exports})
    endif()
    # clang leaves the sanitizers' own symbols to be resolved by the program.
    if(NOT (TARNM_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()
