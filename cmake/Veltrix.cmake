# Build settings shared by every target of the tree.

find_program(VELTRIX_CCACHE ccache)
if(VELTRIX_CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER ${VELTRIX_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${VELTRIX_CCACHE})
endif()

# Source paths in __FILE__ are relative to the repository, so line tags and logs do not depend on
# where the tree was checked out.
add_compile_options(
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=
    -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)

if(VELTRIX_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
elseif(VELTRIX_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(NOT VELTRIX_SANITIZE STREQUAL "")
    message(FATAL_ERROR "VELTRIX_SANITIZE must be empty, 'address' or 'thread'")
endif()

if(VELTRIX_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "The fuzz targets need clang (CXX=clang++)")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Strict warnings for our own code; third-party headers come in as system headers.
function(veltrix_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual
                                             -Wimplicit-fallthrough -Werror)
endfunction()

# Every library that raises errors stamps its records with its own build tag ("$module").
function(veltrix_module_tag target tag)
    target_compile_definitions(${target} PRIVATE VELTRIX_MODULE="${tag}/${PROJECT_VERSION}")
endfunction()
