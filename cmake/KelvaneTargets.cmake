# What all targets of the project share.

# Settings of the libraries whose rounding is part of their behaviour: no fused multiply-add, and no
# SLP vectoriser under gcc, which at -O2 loses a narrowing to float that is read back as double.
function(kelvane_core_options target)
    kelvane_options(${target})
    target_compile_options(${target} PRIVATE
        -ffp-contract=off
        $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
endfunction()

function(kelvane_options target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    if(KELVANE_TOP_LEVEL)
        target_compile_options(${target} PRIVATE -Wall -Wextra)
    endif()
    if(KELVANE_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${KELVANE_SANITIZE} -fno-omit-frame-pointer
            -fno-sanitize-recover=all)
        target_compile_definitions(${target} PRIVATE KELVANE_SANITIZED)
        target_link_options(${target} PUBLIC -fsanitize=${KELVANE_SANITIZE})
    endif()
endfunction()

# A library of the system: its include root is the repository's.
function(kelvane_library target)
    add_library(kelvane::${target} ALIAS ${target})
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH "$ORIGIN")
endfunction()
